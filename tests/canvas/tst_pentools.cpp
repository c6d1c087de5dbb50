#include <QGraphicsEllipseItem>
#include <QGraphicsPathItem>
#include <QPen>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

constexpr int pen = TarnGraphicsView::ModePen;
constexpr int eraser = TarnGraphicsView::ModeEraser;

// Copies each text while it is valid.
class Texts : public QByteArrayList
{
public:
    explicit Texts(TarnGraphicsView &view)
    {
        QObject::connect(&view, &TarnGraphicsView::ProgressStage, &view,
                         [this](const char *text) { append(text); });
    }
};

QList<QPointF> corners(const QPainterPath &path)
{
    QList<QPointF> result;
    for (int i = 0; i < path.elementCount(); ++i)
        result.append(path.elementAt(i));
    return result;
}

QGraphicsPathItem *onlyStroke(const ToolStage &stage)
{
    const auto items = stage.items();
    return items.size() == 1 ? qgraphicsitem_cast<QGraphicsPathItem *>(items.first()) : nullptr;
}

} // namespace

class PenToolsTest : public QObject
{
    Q_OBJECT

private slots:
    void aClickLeavesAPoint();
    void strokeFollowsThePointer();
    void strokeKeepsFractions();
    void strokeInARotatedView();
    void otherButtonsDrawNothing_data();
    void otherButtonsDrawNothing();
    void anyReleaseEndsTheStroke();
    void movesOutsideAStrokeDoNothing();
    void aNewStrokeForgetsTheOldOne();
    void clippedFlagIsReported();
    void everyMoveRestoresTheLook();
    void receiversOfTexts_data();
    void receiversOfTexts();

    void eraserTakesRectanglesAndEllipses_data();
    void eraserTakesRectanglesAndEllipses();
    void eraserActsOncePerPress();
    void eraserWorksWithEveryButton_data() { everyButton(); }
    void eraserWorksWithEveryButton();
    void eraserReach_data();
    void eraserReach();
    void eraserInARotatedView();
    void eraserOverNothing();
    void eraserTakesTheOutline();
};

void PenToolsTest::aClickLeavesAPoint()
{
    ToolStage stage(pen);
    Texts texts(stage.view);
    stage.press({30, 20});
    QGraphicsPathItem *stroke = onlyStroke(stage);
    QVERIFY(stroke);
    QCOMPARE(stage.view.pathItem, stroke);
    QCOMPARE(stroke->type(), int(QGraphicsPathItem::Type));
    QCOMPARE(corners(stroke->path()), QList<QPointF>({{30, 20}}));
    QCOMPARE(stroke->zValue(), 0.0);
    QCOMPARE(stroke->pen(), QPen(QColor(255, 255, 10, 255), 0));
    QVERIFY(stroke->pen().isCosmetic());
    QCOMPARE(stroke->brush().style(), Qt::NoBrush);
    QVERIFY(stage.view.mousePressed);

    stage.release({30, 20});
    QCOMPARE(onlyStroke(stage), stroke);
    QVERIFY(!stage.view.pathItem);
    QVERIFY(!stage.view.mousePressed);
    QCOMPARE(texts, QByteArrayList({"Released"}));
}

void PenToolsTest::strokeFollowsThePointer()
{
    ToolStage stage(pen);
    Texts texts(stage.view);
    stage.press({30, 20});
    stage.move({40, 25});
    QCOMPARE(texts, QByteArrayList({"mouse moved", "path empty", "path z is 0"}));
    QCOMPARE(onlyStroke(stage)->zValue(), 10.0);
    texts.clear();
    stage.move({50, 20});
    stage.move({50, 20});
    QCOMPARE(texts, QByteArrayList({"mouse moved", "path z is 0", "mouse moved", "path z is 0"}));
    texts.clear();
    stage.release({60, 60});
    QCOMPARE(texts, QByteArrayList({"Released"}));
    const QList<QPointF> expected {{30, 20}, {40, 25}, {50, 20}, {50, 20}};
    // A line to where the path already ends adds no element.
    QCOMPARE(corners(onlyStroke(stage)->path()), expected.mid(0, 3));
    QCOMPARE(onlyStroke(stage)->pen(), QPen(QColor(255, 255, 10, 255), 0));
}

void PenToolsTest::strokeKeepsFractions()
{
    ToolStage stage(pen);
    stage.zoom(4);
    stage.drag({{30, 21}, {41, 26}});
    QCOMPARE(corners(onlyStroke(stage)->path()), QList<QPointF>({{7.5, 5.25}, {10.25, 6.5}}));
}

void PenToolsTest::strokeInARotatedView()
{
    ToolStage stage(pen);
    stage.view.rotate(90); // viewport (x, y) shows scene (y, 150 - x)
    stage.drag({{30, 20}, {40, 25}});
    QCOMPARE(corners(onlyStroke(stage)->path()), QList<QPointF>({{20, 120}, {25, 110}}));
}

void PenToolsTest::otherButtonsDrawNothing_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("right button") << Qt::RightButton;
    QTest::newRow("middle button") << Qt::MiddleButton;
}

void PenToolsTest::otherButtonsDrawNothing()
{
    QFETCH(Qt::MouseButton, button);
    ToolStage stage(pen);
    Texts texts(stage.view);
    stage.press({30, 20}, button);
    QVERIFY(stage.view.mousePressed);
    stage.move({40, 20});
    QVERIFY(texts.isEmpty());
    stage.release({40, 20}, button);
    QVERIFY(stage.items().isEmpty());
    QCOMPARE(texts, QByteArrayList({"Released"}));
}

void PenToolsTest::anyReleaseEndsTheStroke()
{
    ToolStage stage(pen);
    stage.press({30, 20});
    stage.release({30, 20}, Qt::RightButton);
    QVERIFY(!stage.view.pathItem);
    QVERIFY(!stage.view.mousePressed);
    stage.move({40, 20});
    QCOMPARE(onlyStroke(stage)->path().elementCount(), 1);
}

void PenToolsTest::movesOutsideAStrokeDoNothing()
{
    ToolStage stage(pen);
    Texts texts(stage.view);
    stage.move({10, 10});
    QVERIFY(stage.items().isEmpty());
    stage.drag({{30, 20}, {40, 20}});
    texts.clear();
    stage.move({90, 90});
    QVERIFY(texts.isEmpty());
    QCOMPARE(onlyStroke(stage)->path().elementCount(), 2);
}

void PenToolsTest::aNewStrokeForgetsTheOldOne()
{
    ToolStage stage(pen);
    stage.press({30, 20});
    stage.press({60, 20});
    stage.move({70, 20});
    const auto items = stage.items();
    QCOMPARE(items.size(), 2);
    QCOMPARE(qgraphicsitem_cast<QGraphicsPathItem *>(items.first())->path().elementCount(), 1);
    QCOMPARE(items.last(), stage.view.pathItem);
    QCOMPARE(corners(stage.view.pathItem->path()), QList<QPointF>({{60, 20}, {70, 20}}));
}

void PenToolsTest::clippedFlagIsReported()
{
    ToolStage stage(pen);
    Texts texts(stage.view);
    stage.press({30, 20});
    QGraphicsRectItem clip(0, 0, 100, 100);
    clip.setFlag(QGraphicsItem::ItemClipsChildrenToShape);
    stage.scene.addItem(&clip);
    stage.view.pathItem->setParentItem(&clip);
    stage.move({40, 20});
    QCOMPARE(texts.last(), QByteArray("path z is 1"));
}

void PenToolsTest::everyMoveRestoresTheLook()
{
    ToolStage stage(pen);
    stage.press({30, 20});
    stage.move({40, 20});
    stage.view.pathItem->setZValue(3);
    stage.view.pathItem->setPen(QPen(Qt::red, 5));
    stage.move({50, 20});
    QCOMPARE(stage.view.pathItem->zValue(), 10.0);
    QCOMPARE(stage.view.pathItem->pen(), QPen(QColor(255, 255, 10, 255), 0));
}

void PenToolsTest::receiversOfTexts_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QList<QPointF>>("expected");
    const QPointF drawn(1, 2), start(30, 20), end(40, 20);
    QTest::newRow("before the path is read")
        << QByteArray("mouse moved") << QList<QPointF>({drawn, end});
    QTest::newRow("after the path is read")
        << QByteArray("path empty") << QList<QPointF>({start, end});
    QTest::newRow("after the path is written")
        << QByteArray("path z is 0") << QList<QPointF>({drawn});
}

// A receiver that gives the stroke another path meets the tool at work.
void PenToolsTest::receiversOfTexts()
{
    QFETCH(QByteArray, text);
    QFETCH(QList<QPointF>, expected);
    ToolStage stage(pen);
    stage.press({30, 20});
    connect(&stage.view, &TarnGraphicsView::ProgressStage, &stage.view, [&](const char *message) {
        if (text == message)
            stage.view.pathItem->setPath(QPainterPath(QPointF(1, 2)));
    });
    stage.move({40, 20});
    QCOMPARE(corners(onlyStroke(stage)->path()), expected);
}

void PenToolsTest::eraserTakesRectanglesAndEllipses_data()
{
    QTest::addColumn<QGraphicsItem *>("item");
    QTest::addColumn<bool>("taken");
    QPainterPath path;
    path.addRect(20, 20, 20, 20);
    QPixmap pixmap(40, 40);
    pixmap.fill(Qt::white);
    const auto row = [](const char *name, QGraphicsItem *item, bool taken) {
        QTest::newRow(name) << item << taken;
    };
    row("rectangle", new QGraphicsRectItem(20, 20, 20, 20), true);
    row("ellipse", new QGraphicsEllipseItem(20, 20, 20, 20), true);
    row("stroke", new QGraphicsPathItem(path), false);
    row("pixmap", new QGraphicsPixmapItem(pixmap), false);
    row("line", new QGraphicsLineItem(20, 20, 40, 40), false);
    row("polygon", new QGraphicsPolygonItem(path.toFillPolygon()), false);
}

void PenToolsTest::eraserTakesRectanglesAndEllipses()
{
    QFETCH(QGraphicsItem *, item);
    QFETCH(bool, taken);
    ToolStage stage(eraser);
    const std::unique_ptr<QGraphicsItem> owner(item);
    stage.view.eraserSize = 10;
    stage.scene.addItem(item);
    if (!taken)
        expectNullItemWarning();
    stage.press({30, 30});
    QCOMPARE(item->scene(), taken ? nullptr : &stage.scene);
}

void PenToolsTest::eraserActsOncePerPress()
{
    ToolStage stage(eraser);
    stage.view.eraserSize = 10;
    const std::unique_ptr<QGraphicsItem> below(stage.scene.addRect(20, 20, 20, 20));
    const std::unique_ptr<QGraphicsItem> above(stage.scene.addEllipse(22, 22, 20, 20));
    QGraphicsItem *beside = stage.scene.addRect(60, 20, 20, 20);
    stage.press({30, 30});
    QVERIFY(!below->scene());
    QVERIFY(!above->scene());
    stage.move({70, 30});
    stage.release({70, 30});
    QCOMPARE(stage.items(), QList<QGraphicsItem *>({beside}));
}

void PenToolsTest::eraserWorksWithEveryButton()
{
    QFETCH(Qt::MouseButton, button);
    ToolStage stage(eraser);
    stage.view.eraserSize = 10;
    const std::unique_ptr<QGraphicsItem> item(stage.scene.addRect(20, 20, 20, 20));
    stage.press({30, 30}, button);
    QVERIFY(!item->scene());
}

void PenToolsTest::eraserReach_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("zoom");
    QTest::addColumn<double>("gap"); // scene units right of the pointer at (30, 30)
    QTest::addColumn<bool>("taken");
    QTest::newRow("size 10, 4 away") << 10 << 1.0 << 4.0 << true;
    QTest::newRow("size 10, 6 away") << 10 << 1.0 << 6.0 << false;
    QTest::newRow("size 11 reaches like 10") << 11 << 1.0 << 5.25 << false;
    QTest::newRow("size 12, 5.25 away") << 12 << 1.0 << 5.25 << true;
    QTest::newRow("size 10 at zoom 2, 2 away") << 10 << 2.0 << 2.0 << true;
    QTest::newRow("size 10 at zoom 2, 3 away") << 10 << 2.0 << 3.0 << false;
    QTest::newRow("size 10 at zoom 0.5, 9 away") << 10 << 0.5 << 9.0 << true;
    QTest::newRow("size 10 at zoom 0.5, 11 away") << 10 << 0.5 << 11.0 << false;
    QTest::newRow("size 255, 126 away") << 255 << 1.0 << 126.0 << true;
    QTest::newRow("size 255, 128 away") << 255 << 1.0 << 128.0 << false;
    QTest::newRow("size 1, 0.25 away") << 1 << 1.0 << 0.25 << false;
    QTest::newRow("size 0, 0.25 away") << 0 << 1.0 << 0.25 << false;
    // Half of either is 0, and a rectangle of no size meets no item.
    QTest::newRow("size 1, under the pointer") << 1 << 1.0 << -4.0 << false;
    QTest::newRow("size 0, under the pointer") << 0 << 1.0 << -4.0 << false;
    QTest::newRow("size 2, under the pointer") << 2 << 1.0 << -4.0 << true;
}

void PenToolsTest::eraserReach()
{
    QFETCH(int, size);
    QFETCH(double, zoom);
    QFETCH(double, gap);
    QFETCH(bool, taken);
    ToolStage stage(eraser);
    stage.zoom(zoom);
    stage.view.eraserSize = static_cast<quint8>(size);
    const QPen thin(Qt::black, 0);
    const std::unique_ptr<QGraphicsItem> item(stage.scene.addRect(30 + gap, 20, 20, 20, thin));
    stage.press(QPointF(30, 30) * zoom);
    QCOMPARE(item->scene(), taken ? nullptr : &stage.scene);
}

void PenToolsTest::eraserInARotatedView()
{
    ToolStage stage(eraser);
    stage.view.eraserSize = 10;
    stage.view.rotate(180); // viewport (x, y) shows scene (200 - x, 150 - y)
    const std::unique_ptr<QGraphicsItem> item(stage.scene.addRect(20, 20, 20, 20));
    stage.press({30, 30});
    QCOMPARE(item->scene(), &stage.scene);
    stage.press({170, 120});
    QVERIFY(!item->scene());
}

void PenToolsTest::eraserOverNothing()
{
    ToolStage stage(eraser);
    stage.view.eraserSize = 10;
    stage.scene.addRect(100, 100, 20, 20);
    stage.press({30, 30});
    QCOMPARE(stage.items().size(), 1);
}

void PenToolsTest::eraserTakesTheOutline()
{
    ToolStage stage(TarnGraphicsView::ModeKeepBrush);
    stage.view.keepBrushSize = 20;
    stage.view.eraserSize = 10;
    stage.move({30, 30});
    const std::unique_ptr<QGraphicsEllipseItem> outline(stage.view.cursorItem);
    QVERIFY(outline);
    stage.view.toolMode = eraser;
    stage.press({38, 30});
    QVERIFY(!outline->scene());
    QCOMPARE(stage.view.cursorItem, outline.get());
    expectNotHeldWarning();
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
}

CRAYVELL_TEST_MAIN(PenToolsTest)
#include "tst_pentools.moc"
