#include <QSignalSpy>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

constexpr int hand = TarnGraphicsView::ModeHand;

using Step = QPair<QPoint, QPoint>;

QList<Step> steps(const QSignalSpy &spy)
{
    QList<Step> result;
    for (const QVariantList &arguments : spy)
        result.append({arguments[0].toPoint(), arguments[1].toPoint()});
    return result;
}

} // namespace

class HandToolTest : public QObject
{
    Q_OBJECT

private slots:
    void choosingItChangesNoCursor();
    void hoveringReportsNothing();
    void aClickReportsNothing();
    void everyMoveIsAStep_data() { everyButton(); }
    void everyMoveIsAStep();
    void endsAreRounded_data();
    void endsAreRounded();
    void bothEndsUseTheCurrentTransform();
    void rotatedView();
    void anotherToolLeavesTheCursor();
};

void HandToolTest::choosingItChangesNoCursor()
{
    ToolStage stage(hand);
    stage.move({10, 10});
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::ArrowCursor);
}

void HandToolTest::hoveringReportsNothing()
{
    ToolStage stage(hand);
    stage.view.lastPos = {3, 4};
    QSignalSpy spy(&stage.view, &TarnGraphicsView::HandTool);
    stage.move({10, 10});
    stage.move({20, 10});
    QCOMPARE(spy.count(), 0);
    QCOMPARE(stage.view.lastPos, QPoint(3, 4));
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::ArrowCursor);
}

void HandToolTest::aClickReportsNothing()
{
    ToolStage stage(hand);
    QSignalSpy spy(&stage.view, &TarnGraphicsView::HandTool);
    stage.press({10, 10});
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::ClosedHandCursor);
    QCOMPARE(stage.view.lastPos, QPoint(10, 10));
    stage.release({12, 10});
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::OpenHandCursor);
    QCOMPARE(stage.view.lastPos, QPoint(10, 10));
    QCOMPARE(spy.count(), 0);
}

void HandToolTest::everyMoveIsAStep()
{
    QFETCH(Qt::MouseButton, button);
    ToolStage stage(hand);
    QSignalSpy spy(&stage.view, &TarnGraphicsView::HandTool);
    stage.drag({{10, 10}, {15, 9}, {15, 9}, {-4, 400}}, button);
    stage.move({50, 50});
    const QList<Step> expected {{{10, 10}, {15, 9}}, {{15, 9}, {15, 9}}, {{15, 9}, {-4, 400}}};
    QCOMPARE(steps(spy), expected);
    QCOMPARE(stage.view.lastPos, QPoint(-4, 400));
}

void HandToolTest::endsAreRounded_data()
{
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QPoint>("origin");
    QTest::addColumn<QPoint>("press");
    QTest::addColumn<QPoint>("move");
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::newRow("one pixel, a step of one")
        << 2.0 << QPoint() << QPoint(2, 2) << QPoint(3, 3) << QPoint(1, 1) << QPoint(2, 2);
    QTest::newRow("one pixel, a step of none")
        << 2.0 << QPoint() << QPoint(3, 3) << QPoint(4, 4) << QPoint(2, 2) << QPoint(2, 2);
    QTest::newRow("negative halves go up") << 2.0 << QPoint(-50, -50) << QPoint(95, 95)
                                           << QPoint(97, 93) << QPoint(-2, -2) << QPoint(-1, -3);
    QTest::newRow("three quarters")
        << 0.75 << QPoint() << QPoint(5, 7) << QPoint(8, 10) << QPoint(7, 9) << QPoint(11, 13);
}

void HandToolTest::endsAreRounded()
{
    QFETCH(double, zoom);
    QFETCH(QPoint, origin);
    QFETCH(QPoint, press);
    QFETCH(QPoint, move);
    QFETCH(QPoint, from);
    QFETCH(QPoint, to);
    ToolStage stage(hand, QRectF(origin, QSizeF(200, 150)));
    stage.zoom(zoom);
    QSignalSpy spy(&stage.view, &TarnGraphicsView::HandTool);
    stage.drag({press, move});
    QCOMPARE(steps(spy), QList<Step>({{from, to}}));
}

void HandToolTest::bothEndsUseTheCurrentTransform()
{
    ToolStage stage(hand);
    QSignalSpy spy(&stage.view, &TarnGraphicsView::HandTool);
    stage.press({10, 10});
    stage.zoom(2);
    stage.move({20, 30});
    QCOMPARE(steps(spy), QList<Step>({{{5, 5}, {10, 15}}}));
}

void HandToolTest::rotatedView()
{
    ToolStage stage(hand);
    stage.view.rotate(90); // viewport (x, y) shows scene (y, 150 - x)
    QSignalSpy spy(&stage.view, &TarnGraphicsView::HandTool);
    stage.drag({{10, 20}, {30, 25}});
    QCOMPARE(steps(spy), QList<Step>({{{20, 140}, {25, 120}}}));
}

void HandToolTest::anotherToolLeavesTheCursor()
{
    ToolStage stage(hand);
    stage.drag({{10, 10}, {20, 20}});
    stage.view.toolMode = TarnGraphicsView::ModePen;
    stage.move({30, 30});
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::OpenHandCursor);
}

CRAYVELL_TEST_MAIN(HandToolTest)
#include "tst_handtool.moc"
