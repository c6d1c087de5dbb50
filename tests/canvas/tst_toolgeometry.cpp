#include "canvas/toolgeometry.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QScrollBar>

#include <limits>

#include "tests/support/testmain.h"

namespace {

constexpr int farthest = (1 << 30) - 1;

} // namespace

class ToolGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void points_data();
    void points();
    void rectangles_data();
    void rectangles();
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
    QTest::newRow("far away") << 1e12 << farthest << farthest;
    QTest::newRow("far away, negative") << -1e12 << -farthest << -farthest;
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << farthest << farthest;
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

void ToolGeometryTest::rectangles_data()
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

void ToolGeometryTest::rectangles()
{
    QFETCH(QRectF, exact);
    QFETCH(QRect, expected);
    QCOMPARE(canvas::roundedRect(exact), expected);
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
    QTest::newRow("zoomed out without end") << 1e-10 << QPoint() << QPoint(50, 40) << 5
                                            << QRect(farthest, farthest, farthest, farthest);
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
