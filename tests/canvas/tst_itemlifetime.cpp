#include <QGraphicsEllipseItem>
#include <QGraphicsPathItem>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

// A view whose scene can go before it does.
struct LooseStage : ToolStage
{
    explicit LooseStage(int tool)
        : ToolStage(tool)
        , loose(std::make_unique<QGraphicsScene>(0, 0, 200, 150))
    {
        view.keepBrushSize = view.removeBrushSize = view.blueMarkerSize = 20;
        view.keepMarkerSize = view.eraserSize = 20;
        view.setScene(loose.get());
    }

    std::unique_ptr<QGraphicsScene> loose;
};

// What may happen to a scene while a tool is in use.
enum class Blow { Cleared, Replaced, TakenAway, Deleted, ItemsDeleted };

void strike(LooseStage &stage, Blow blow)
{
    switch (blow) {
    case Blow::Cleared: stage.loose->clear(); break;
    case Blow::Replaced: stage.view.setScene(&stage.scene); break;
    case Blow::TakenAway: stage.view.setScene(nullptr); break;
    case Blow::Deleted: stage.loose.reset(); break;
    case Blow::ItemsDeleted: qDeleteAll(stage.loose->items()); break;
    }
}

const QList<QPair<int, const char *>> tools {
    {TarnGraphicsView::ModePen, "pen"},
    {TarnGraphicsView::ModeEraser, "eraser"},
    {TarnGraphicsView::ModeKeepMarker, "keep marker"},
    {TarnGraphicsView::ModeRemoveMarker, "remove marker"},
    {TarnGraphicsView::ModeKeepBrush, "keep brush"},
    {TarnGraphicsView::ModeRemoveBrush, "remove brush"},
    {TarnGraphicsView::ModeHand, "hand"},
    {TarnGraphicsView::ModeBlueMarker, "blue marker"},
    {TarnGraphicsView::ModeWireSmartMarker, "wire smart marker"},
};

const QList<QPair<Blow, const char *>> blows {
    {Blow::Cleared, "scene cleared"},          {Blow::Replaced, "scene replaced"},
    {Blow::TakenAway, "scene taken away"},     {Blow::Deleted, "scene deleted"},
    {Blow::ItemsDeleted, "all items deleted"},
};

bool pointsToDeletedItems(Blow blow)
{
    return blow == Blow::Cleared || blow == Blow::Deleted || blow == Blow::ItemsDeleted;
}

} // namespace

// The pointers to the outline and to the stroke, whatever happens to the scene
// that owns them. Worth most in the sanitize preset.
class ItemLifetimeTest : public QObject
{
    Q_OBJECT

private slots:
    void inMidDrag_data();
    void inMidDrag();
    void toolSwitchedInMidDrag_data();
    void toolSwitchedInMidDrag();
    void insideASlot_data();
    void insideASlot();
    void outlineMovesToTheNewScene();
    void leaveTakesTheOutlineOutOfTheOldScene();
    void leaveWithoutAScene();
    void erasedOutlineAndNoScene();
    void strokeInAReplacedScene();
    void oldItemsDoNotResetNewOnes();
    void viewGoesFirst();
    void viewOwnsItsScene();
    void itemsTakenOutByTheHost();
};

void ItemLifetimeTest::inMidDrag_data()
{
    QTest::addColumn<int>("tool");
    QTest::addColumn<int>("blow");
    for (const auto &[tool, toolName] : tools)
        for (const auto &[blow, blowName] : blows)
            QTest::addRow("%s, %s", toolName, blowName) << tool << int(blow);
}

void ItemLifetimeTest::inMidDrag()
{
    QFETCH(int, tool);
    QFETCH(int, blow);
    LooseStage stage(tool);
    stage.press({50, 40});
    stage.move({60, 40});
    strike(stage, Blow(blow));
    if (pointsToDeletedItems(Blow(blow))) {
        QVERIFY(!stage.view.cursorItem);
        QVERIFY(!stage.view.pathItem);
    }
    stage.move({70, 40});
    stage.release({70, 40});
    stage.move({80, 40});
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
    stage.press({50, 40});
    stage.move({60, 40});
}

void ItemLifetimeTest::toolSwitchedInMidDrag_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    for (const auto &[from, fromName] : tools)
        for (const auto &[to, toName] : tools)
            QTest::addRow("%s to %s", fromName, toName) << from << to;
}

void ItemLifetimeTest::toolSwitchedInMidDrag()
{
    QFETCH(int, from);
    QFETCH(int, to);
    LooseStage stage(from);
    stage.press({50, 40});
    stage.move({60, 40});
    const auto shown = stage.loose->items();
    stage.view.toolMode = to;
    QCOMPARE(stage.loose->items(), shown);
    stage.move({70, 40});
    stage.release({70, 40});
    stage.loose->clear();
    stage.view.toolMode = from;
    stage.move({80, 40});
    stage.leave();
    stage.loose.reset();
    stage.move({90, 40});
}

void ItemLifetimeTest::insideASlot_data()
{
    inMidDrag_data();
}

// The host reacts to whatever a tool reports by tearing the scene down.
void ItemLifetimeTest::insideASlot()
{
    QFETCH(int, tool);
    QFETCH(int, blow);
    LooseStage stage(tool);
    TarnGraphicsView *view = &stage.view;
    const auto react = [&] { strike(stage, Blow(blow)); };
    connect(view, &TarnGraphicsView::ProgressStage, view, react);
    connect(view, &TarnGraphicsView::AnyBrush, view, react);
    connect(view, &TarnGraphicsView::HandTool, view, react);
    connect(view, &TarnGraphicsView::SmartSelect, view, react);
    stage.press({50, 40});
    stage.move({60, 40});
    stage.move({70, 40});
    stage.release({70, 40});
    stage.move({80, 40});
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
}

void ItemLifetimeTest::outlineMovesToTheNewScene()
{
    LooseStage stage(TarnGraphicsView::ModeKeepBrush);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> old(stage.view.cursorItem);
    stage.view.setScene(&stage.scene);
    stage.move({60, 40});
    QVERIFY(stage.loose->items().isEmpty());
    QCOMPARE(stage.items(), QList<QGraphicsItem *>({stage.view.cursorItem}));
    QVERIFY(stage.view.cursorItem != old.get());
}

void ItemLifetimeTest::leaveTakesTheOutlineOutOfTheOldScene()
{
    LooseStage stage(TarnGraphicsView::ModeKeepBrush);
    stage.move({50, 40});
    stage.view.setScene(&stage.scene);
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(stage.loose->items().isEmpty());
}

void ItemLifetimeTest::leaveWithoutAScene()
{
    LooseStage stage(TarnGraphicsView::ModeKeepBrush);
    stage.move({50, 40});
    stage.view.setScene(nullptr);
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
    QVERIFY(stage.loose->items().isEmpty());
}

void ItemLifetimeTest::erasedOutlineAndNoScene()
{
    LooseStage stage(TarnGraphicsView::ModeKeepBrush);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> outline(stage.view.cursorItem);
    stage.view.toolMode = TarnGraphicsView::ModeEraser;
    stage.press({40, 40});
    QVERIFY(!outline->scene());
    stage.view.setScene(nullptr);
    stage.leave();
    QVERIFY(!stage.view.cursorItem);
}

// The stroke stays where it is and still follows the pointer to its end.
void ItemLifetimeTest::strokeInAReplacedScene()
{
    LooseStage stage(TarnGraphicsView::ModePen);
    stage.press({50, 40});
    stage.view.setScene(&stage.scene);
    stage.move({60, 40});
    QVERIFY(stage.items().isEmpty());
    stage.release({60, 40});
    QCOMPARE(stage.loose->items().size(), 1);
}

void ItemLifetimeTest::oldItemsDoNotResetNewOnes()
{
    LooseStage stage(TarnGraphicsView::ModePen);
    stage.press({50, 40});
    const QGraphicsItem *oldStroke = stage.view.pathItem;
    stage.press({60, 40});
    const QGraphicsItem *newStroke = stage.view.pathItem;
    delete oldStroke;
    QCOMPARE(stage.view.pathItem, newStroke);
    delete newStroke;
    QVERIFY(!stage.view.pathItem);
}

void ItemLifetimeTest::viewGoesFirst()
{
    QGraphicsScene scene(0, 0, 200, 150);
    {
        ToolStage stage(TarnGraphicsView::ModePen);
        stage.view.keepBrushSize = 20;
        stage.view.setScene(&scene);
        stage.press({50, 40});
        stage.view.toolMode = TarnGraphicsView::ModeKeepBrush;
        stage.move({60, 40});
        QVERIFY(stage.view.pathItem && stage.view.cursorItem);
    }
    QCOMPARE(scene.items().size(), 2); // the view took nothing with it
    scene.clear();
}

// Children of a widget go when most of the widget is gone already.
void ItemLifetimeTest::viewOwnsItsScene()
{
    ToolStage stage(TarnGraphicsView::ModePen);
    stage.view.keepBrushSize = 20;
    stage.view.setScene(new QGraphicsScene(0, 0, 200, 150, &stage.view));
    stage.press({50, 40});
    stage.view.toolMode = TarnGraphicsView::ModeKeepBrush;
    stage.move({60, 40});
    QVERIFY(stage.view.pathItem && stage.view.cursorItem);
}

void ItemLifetimeTest::itemsTakenOutByTheHost()
{
    LooseStage stage(TarnGraphicsView::ModeKeepBrush);
    stage.move({50, 40});
    const std::unique_ptr<QGraphicsItem> kept(stage.view.cursorItem);
    stage.view.forgetItems();
    QVERIFY(!stage.view.cursorItem);
    QCOMPARE(kept->scene(), stage.loose.get());
    stage.loose->removeItem(kept.get());
    stage.leave(); // without a warning: there is nothing to take out
    stage.move({60, 40});
    QCOMPARE(stage.loose->items(), QList<QGraphicsItem *>({stage.view.cursorItem}));

    stage.view.toolMode = TarnGraphicsView::ModePen;
    stage.press({50, 40});
    stage.view.forgetItems();
    QVERIFY(!stage.view.pathItem);
    int texts = 0;
    connect(&stage.view, &TarnGraphicsView::ProgressStage, &stage.view, [&texts] { ++texts; });
    stage.move({60, 40});
    QCOMPARE(texts, 0);
}

CRAYVELL_TEST_MAIN(ItemLifetimeTest)
#include "tst_itemlifetime.moc"
