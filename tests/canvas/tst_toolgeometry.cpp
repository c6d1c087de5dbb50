#include "canvas/toolgeometry.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QScrollBar>

#include <limits>

#include "tests/support/testmain.h"

namespace {

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();
constexpr double infinite = std::numeric_limits<double>::infinity();

} // namespace

class ToolGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void points_data();
    void points();
    void boundsAreRounded_data();
    void boundsAreRounded();
    void clips_data();
    void clips();
    void brushes_data();
    void brushes();
    void rotatedBrush();
};

void ToolGeometryTest::points_data()
{
    QTest::addColumn<double>("coordinate");
    QTest::addColumn<int>("truncated");
    QTest::addColumn<int>("rounded");
    QTest::newRow("whole") << 7.0 << 7 << 7;
    QTest::newRow("half") << 2.5 << 2 << 3;
    QTest::newRow("negative half") << -2.5 << -2 << -2;
    QTest::newRow("odd half") << 3.5 << 3 << 4;
    QTest::newRow("odd negative half") << -3.5 << -3 << -3;
    QTest::newRow("below a half") << 2.49 << 2 << 2;
    QTest::newRow("beyond a negative half") << -2.51 << -2 << -3;
    QTest::newRow("below one") << 0.9 << 0 << 1;
    QTest::newRow("above minus one") << -0.9 << 0 << -1;
    QTest::newRow("beyond 2^30") << 1073741825.5 << 1073741825 << 1073741826;
    QTest::newRow("highest") << 2147483647.0 << highest << highest;
    QTest::newRow("half above the highest") << 2147483647.5 << highest << highest;
    QTest::newRow("lowest") << -2147483648.0 << lowest << lowest;
    QTest::newRow("far away") << 1e12 << highest << highest;
    QTest::newRow("far away, negative") << -1e12 << lowest << lowest;
    QTest::newRow("infinite") << infinite << highest << highest;
    QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << 0 << 0;
}

void ToolGeometryTest::points()
{
    QFETCH(double, coordinate);
    QFETCH(int, truncated);
    QFETCH(int, rounded);
    QCOMPARE(canvas::truncatedPoint({coordinate, 1}), QPoint(truncated, 1));
    QCOMPARE(canvas::truncatedPoint({1, coordinate}), QPoint(1, truncated));
    QCOMPARE(canvas::roundedPoint({coordinate, 1}), QPoint(rounded, 1));
    QCOMPARE(canvas::roundedPoint({1, coordinate}), QPoint(1, rounded));
}

void ToolGeometryTest::boundsAreRounded_data()
{
    QTest::addColumn<QRectF>("exact");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("whole") << QRectF(1, 2, 3, 4) << QRect(1, 2, 3, 4);
    QTest::newRow("halves of position and size")
        << QRectF(0.5, 0.5, 10.5, 20.5) << QRect(1, 1, 11, 21);
    QTest::newRow("negative half, size with a quarter")
        << QRectF(-0.5, -0.5, 10.25, 10.25) << QRect(0, 0, 10, 10);
    QTest::newRow("size that the edges would change")
        << QRectF(0.4, 0.4, 10.4, 10.4) << QRect(0, 0, 10, 10);
    QTest::newRow("no number") << QRectF(std::numeric_limits<double>::quiet_NaN(), 0, 5, 5)
                               << QRect(0, 0, 5, 5);
}

void ToolGeometryTest::boundsAreRounded()
{
    QFETCH(QRectF, exact);
    QFETCH(QRect, expected);
    const QRect all(QPoint(lowest, lowest), QPoint(highest, highest));
    QCOMPARE(canvas::clipped(all, exact), expected);
}

void ToolGeometryTest::clips_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<QRectF>("bounds");
    QTest::addColumn<QRect>("expected");
    const QRectF scene(0, 0, 200, 150);
    QTest::newRow("inside") << QRect(50, 40, 10, 10) << scene << QRect(50, 40, 10, 10);
    QTest::newRow("corner") << QRect(-4, -3, 10, 10) << scene << QRect(0, 0, 6, 7);
    QTest::newRow("other corner") << QRect(195, 147, 10, 10) << scene << QRect(195, 147, 5, 3);
    QTest::newRow("last column and row") << QRect(199, 149, 9, 9) << scene << QRect(199, 149, 1, 1);
    QTest::newRow("right of it") << QRect(200, 40, 10, 10) << scene << QRect();
    QTest::newRow("below it") << QRect(50, 150, 10, 10) << scene << QRect();
    QTest::newRow("no size") << QRect(50, 40, 0, 0) << scene << QRect();
    QTest::newRow("no width") << QRect(50, 40, 0, 10) << scene << QRect(50, 40, 0, 10);
    QTest::newRow("upside down") << QRect(50, 40, 10, -10) << scene << QRect(50, 30, 10, 10);
    QTest::newRow("no bounds") << QRect(-5, -5, 10, 10) << QRectF() << QRect();
    QTest::newRow("bounds turned over")
        << QRect(-5, -5, 10, 10) << QRectF(2, 2, -4, -4) << QRect(-2, -2, 4, 4);
    QTest::newRow("bounds of all whole numbers")
        << QRect(50, 40, 10, 10) << QRectF(lowest, lowest, 4294967296.0, 4294967296.0)
        << QRect(50, 40, 10, 10);
    QTest::newRow("bounds beyond all whole numbers")
        << QRect(QPoint(lowest, 0), QPoint(lowest, 9)) << QRectF(-1e300, -1e300, 2e300, 2e300)
        << QRect(QPoint(lowest, 0), QPoint(lowest, 9));
    QTest::newRow("endless bounds")
        << QRect(50, 40, 10, 10) << QRectF(0, 0, infinite, infinite) << QRect(50, 40, 10, 10);
    QTest::newRow("bounds that are no number")
        << QRect(50, 40, 10, 10) << QRectF(-infinite, 0, infinite, 90) << QRect();
}

void ToolGeometryTest::clips()
{
    QFETCH(QRect, rect);
    QFETCH(QRectF, bounds);
    QFETCH(QRect, expected);
    QCOMPARE(canvas::clipped(rect, bounds), expected);
}

void ToolGeometryTest::brushes_data()
{
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QPoint>("origin");
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<int>("halfSize");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("one to one") << 1.0 << QPoint() << QPoint(50, 40) << 5 << QRect(45, 35, 10, 10);
    QTest::newRow("no size") << 1.0 << QPoint() << QPoint(50, 40) << 0 << QRect(50, 40, 0, 0);
    QTest::newRow("twice as large")
        << 2.0 << QPoint() << QPoint(50, 40) << 10 << QRect(20, 15, 10, 10);
    QTest::newRow("half a unit at the corner")
        << 2.0 << QPoint() << QPoint(51, 40) << 10 << QRect(20, 15, 10, 10);
    QTest::newRow("size with a fraction")
        << 4.0 << QPoint() << QPoint(50, 40) << 5 << QRect(11, 8, 2, 2);
    QTest::newRow("a corner between -1 and 0 becomes 0")
        << 2.0 << QPoint() << QPoint(4, 3) << 5 << QRect(0, -1, 5, 5);
    QTest::newRow("negative coordinates lose their fraction towards zero")
        << 2.0 << QPoint(-60, -60) << QPoint(11, 12) << 5 << QRect(-57, -56, 5, 5);
    QTest::newRow("three quarters")
        << 0.75 << QPoint() << QPoint(30, 33) << 5 << QRect(33, 37, 13, 13);
    const QPoint corner(highest, highest);
    QTest::newRow("zoomed out without end")
        << 1e-10 << QPoint() << QPoint(50, 40) << 5 << QRect(corner, corner);
}

void ToolGeometryTest::brushes()
{
    QFETCH(double, zoom);
    QFETCH(QPoint, origin);
    QFETCH(QPoint, position);
    QFETCH(int, halfSize);
    QFETCH(QRect, expected);
    QGraphicsScene scene(QRectF(origin, QSizeF(2000, 2000)));
    QGraphicsView view(&scene);
    view.setAlignment(Qt::AlignLeft | Qt::AlignTop);
    view.scale(zoom, zoom);
    view.horizontalScrollBar()->setValue(view.horizontalScrollBar()->minimum());
    view.verticalScrollBar()->setValue(view.verticalScrollBar()->minimum());
    QCOMPARE(canvas::brushRectangle(view, position, halfSize), expected);
}

// The corner taken is the pointer's upper left on the screen, wherever that
// lies in the scene.
void ToolGeometryTest::rotatedBrush()
{
    QGraphicsScene scene(0, 0, 60, 40);
    QGraphicsView view(&scene);
    view.setAlignment(Qt::AlignLeft | Qt::AlignTop);
    view.rotate(90); // viewport (x, y) shows scene (y, 40 - x)
    QCOMPARE(canvas::brushRectangle(view, {15, 30}, 5), QRect(25, 30, 10, -10));
}

CRAYVELL_TEST_MAIN(ToolGeometryTest)
#include "tst_toolgeometry.moc"
