#include <QGraphicsEllipseItem>
#include <QGraphicsRectItem>
#include <QMetaMethod>
#include <QPen>
#include <QSettings>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

constexpr int keep = TarnGraphicsView::ModeKeepMarker;
constexpr int remove_ = TarnGraphicsView::ModeRemoveMarker;
constexpr int blue = TarnGraphicsView::ModeBlueMarker;

struct MarkerStage : ToolStage
{
    explicit MarkerStage(int tool, const QRectF &sceneRect = {0, 0, 200, 150})
        : ToolStage(tool, sceneRect)
    {
        view.keepMarkerSize = 10;
        view.removeMarkerSize = 12;
        view.blueMarkerSize = 20;
        view.markerOpacity = 0.6;
    }

    QList<QGraphicsItem *> stamps() const
    {
        auto result = items();
        result.removeOne(view.cursorItem);
        return result;
    }
};

void allMarkers()
{
    QTest::addColumn<int>("tool");
    QTest::newRow("keep marker") << keep;
    QTest::newRow("remove marker") << remove_;
    QTest::newRow("blue marker") << blue;
}

} // namespace

class MarkerToolsTest : public QObject
{
    Q_OBJECT

private slots:
    void keepStamp();
    void removeStamp();
    void blueStamp();
    void oneStampAMove_data() { allMarkers(); }
    void oneStampAMove();
    void noSignals_data() { allMarkers(); }
    void noSignals();
    void hoveringStampsNothing_data() { allMarkers(); }
    void hoveringStampsNothing();
    void everyButtonStamps_data() { everyButton(); }
    void everyButtonStamps();
    void whereStampsAreTaken_data();
    void whereStampsAreTaken();
    void sizesOnTheScreen_data();
    void sizesOnTheScreen();
    void fractionsOfTheScene();
    void blueOutline();
    void blueStampWithoutAnOutline();
    void opacities_data();
    void opacities();
    void noSize();
    void sameSizeLeavesTheBlueMarker();
    void rotatedView();
};

void MarkerToolsTest::keepStamp()
{
    MarkerStage stage(keep);
    stage.drag({{50, 40}, {60, 45}});
    QCOMPARE(stage.items().size(), 1);
    const auto *stamp = qgraphicsitem_cast<QGraphicsRectItem *>(stage.items().first());
    QVERIFY(stamp);
    const QColor green(50, 255, 50, 255);
    QCOMPARE(stamp->rect(), QRectF(60, 45, 10, 10));
    QCOMPARE(stamp->pen(), QPen(green, 0));
    QVERIFY(stamp->pen().isCosmetic());
    QCOMPARE(stamp->brush(), QBrush(green, Qt::SolidPattern));
    QCOMPARE(stamp->zValue(), 10.0);
    QCOMPARE(stamp->opacity(), 1.0);
    QVERIFY(!stage.view.cursorItem);
}

void MarkerToolsTest::removeStamp()
{
    MarkerStage stage(remove_);
    stage.drag({{50, 40}, {60, 45}});
    QCOMPARE(stage.items().size(), 1);
    const auto *stamp = qgraphicsitem_cast<QGraphicsEllipseItem *>(stage.items().first());
    QVERIFY(stamp);
    const QColor red(255, 10, 10, 255);
    QCOMPARE(stamp->rect(), QRectF(60, 45, 12, 12));
    QCOMPARE(stamp->pen(), QPen(red, 0));
    QVERIFY(stamp->pen().isCosmetic());
    QCOMPARE(stamp->brush(), QBrush(red, Qt::SolidPattern));
    QCOMPARE(stamp->zValue(), 10.0);
    QCOMPARE(stamp->opacity(), 1.0);
    QVERIFY(!stage.view.cursorItem);
}

void MarkerToolsTest::blueStamp()
{
    MarkerStage stage(blue);
    stage.drag({{50, 40}, {60, 45}});
    QCOMPARE(stage.stamps().size(), 1);
    const auto *stamp = qgraphicsitem_cast<QGraphicsEllipseItem *>(stage.stamps().first());
    QVERIFY(stamp);
    const QColor colour(10, 10, 255, 255);
    QCOMPARE(stamp->rect(), QRectF(50, 35, 20, 20));
    QCOMPARE(stamp->pen(), QPen(colour, 0));
    QVERIFY(stamp->pen().isCosmetic());
    QCOMPARE(stamp->brush(), QBrush(colour, Qt::SolidPattern));
    QCOMPARE(stamp->zValue(), 10.0);
    QCOMPARE(stamp->opacity(), 0.06);
    QVERIFY(stage.view.cursorItem);
}

void MarkerToolsTest::oneStampAMove()
{
    QFETCH(int, tool);
    MarkerStage stage(tool);
    stage.press({50, 40});
    QVERIFY(stage.items().isEmpty());
    stage.move({60, 40});
    stage.move({150, 40});
    stage.move({150, 40});
    QCOMPARE(stage.stamps().size(), 3);
    stage.release({151, 40});
    QCOMPARE(stage.stamps().size(), 3);
}

void MarkerToolsTest::noSignals()
{
    QFETCH(int, tool);
    MarkerStage stage(tool);
    const QMetaObject &meta = TarnGraphicsView::staticMetaObject;
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        spies.push_back(std::make_unique<QSignalSpy>(&stage.view, meta.method(i)));
    QCOMPARE(spies.size(), std::size_t(8));
    stage.drag({{50, 40}, {60, 40}});
    for (const auto &spy : spies)
        QCOMPARE(spy->count(), 0);
}

void MarkerToolsTest::hoveringStampsNothing()
{
    QFETCH(int, tool);
    MarkerStage stage(tool);
    stage.move({50, 40});
    stage.move({60, 40});
    QVERIFY(stage.stamps().isEmpty());
    QCOMPARE(stage.view.cursorItem != nullptr, tool == blue);
    if (tool == blue)
        QCOMPARE(stage.view.cursorItem->rect(), QRectF(50, 30, 20, 20));
}

void MarkerToolsTest::everyButtonStamps()
{
    QFETCH(Qt::MouseButton, button);
    for (const int tool : {keep, remove_, blue}) {
        MarkerStage stage(tool);
        stage.drag({{50, 40}, {60, 40}}, button);
        QCOMPARE(stage.stamps().size(), 1);
    }
}

void MarkerToolsTest::whereStampsAreTaken_data()
{
    QTest::addColumn<QRectF>("sceneRect");
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QPoint>("position"); // of the viewport
    QTest::addColumn<bool>("taken");
    const QRectF plain(0, 0, 100, 80);
    QTest::newRow("first column and row") << plain << 1.0 << QPoint(1, 1) << true;
    QTest::newRow("column 0") << plain << 1.0 << QPoint(0, 40) << false;
    QTest::newRow("row 0") << plain << 1.0 << QPoint(40, 0) << false;
    QTest::newRow("left of the scene") << plain << 1.0 << QPoint(-3, 40) << false;
    QTest::newRow("x 0.9 is column 0") << plain << 10.0 << QPoint(9, 100) << false;
    QTest::newRow("y 0.9 is row 0") << plain << 10.0 << QPoint(100, 9) << false;
    QTest::newRow("x 1.1 and y 1.1") << plain << 10.0 << QPoint(11, 11) << true;
    QTest::newRow("last column and row") << plain << 1.0 << QPoint(99, 79) << true;
    QTest::newRow("behind the last column") << plain << 1.0 << QPoint(100, 40) << false;
    QTest::newRow("behind the last row") << plain << 1.0 << QPoint(40, 80) << false;
    QTest::newRow("in a width of 100.5, the column that starts at 100")
        << QRectF(0, 0, 100.5, 80) << 1.0 << QPoint(100, 40) << true;
    // A scene from (50, 40) to (150, 120), of which only 1 to 99 and 1 to 79
    // take stamps.
    const QRectF moved(50, 40, 100, 80);
    QTest::newRow("moved scene, below its width and height")
        << moved << 1.0 << QPoint(49, 39) << true;
    QTest::newRow("moved scene, x above its width") << moved << 1.0 << QPoint(50, 20) << false;
    QTest::newRow("moved scene, y above its height") << moved << 1.0 << QPoint(20, 40) << false;
    const QRectF negative(-50, -40, 100, 80);
    QTest::newRow("scene around the origin, negative half")
        << negative << 1.0 << QPoint(30, 60) << false;
    QTest::newRow("scene around the origin, positive half")
        << negative << 1.0 << QPoint(60, 60) << true;
    QTest::newRow("scene around the origin, beyond its right edge")
        << negative << 1.0 << QPoint(120, 60) << true;
}

void MarkerToolsTest::whereStampsAreTaken()
{
    QFETCH(QRectF, sceneRect);
    QFETCH(double, zoom);
    QFETCH(QPoint, position);
    QFETCH(bool, taken);
    for (const int tool : {keep, remove_, blue}) {
        MarkerStage stage(tool, sceneRect);
        stage.zoom(zoom);
        stage.press(position);
        stage.move(position);
        QCOMPARE(stage.stamps().size(), taken ? 1 : 0);
    }
}

void MarkerToolsTest::sizesOnTheScreen_data()
{
    QTest::addColumn<int>("tool");
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QRect>("onScreen"); // pointer at (60, 40)
    QTest::newRow("keep stamp of 10, zoom 1") << keep << 1.0 << QRect(60, 40, 10, 10);
    QTest::newRow("keep stamp of 10, zoom 2") << keep << 2.0 << QRect(60, 40, 20, 20);
    QTest::newRow("remove stamp of 12, zoom 2") << remove_ << 2.0 << QRect(60, 40, 24, 24);
    QTest::newRow("blue stamp of 20, zoom 1") << blue << 1.0 << QRect(50, 30, 20, 20);
    QTest::newRow("blue stamp of 20, zoom 2") << blue << 2.0 << QRect(50, 30, 20, 20);
    QTest::newRow("blue stamp of 20, zoom 0.5") << blue << 0.5 << QRect(50, 30, 20, 20);
}

void MarkerToolsTest::sizesOnTheScreen()
{
    QFETCH(int, tool);
    QFETCH(double, zoom);
    QFETCH(QRect, onScreen);
    MarkerStage stage(tool);
    stage.zoom(zoom);
    stage.drag({{10, 10}, {60, 40}});
    const auto *shape = stage.stamps().first();
    const QRectF rect = tool == keep
        ? qgraphicsitem_cast<const QGraphicsRectItem *>(shape)->rect()
        : qgraphicsitem_cast<const QGraphicsEllipseItem *>(shape)->rect();
    QCOMPARE(stage.view.mapFromScene(rect.topLeft()), onScreen.topLeft());
    QCOMPARE(stage.view.mapFromScene(rect.bottomRight()) - onScreen.topLeft(),
             QPoint(onScreen.width(), onScreen.height()));
}

// Keep and remove stamps start at the exact position, blue ones at a whole one.
void MarkerToolsTest::fractionsOfTheScene()
{
    const QHash<int, QRectF> expected {
        {keep, {15.25, 10.75, 10, 10}}, {remove_, {15.25, 10.75, 12, 12}}, {blue, {12, 8, 5, 5}}};
    for (const int tool : {keep, remove_, blue}) {
        MarkerStage stage(tool);
        stage.zoom(4);
        stage.drag({{10, 10}, {61, 43}});
        QCOMPARE(stage.stamps().first()->boundingRect(), expected[tool]);
    }
}

void MarkerToolsTest::blueOutline()
{
    MarkerStage stage(blue);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsEllipseItem> outline(stage.view.cursorItem);
    QVERIFY(outline);
    QCOMPARE(outline->rect(), QRectF(40, 30, 20, 20));
    QCOMPARE(outline->pen(), QPen(Qt::black, 0));
    QCOMPARE(outline->brush(), QBrush());
    QCOMPARE(outline->zValue(), 20.0);
    stage.move({10, 10});
    QCOMPARE(outline->rect(), QRectF(0, 0, 20, 20));
    stage.move({9, 10});
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(!outline->scene());
}

void MarkerToolsTest::blueStampWithoutAnOutline()
{
    MarkerStage stage(blue);
    stage.drag({{5, 5}, {5, 40}});
    QVERIFY(!stage.view.cursorItem);
    QCOMPARE(stage.stamps().size(), 1);
    const auto *stamp = qgraphicsitem_cast<QGraphicsEllipseItem *>(stage.stamps().first());
    QCOMPARE(stamp->rect(), QRectF(-5, 30, 20, 20));
}

void MarkerToolsTest::opacities_data()
{
    QTest::addColumn<double>("setting");
    QTest::addColumn<double>("opacity");
    QTest::newRow("default") << 0.6 << 0.06;
    QTest::newRow("whole") << 1.0 << 0.1;
    QTest::newRow("ten") << 10.0 << 1.0;
    QTest::newRow("none") << 0.0 << 0.0;
}

void MarkerToolsTest::opacities()
{
    QFETCH(double, setting);
    QFETCH(double, opacity);
    for (const int tool : {keep, remove_, blue}) {
        MarkerStage stage(tool);
        stage.view.markerOpacity = setting;
        stage.drag({{50, 40}, {60, 40}});
        QCOMPARE(stage.stamps().first()->opacity(), tool == blue ? opacity : 1.0);
    }
}

void MarkerToolsTest::noSize()
{
    for (const int tool : {keep, remove_, blue}) {
        MarkerStage stage(tool);
        stage.view.keepMarkerSize = stage.view.removeMarkerSize = stage.view.blueMarkerSize = 0;
        stage.drag({{50, 40}, {60, 40}});
        QCOMPARE(stage.stamps().size(), 1);
        QCOMPARE(stage.stamps().first()->boundingRect(), QRectF(60, 40, 0, 0));
        QVERIFY(!stage.view.cursorItem);
    }
}

void MarkerToolsTest::sameSizeLeavesTheBlueMarker()
{
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("tools.ini")), QSettings::IniFormat);
    settings.setValue(QStringLiteral("KEEPMSIZE"), 30);
    settings.setValue(QStringLiteral("REMOVEMSIZE"), 40);
    settings.setValue(QStringLiteral("BLUEMSIZE"), 50);
    settings.setValue(QStringLiteral("MOPACITY"), QStringLiteral("0.9"));
    MarkerStage stage(remove_);
    stage.view.toolSettings = &settings;
    stage.view.updatetoolssettings();
    stage.drag({{50, 40}, {60, 40}});
    QCOMPARE(stage.stamps().first()->boundingRect(), QRectF(60, 40, 30, 30));
    stage.view.toolMode = blue;
    stage.drag({{50, 40}, {100, 90}});
    QCOMPARE(stage.stamps().last()->boundingRect(), QRectF(90, 80, 20, 20));
    QCOMPARE(stage.stamps().last()->opacity(), 0.06);
}

void MarkerToolsTest::rotatedView()
{
    MarkerStage stage(keep);
    stage.view.rotate(90); // viewport (x, y) shows scene (y, 150 - x)
    stage.drag({{10, 10}, {60, 40}});
    QCOMPARE(stage.stamps().first()->boundingRect(), QRectF(40, 90, 10, 10));
    stage.view.toolMode = blue;
    stage.drag({{10, 10}, {60, 40}});
    QCOMPARE(stage.stamps().last()->boundingRect().normalized(), QRectF(30, 80, 20, 20));
}

CRAYVELL_TEST_MAIN(MarkerToolsTest)
#include "tst_markertools.moc"
