#include <QGraphicsEllipseItem>
#include <QPen>
#include <QSignalSpy>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

constexpr int smart = TarnGraphicsView::ModeWireSmartMarker;

struct Pick
{
    QRect rect;
    bool pressed;
    bool right;
    bool operator==(const Pick &) const = default;
};

char *toString(const Pick &pick)
{
    QString text;
    QDebug(&text) << pick.rect << pick.pressed << pick.right;
    return qstrdup(qPrintable(text));
}

// What each SmartSelect carried.
class Picks : public QList<Pick>
{
public:
    explicit Picks(TarnGraphicsView &view)
    {
        QObject::connect(&view, &TarnGraphicsView::SmartSelect, &view,
                         [this](QRect rect, bool pressed, bool right) {
                             append({rect, pressed, right});
                         });
    }
};

} // namespace

class WireToolsTest : public QObject
{
    Q_OBJECT

private slots:
    void presses_data();
    void presses();
    void pressTouchesNothing();
    void hovering();
    void firstPositionIsTheOrigin();
    void dragIsReportedLikeHovering();
    void pickRectangles_data();
    void pickRectangles();
    void outsideTheScene();
    void outline();
    void rotatedView();
    void modesWithoutAnAction_data();
    void modesWithoutAnAction();
};

void WireToolsTest::presses_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<bool>("right");
    QTest::newRow("left button") << Qt::LeftButton << false;
    QTest::newRow("right button") << Qt::RightButton << true;
    QTest::newRow("middle button") << Qt::MiddleButton << false;
}

void WireToolsTest::presses()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(bool, right);
    ToolStage stage(smart);
    Picks picks(stage.view);
    stage.drag({{50, 40}, {60, 40}}, button);
    QCOMPARE(picks,
             QList<Pick>({{{45, 35, 10, 10}, true, right}, {{55, 35, 10, 10}, false, false}}));
}

void WireToolsTest::pressTouchesNothing()
{
    ToolStage stage(smart);
    stage.view.lastPos = {3, 4};
    stage.press({50, 40});
    QCOMPARE(stage.view.lastPos, QPoint(3, 4));
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(stage.items().isEmpty());
}

void WireToolsTest::hovering()
{
    ToolStage stage(smart);
    Picks picks(stage.view);
    stage.move({50, 40});
    stage.move({50, 40});
    stage.move({51, 40});
    stage.move({51, 41});
    const QList<Pick> expected {{{45, 35, 10, 10}, false, false},
                                {{46, 35, 10, 10}, false, false},
                                {{46, 36, 10, 10}, false, false}};
    QCOMPARE(picks, expected);
    QCOMPARE(stage.view.lastPos, QPoint(51, 41));
}

void WireToolsTest::firstPositionIsTheOrigin()
{
    ToolStage stage(smart);
    Picks picks(stage.view);
    stage.move({0, 0});
    QVERIFY(picks.isEmpty());
    QVERIFY(stage.view.cursorItem);
    QCOMPARE(stage.view.cursorItem->rect(), QRectF(0, 0, 5, 5));
}

void WireToolsTest::dragIsReportedLikeHovering()
{
    ToolStage stage(smart);
    Picks picks(stage.view);
    stage.press({50, 40}, Qt::RightButton);
    stage.move({50, 40}); // the press has not noted the position
    stage.move({50, 40});
    QCOMPARE(picks.size(), 2);
    QCOMPARE(picks.last(), Pick({{45, 35, 10, 10}, false, false}));
}

void WireToolsTest::pickRectangles_data()
{
    QTest::addColumn<QRectF>("sceneRect");
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QPoint>("position"); // of the viewport
    QTest::addColumn<QRect>("expected");
    const QRectF plain(0, 0, 200, 150);
    QTest::newRow("inside") << plain << 1.0 << QPoint(50, 40) << QRect(45, 35, 10, 10);
    QTest::newRow("left edge") << plain << 1.0 << QPoint(3, 40) << QRect(0, 35, 8, 10);
    QTest::newRow("right edge") << plain << 1.0 << QPoint(198, 40) << QRect(193, 35, 7, 10);
    QTest::newRow("lower right corner")
        << plain << 1.0 << QPoint(200, 150) << QRect(195, 145, 5, 5);
    QTest::newRow("zoom 2") << plain << 2.0 << QPoint(50, 40) << QRect(22, 17, 5, 5);
    QTest::newRow("zoom 4 truncates") << plain << 4.0 << QPoint(50, 40) << QRect(11, 8, 2, 2);
    QTest::newRow("zoom 0.75") << plain << 0.75 << QPoint(30, 33) << QRect(33, 37, 13, 13);
    QTest::newRow("scene with halves is rounded up")
        << QRectF(0, 0, 100.5, 60.5) << 1.0 << QPoint(100, 60) << QRect(95, 55, 6, 6);
    QTest::newRow("scene below its halves is rounded down")
        << QRectF(0, 0, 100.4, 60.4) << 1.0 << QPoint(100, 60) << QRect(95, 55, 5, 5);
    // Each number of the rectangle by itself: 0.5 becomes 1 and 10.5 becomes
    // 11, so that the last column is 11 although the right edge is at 11.0.
    QTest::newRow("scene at a half with a size of halves")
        << QRectF(0.5, 0.5, 10.5, 10.5) << 1.0 << QPoint(8, 8) << QRect(3, 3, 9, 9);
}

void WireToolsTest::pickRectangles()
{
    QFETCH(QRectF, sceneRect);
    QFETCH(double, zoom);
    QFETCH(QPoint, position);
    QFETCH(QRect, expected);
    ToolStage stage(smart, sceneRect);
    stage.zoom(zoom);
    Picks picks(stage.view);
    stage.press(position);
    stage.move(position);
    QCOMPARE(picks.size(), 2);
    QCOMPARE(picks.first(), Pick({expected, true, false}));
    QCOMPARE(picks.last(), Pick({expected, false, false}));
    QCOMPARE(stage.view.cursorItem->rect(), QRectF(expected));
}

void WireToolsTest::outsideTheScene()
{
    ToolStage stage(smart);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> dropped(stage.view.cursorItem);
    Picks picks(stage.view);
    stage.move({300, 40});
    QVERIFY(picks.isEmpty());
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(!dropped->scene());
    QCOMPARE(stage.view.lastPos, QPoint(50, 40));
    stage.press({300, 40});
    QCOMPARE(picks.size(), 1);
    QVERIFY(picks.first().rect.isEmpty());
    QVERIFY(picks.first().pressed);
    // Back where it was: nothing new to report, but the outline is.
    stage.move({50, 40});
    QCOMPARE(picks.size(), 1);
    QVERIFY(stage.view.cursorItem);
    QVERIFY(stage.view.cursorItem != dropped.get());
}

void WireToolsTest::outline()
{
    ToolStage stage(smart);
    stage.move({50, 40});
    QGraphicsEllipseItem *outline = stage.view.cursorItem;
    QVERIFY(outline);
    QCOMPARE(outline->rect(), QRectF(45, 35, 10, 10));
    QCOMPARE(outline->pen(), QPen(Qt::black, 0));
    QCOMPARE(outline->brush(), QBrush());
    QCOMPARE(outline->zValue(), 20.0);
    stage.move({60, 40});
    QCOMPARE(stage.view.cursorItem, outline);
    QCOMPARE(outline->rect(), QRectF(55, 35, 10, 10));
}

// Clipping puts a rectangle of negative height the right way up.
void WireToolsTest::rotatedView()
{
    ToolStage stage(smart);
    stage.view.rotate(90); // viewport (x, y) shows scene (y, 150 - x)
    Picks picks(stage.view);
    stage.move({50, 40});
    QCOMPARE(picks.size(), 1);
    QCOMPARE(picks.first(), Pick({{35, 95, 10, 10}, false, false}));
    QCOMPARE(stage.view.cursorItem->rect(), QRectF(35, 95, 10, 10));
}

void WireToolsTest::modesWithoutAnAction_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("wire marker") << int(TarnGraphicsView::ModeWireMarker);
    QTest::newRow("wire eraser") << int(TarnGraphicsView::ModeWireEraser);
}

void WireToolsTest::modesWithoutAnAction()
{
    QFETCH(int, mode);
    ToolStage stage(mode);
    Picks picks(stage.view);
    QSignalSpy marked(&stage.view, &TarnGraphicsView::WireMarker);
    stage.drag({{50, 40}, {60, 40}});
    QVERIFY(stage.items().isEmpty());
    QVERIFY(picks.isEmpty());
    QCOMPARE(marked.count(), 0);
    QCOMPARE(stage.view.lastPos, QPoint());
}

CRAYVELL_TEST_MAIN(WireToolsTest)
#include "tst_wiretools.moc"
