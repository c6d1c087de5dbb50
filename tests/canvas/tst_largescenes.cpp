#include <QGraphicsRectItem>
#include <QSignalSpy>

#include <limits>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

using View = TarnGraphicsView;

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();
constexpr double infinite = std::numeric_limits<double>::infinity();

// As large as a QRect can be, around the origin.
constexpr QRectF widest(lowest / 2, lowest / 2, highest, highest);
// A pixel of the viewport shows 2^23 units: 128 pixels are half of what an int
// holds, 256 are all of it.
constexpr double farOut = 1.0 / (1 << 23);
constexpr int unit = 1 << 23;

// A stage whose tools all have the size 10. Its viewport has 400 by 300 pixels.
struct LargeStage : ToolStage
{
    LargeStage(int tool, const QRectF &sceneRect)
        : ToolStage(tool, sceneRect)
    {
        view.keepMarkerSize = view.removeMarkerSize = view.blueMarkerSize = 10;
        view.keepBrushSize = view.removeBrushSize = view.eraserSize = 10;
    }
};

// What QRect computes in ints from its edges, unless they are too far apart.
bool hasSize(const QRect &rect)
{
    return rect.width() == qint64(rect.right()) - rect.left() + 1
        && rect.height() == qint64(rect.bottom()) - rect.top() + 1;
}

} // namespace

// Scenes and transforms at the ends of what whole numbers hold. Worth most in
// the sanitize preset.
class LargeScenesTest : public QObject
{
    Q_OBJECT

private slots:
    void picks_data();
    void picks();
    void brushReports();
    void handReports();
    void stampsEndWithTheScene_data();
    void stampsEndWithTheScene();
    void everySizeCanBeAskedFor_data();
    void everySizeCanBeAskedFor();
};

void LargeScenesTest::picks_data()
{
    QTest::addColumn<QRectF>("sceneRect");
    QTest::addColumn<QPointF>("middle");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("around the origin") << widest << QPointF() << QRect(-5, -5, 10, 10);
    const double beyond = 1.0e9;
    QTest::newRow("far right in it")
        << widest << QPointF(beyond, 0) << QRect(999999995, -5, 10, 10);
    QTest::newRow("far up in it") << widest << QPointF(0, -beyond)
                                  << QRect(-5, -1000000005, 10, 10);
    const QRectF fromZero(0, 0, highest, highest);
    QTest::newRow("beyond 2^30") << fromZero << QPointF(1.5e9, 2.0e9)
                                 << QRect(1499999995, 1999999995, 10, 10);
    QTest::newRow("last columns") << fromZero << QPointF(highest - 300.0, 2.0e9)
                                  << QRect(highest - 305, 1999999995, 10, 10);
}

void LargeScenesTest::picks()
{
    QFETCH(QRectF, sceneRect);
    QFETCH(QPointF, middle);
    QFETCH(QRect, expected);
    LargeStage stage(View::ModeWireSmartMarker, sceneRect);
    stage.view.centerOn(middle);
    QCOMPARE(stage.view.mapToScene(200, 150), middle);
    QSignalSpy spy(&stage.view, qOverload<QRect, bool, bool>(&View::SmartSelect));
    stage.press({200, 150});
    stage.move({200, 150});
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy[0][0].toRect(), expected);
    QCOMPARE(spy[1][0].toRect(), expected);
}

void LargeScenesTest::brushReports()
{
    LargeStage stage(View::ModeKeepBrush, {0, 0, 2.0e9, 2.0e9});
    stage.zoom(farOut);
    QSignalSpy spy(&stage.view, &View::AnyBrush);
    stage.press({200, 150});
    stage.move({150, 200});
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy[0][0].toRect(), QRect(195 * unit, 145 * unit, 10 * unit, 10 * unit));
    QCOMPARE(spy[1][0].toRect(), QRect(145 * unit, 195 * unit, 10 * unit, 10 * unit));
}

void LargeScenesTest::handReports()
{
    LargeStage stage(View::ModeHand, {0, 0, 2.0e9, 2.0e9});
    stage.zoom(farOut);
    QSignalSpy spy(&stage.view, &View::HandTool);
    stage.drag({{200, 150}, {150, 200}});
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy[0][0].toPoint(), QPoint(200 * unit, 150 * unit));
    QCOMPARE(spy[0][1].toPoint(), QPoint(150 * unit, 200 * unit));
}

void LargeScenesTest::stampsEndWithTheScene_data()
{
    QTest::addColumn<int>("x"); // of the viewport; the scene ends after 160 pixels
    QTest::addColumn<int>("stamps");
    QTest::newRow("inside") << 159 << 1;
    QTest::newRow("outside") << 161 << 0;
}

void LargeScenesTest::stampsEndWithTheScene()
{
    QFETCH(int, x);
    QFETCH(int, stamps);
    LargeStage stage(View::ModeKeepMarker, QRectF(0, 0, 160.0 * unit, 160.0 * unit));
    stage.zoom(farOut);
    stage.drag({{10, 10}, QPointF(x, 10)});
    QCOMPARE(stage.items().size(), stamps);
}

void LargeScenesTest::everySizeCanBeAskedFor_data()
{
    QTest::addColumn<QRectF>("sceneRect");
    QTest::addColumn<QTransform>("transform");
    const QList<QPair<QRectF, const char *>> scenes {
        {{0, 0, 200, 150}, "small scene"},
        {widest, "widest scene"},
        {{double(lowest), double(lowest), 4294967296.0, 4294967296.0}, "all whole numbers"},
        {{-1e300, -1e300, 2e300, 2e300}, "beyond all whole numbers"},
        {{0, 0, infinite, infinite}, "endless scene"},
    };
    QTransform mirrored;
    mirrored.rotate(180);
    const QList<QPair<QTransform, const char *>> transforms {
        {QTransform(), "one to one"},
        {QTransform::fromScale(farOut, farOut), "far out"},
        {mirrored * QTransform::fromScale(farOut, farOut), "far out, turned over"},
        {QTransform::fromScale(1e-12, 1e-12), "farther out"},
        {mirrored * QTransform::fromScale(1e-12, 1e-12), "farther out, turned over"},
        {QTransform::fromScale(1e12, 1e12), "far in"},
        {QTransform::fromScale(0, 0), "squeezed to nothing"},
        {QTransform::fromScale(infinite, infinite), "endless zoom"},
    };
    for (const auto &[sceneRect, sceneName] : scenes)
        for (const auto &[transform, name] : transforms)
            QTest::addRow("%s, %s", sceneName, name) << sceneRect << transform;
}

// Whatever a tool reports, a receiver can ask it for its width and height.
void LargeScenesTest::everySizeCanBeAskedFor()
{
    QFETCH(QRectF, sceneRect);
    QFETCH(QTransform, transform);
    for (int tool = View::ModeNone; tool <= View::ModeWireSmartMarker; ++tool) {
        LargeStage stage(tool, sceneRect);
        stage.view.setTransform(transform);
        QSignalSpy brush(&stage.view, &View::AnyBrush);
        QSignalSpy pick(&stage.view, qOverload<QRect, bool, bool>(&View::SmartSelect));
        stage.drag({{0, 0}, {390, 290}, {200, 150}, {0, 290}});
        for (const QVariantList &arguments : brush + pick)
            QVERIFY(hasSize(arguments[0].toRect()));
        QCOMPARE(brush.count() > 0, tool == View::ModeKeepBrush || tool == View::ModeRemoveBrush);
        QCOMPARE(pick.count() > 0, tool == View::ModeWireSmartMarker);
    }
}

CRAYVELL_TEST_MAIN(LargeScenesTest)
#include "tst_largescenes.moc"
