#include <QGraphicsEllipseItem>
#include <QPen>
#include <QSettings>
#include <QSignalSpy>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

constexpr int keep = TarnGraphicsView::ModeKeepBrush;
constexpr int remove_ = TarnGraphicsView::ModeRemoveBrush;

using Report = QPair<QRect, bool>;

QList<Report> reports(const QSignalSpy &spy)
{
    QList<Report> result;
    for (const QVariantList &arguments : spy)
        result.append({arguments[0].toRect(), arguments[1].toBool()});
    return result;
}

void setSize(ToolStage &stage, int tool, int size)
{
    // The other brush gets a size that no test expects.
    stage.view.keepBrushSize = static_cast<quint8>(tool == keep ? size : 200);
    stage.view.removeBrushSize = static_cast<quint8>(tool == keep ? 200 : size);
}

void bothBrushes()
{
    QTest::addColumn<int>("tool");
    QTest::newRow("keep brush") << keep;
    QTest::newRow("remove brush") << remove_;
}

} // namespace

class BrushToolsTest : public QObject
{
    Q_OBJECT

private slots:
    void aStroke_data() { bothBrushes(); }
    void aStroke();
    void outlineLook_data() { bothBrushes(); }
    void outlineLook();
    void hoveringMovesTheOutlineOnly_data() { bothBrushes(); }
    void hoveringMovesTheOutlineOnly();
    void rectangles_data();
    void rectangles();
    void edgesOfTheScene_data();
    void edgesOfTheScene();
    void partlyOutside_data() { bothBrushes(); }
    void partlyOutside();
    void noSize_data();
    void noSize();
    void pressTouchesNothing_data() { bothBrushes(); }
    void pressTouchesNothing();
    void everyButtonWorks_data() { everyButton(); }
    void everyButtonWorks();
    void leavingAndComingBack_data() { bothBrushes(); }
    void leavingAndComingBack();
    void outlineSurvivesAChangeOfTool();
    void sizesFromSettings_data();
    void sizesFromSettings();
    void rotatedView();
};

void BrushToolsTest::aStroke()
{
    QFETCH(int, tool);
    ToolStage stage(tool);
    setSize(stage, tool, 20);
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    QSignalSpy kept(&stage.view, &TarnGraphicsView::KeepBrush);
    QSignalSpy removed(&stage.view, &TarnGraphicsView::RemoveBrush);
    stage.press({50, 40});
    stage.move({60, 40});
    stage.move({60, 40});
    stage.release({61, 40});
    const QRect moved(50, 30, 20, 20);
    QCOMPARE(reports(any),
             QList<Report>({{{40, 30, 20, 20}, true}, {moved, false}, {moved, false}}));
    QCOMPARE(stage.view.lastPos, QPoint(60, 40));
    QCOMPARE(kept.count() + removed.count(), 0);
    QCOMPARE(stage.items(), QList<QGraphicsItem *>({stage.view.cursorItem}));
}

void BrushToolsTest::outlineLook()
{
    QFETCH(int, tool);
    ToolStage stage(tool);
    setSize(stage, tool, 20);
    stage.move({50, 40});
    const QGraphicsEllipseItem *outline = stage.view.cursorItem;
    QVERIFY(outline);
    QCOMPARE(outline->type(), int(QGraphicsEllipseItem::Type));
    QCOMPARE(outline->scene(), &stage.scene);
    QCOMPARE(outline->rect(), QRectF(40, 30, 20, 20));
    QCOMPARE(outline->pos(), QPointF());
    QCOMPARE(outline->zValue(), 20.0);
    QCOMPARE(outline->pen(), QPen(Qt::black, 0));
    QVERIFY(outline->pen().isCosmetic());
    QCOMPARE(outline->brush(), QBrush());
    QCOMPARE(outline->spanAngle(), 360 * 16);
}

void BrushToolsTest::hoveringMovesTheOutlineOnly()
{
    QFETCH(int, tool);
    ToolStage stage(tool);
    setSize(stage, tool, 20);
    stage.view.lastPos = {3, 4};
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.move({50, 40});
    const QGraphicsItem *outline = stage.view.cursorItem;
    stage.move({70, 60});
    QCOMPARE(stage.view.cursorItem, outline);
    QCOMPARE(stage.view.cursorItem->rect(), QRectF(60, 50, 20, 20));
    QCOMPARE(any.count(), 0);
    QCOMPARE(stage.view.lastPos, QPoint(3, 4));
}

void BrushToolsTest::rectangles_data()
{
    QTest::addColumn<int>("tool");
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QRect>("expected");
    for (const int tool : {keep, remove_}) {
        const char *name = tool == keep ? "keep" : "remove";
        const auto row = [&](const char *text, int size, double zoom, QRect expected) {
            QTest::addRow("%s, %s", name, text) << tool << size << zoom << expected;
        };
        row("size 10", 10, 1.0, {45, 35, 10, 10});
        row("size 11 is like 10", 11, 1.0, {45, 35, 10, 10});
        row("size 2", 2, 1.0, {49, 39, 2, 2});
        row("size 20 at zoom 2", 20, 2.0, {20, 15, 10, 10});
        row("size 30 at zoom 2, half units", 30, 2.0, {17, 12, 15, 15});
        row("size 10 at zoom 0.75", 10, 0.75, {60, 46, 13, 13});
        row("size 10 at zoom 0.5", 10, 0.5, {90, 70, 20, 20});
    }
}

void BrushToolsTest::rectangles()
{
    QFETCH(int, tool);
    QFETCH(int, size);
    QFETCH(double, zoom);
    QFETCH(QRect, expected);
    ToolStage stage(tool);
    stage.zoom(zoom);
    setSize(stage, tool, size);
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.press({50, 40});
    stage.move({50, 40});
    QCOMPARE(reports(any), QList<Report>({{expected, true}, {expected, false}}));
    QCOMPARE(stage.view.cursorItem->rect(), QRectF(expected));
}

void BrushToolsTest::edgesOfTheScene_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<bool>("inside");
    QTest::newRow("touching left and top") << QPoint(10, 10) << true;
    QTest::newRow("touching right and bottom") << QPoint(190, 140) << true;
    QTest::newRow("over the left edge") << QPoint(9, 40) << false;
    QTest::newRow("over the top edge") << QPoint(40, 9) << false;
    QTest::newRow("over the right edge") << QPoint(191, 40) << false;
    QTest::newRow("over the bottom edge") << QPoint(40, 141) << false;
    QTest::newRow("far outside") << QPoint(300, 250) << false;
}

void BrushToolsTest::edgesOfTheScene()
{
    QFETCH(QPoint, position);
    QFETCH(bool, inside);
    ToolStage stage(keep);
    setSize(stage, keep, 20);
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.move(position);
    QCOMPARE(stage.view.cursorItem != nullptr, inside);
    stage.press(position);
    QCOMPARE(any.count(), inside ? 1 : 0);
}

void BrushToolsTest::partlyOutside()
{
    QFETCH(int, tool);
    ToolStage stage(tool);
    setSize(stage, tool, 20);
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> dropped(stage.view.cursorItem);
    stage.press({5, 40});
    QCOMPARE(any.count(), 0);
    QVERIFY(stage.view.cursorItem);
    stage.move({5, 41});
    QCOMPARE(reports(any), QList<Report>({{{-5, 31, 20, 20}, false}}));
    QCOMPARE(stage.view.lastPos, QPoint(5, 41));
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(stage.items().isEmpty());
    QVERIFY(!dropped->scene());
    stage.move({6, 41});
    QCOMPARE(any.count(), 2);
    stage.move({50, 41});
    const std::unique_ptr<QGraphicsItem> next(stage.view.cursorItem);
    QVERIFY(next && next != dropped);
}

void BrushToolsTest::noSize_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("size 0") << 0;
    QTest::newRow("size 1") << 1;
}

void BrushToolsTest::noSize()
{
    QFETCH(int, size);
    ToolStage stage(keep);
    setSize(stage, keep, 20);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> dropped(stage.view.cursorItem);
    setSize(stage, keep, size);
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.press({50, 40});
    QCOMPARE(any.count(), 0);
    stage.move({51, 40});
    QCOMPARE(reports(any), QList<Report>({{QRect(51, 40, 0, 0), false}}));
    QVERIFY(!stage.view.cursorItem);
}

void BrushToolsTest::pressTouchesNothing()
{
    QFETCH(int, tool);
    ToolStage stage(tool);
    setSize(stage, tool, 20);
    stage.view.lastPos = {3, 4};
    stage.press({50, 40});
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(stage.items().isEmpty());
    QCOMPARE(stage.view.lastPos, QPoint(3, 4));
    stage.release({50, 40});
    stage.move({60, 40});
    const QRectF shown = stage.view.cursorItem->rect();
    stage.press({80, 40});
    QCOMPARE(stage.view.cursorItem->rect(), shown);
}

void BrushToolsTest::everyButtonWorks()
{
    QFETCH(Qt::MouseButton, button);
    ToolStage stage(keep);
    setSize(stage, keep, 20);
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.drag({{50, 40}, {60, 40}}, button);
    QCOMPARE(any.count(), 2);
}

void BrushToolsTest::leavingAndComingBack()
{
    QFETCH(int, tool);
    ToolStage stage(tool);
    setSize(stage, tool, 20);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> first(stage.view.cursorItem);
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(stage.items().isEmpty());
    stage.move({50, 40});
    QVERIFY(stage.view.cursorItem);
    QVERIFY(stage.view.cursorItem != first.get());
    QCOMPARE(stage.items().size(), 1);
}

void BrushToolsTest::outlineSurvivesAChangeOfTool()
{
    ToolStage stage(keep);
    setSize(stage, keep, 20);
    stage.drag({{50, 40}, {60, 40}});
    QGraphicsEllipseItem *outline = stage.view.cursorItem;
    stage.view.toolMode = TarnGraphicsView::ModeNone;
    stage.move({90, 40});
    QCOMPARE(stage.view.cursorItem, outline);
    QCOMPARE(outline->rect(), QRectF(50, 30, 20, 20));
    // The next tool with an outline takes it over.
    stage.view.toolMode = TarnGraphicsView::ModeWireSmartMarker;
    stage.move({90, 40});
    QCOMPARE(stage.view.cursorItem, outline);
    QCOMPARE(outline->rect(), QRectF(85, 35, 10, 10));
    QCOMPARE(stage.items().size(), 1);
}

void BrushToolsTest::sizesFromSettings_data()
{
    QTest::addColumn<bool>("sameSize");
    QTest::addColumn<QRect>("kept");
    QTest::addColumn<QRect>("removed");
    QTest::newRow("the keep marker's for both")
        << true << QRect(42, 32, 16, 16) << QRect(42, 32, 16, 16);
    QTest::newRow("one for each") << false << QRect(45, 35, 10, 10) << QRect(35, 25, 30, 30);
}

void BrushToolsTest::sizesFromSettings()
{
    QFETCH(bool, sameSize);
    QFETCH(QRect, kept);
    QFETCH(QRect, removed);
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("tools.ini")), QSettings::IniFormat);
    settings.setValue(QStringLiteral("SAMESIZECHECKED"), sameSize);
    settings.setValue(QStringLiteral("KEEPMSIZE"), 16);
    settings.setValue(QStringLiteral("KEEPBSIZE"), 10);
    settings.setValue(QStringLiteral("REMOVEBSIZE"), 30);
    ToolStage stage(keep);
    stage.view.toolSettings = &settings;
    stage.view.updatetoolssettings();
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.press({50, 40});
    stage.view.toolMode = remove_;
    stage.press({50, 40});
    QCOMPARE(reports(any), QList<Report>({{kept, true}, {removed, true}}));
}

void BrushToolsTest::rotatedView()
{
    ToolStage stage(keep);
    setSize(stage, keep, 20);
    stage.view.rotate(90); // viewport (x, y) shows scene (y, 150 - x)
    QSignalSpy any(&stage.view, &TarnGraphicsView::AnyBrush);
    stage.press({50, 40});
    stage.move({60, 40});
    // The corner is the one that is upper left on the screen.
    QCOMPARE(reports(any),
             QList<Report>({{{30, 110, 20, -20}, true}, {{30, 100, 20, -20}, false}}));
    QCOMPARE(stage.view.cursorItem->rect(), QRectF(30, 100, 20, -20));
}

CRAYVELL_TEST_MAIN(BrushToolsTest)
#include "tst_brushtools.moc"
