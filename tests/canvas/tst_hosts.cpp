#include <QDragEnterEvent>
#include <QGraphicsPathItem>
#include <QMimeData>
#include <QSignalSpy>
#include <QVBoxLayout>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

using View = TarnGraphicsView;

void sendToViewport(View &view, QEvent::Type type, QPointF position)
{
    const QPointF global = view.viewport()->mapToGlobal(position);
    QMouseEvent event(type, position, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &event);
}

// The filter that the header speaks of.
class DoubleClicksArePresses : public QObject
{
public:
    explicit DoubleClicksArePresses(View &watched)
        : view(watched)
    {
        view.viewport()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::MouseButtonDblClick)
            return false;
        sendToViewport(view, QEvent::MouseButtonPress,
                       static_cast<QMouseEvent *>(event)->position());
        return true;
    }

private:
    View &view;
};

class DropWindow : public QWidget
{
public:
    int entered = 0;

    DropWindow() { setAcceptDrops(true); }

protected:
    void dragEnterEvent(QDragEnterEvent *event) override
    {
        ++entered;
        event->acceptProposedAction();
    }
};

bool showsSomething(const View &view)
{
    return view.transform().m11() > 0; // neither zero nor no number
}

void resizeViewport(View &view, QSize before, QSize after)
{
    QResizeEvent event(after, before);
    QApplication::sendEvent(view.viewport(), &event);
}

} // namespace

// What the header warns hosts of, and that the remedies named there help.
class HostsTest : public QObject
{
    Q_OBJECT

private slots:
    void doubleClicks_data();
    void doubleClicks();
    void oneOfTwoButtons();
    void anotherToolInMidStroke();
    void handsCursor();
    void squeezedViewport();
    void twoRectangles();
    void picksFarIn_data();
    void picksFarIn();
    void drops_data();
    void drops();
};

void HostsTest::doubleClicks_data()
{
    QTest::addColumn<bool>("filtered");
    QTest::addColumn<int>("presses");
    QTest::newRow("as they are") << false << 1;
    QTest::newRow("with a filter") << true << 2;
}

void HostsTest::doubleClicks()
{
    QFETCH(bool, filtered);
    QFETCH(int, presses);
    ToolStage stage(View::ModeWireSmartMarker);
    std::unique_ptr<QObject> filter;
    if (filtered)
        filter = std::make_unique<DoubleClicksArePresses>(stage.view);
    QSignalSpy spy(&stage.view, qOverload<QRect, bool, bool>(&View::SmartSelect));
    stage.press({50, 40});
    stage.release({50, 40});
    sendToViewport(stage.view, QEvent::MouseButtonDblClick, {50, 40});
    QCOMPARE(spy.count(), presses);
    QCOMPARE(stage.view.mousePressed, filtered);
}

void HostsTest::oneOfTwoButtons()
{
    ToolStage stage(View::ModeHand);
    QSignalSpy spy(&stage.view, &View::HandTool);
    stage.press({50, 40});
    stage.press({50, 40}, Qt::RightButton);
    stage.move({60, 40});
    QCOMPARE(spy.count(), 1);
    stage.release({60, 40}, Qt::RightButton);
    stage.move({70, 40});
    QCOMPARE(spy.count(), 1);
}

void HostsTest::anotherToolInMidStroke()
{
    ToolStage stage(View::ModePen);
    stage.press({50, 40});
    QGraphicsPathItem *stroke = stage.view.pathItem;
    stage.view.toolMode = View::ModeNone;
    stage.release({50, 40});
    stage.view.toolMode = View::ModePen;
    stage.press({90, 40}, Qt::RightButton);
    stage.move({90, 50});
    QCOMPARE(stroke->path().elementCount(), 2);
    stage.view.pathItem = nullptr;
    stage.move({90, 60});
    QCOMPARE(stroke->path().elementCount(), 2);
    QCOMPARE(stroke->scene(), &stage.scene);
}

void HostsTest::handsCursor()
{
    ToolStage stage(View::ModeHand);
    stage.drag({{50, 40}, {60, 40}});
    stage.view.toolMode = View::ModePen;
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::OpenHandCursor);
    stage.view.viewport()->unsetCursor();
    QCOMPARE(stage.view.viewport()->cursor().shape(), Qt::ArrowCursor);
}

void HostsTest::squeezedViewport()
{
    ToolStage stage(View::ModeNone);
    resizeViewport(stage.view, {400, 300}, {0, 300});
    QVERIFY(!showsSomething(stage.view));
    resizeViewport(stage.view, {0, 300}, {400, 300});
    stage.view.fitInView(stage.scene.sceneRect());
    QVERIFY(!showsSomething(stage.view));
    stage.view.resetTransform();
    stage.view.fitInView(stage.scene.sceneRect());
    QVERIFY(showsSomething(stage.view));
}

void HostsTest::twoRectangles()
{
    ToolStage stage(View::ModeKeepBrush);
    stage.view.keepBrushSize = 10;
    stage.view.setSceneRect(0, 0, 1000, 1000);
    QSignalSpy spy(&stage.view, &View::AnyBrush);
    stage.press({300, 200}); // outside the scene's own rectangle
    QCOMPARE(spy.count(), 0);
    stage.view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    stage.view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    stage.view.resetTransform();
    resizeViewport(stage.view, {400, 300}, {500, 400}); // the view's is still larger
    QVERIFY(stage.view.transform().isIdentity());
}

void HostsTest::picksFarIn_data()
{
    QTest::addColumn<double>("zoom");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("reports"); // of a press and a move
    QTest::newRow("a unit of the scene") << 8.0 << QSize(1, 1) << 2;
    QTest::newRow("less than a unit") << 16.0 << QSize(0, 0) << 1;
}

void HostsTest::picksFarIn()
{
    QFETCH(double, zoom);
    QFETCH(QSize, size);
    QFETCH(int, reports);
    ToolStage stage(View::ModeWireSmartMarker);
    stage.zoom(zoom);
    QSignalSpy spy(&stage.view, qOverload<QRect, bool, bool>(&View::SmartSelect));
    stage.press({50, 40});
    stage.move({50, 40});
    QCOMPARE(spy.count(), reports);
    QCOMPARE(spy[0][0].toRect().size(), size);
}

void HostsTest::drops_data()
{
    QTest::addColumn<bool>("switchedOff");
    QTest::addColumn<int>("entered");
    QTest::newRow("the view takes them") << false << 0;
    QTest::newRow("the window takes them") << true << 1;
}

void HostsTest::drops()
{
    QFETCH(bool, switchedOff);
    QFETCH(int, entered);
    DropWindow window;
    QGraphicsScene scene(0, 0, 200, 150);
    auto *view = new View(&window);
    (new QVBoxLayout(&window))->addWidget(view);
    window.show();
    view->setScene(&scene);
    if (switchedOff)
        view->setAcceptDrops(false);
    const QMimeData data;
    QDragEnterEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &event);
    QCOMPARE(window.entered, entered);
}

CRAYVELL_TEST_MAIN(HostsTest)
#include "tst_hosts.moc"
