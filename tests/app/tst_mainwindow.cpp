#include "app/mainwindow.h"

#include <QContextMenuEvent>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/testmain.h"

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void methodsInOrder_data();
    void methodsInOrder();
    void membersAtStart();
    void windowAtStart();
    void widgetTree_data();
    void widgetTree();
    void actions_data();
    void actions();
    void homeToolTip();
    void menusAndToolBar();
    void layouts();
    void sliders();
    void accessibility();
    void textsSetTwiceStayTheSame();
    void looseActionsDoNothing();
    void zoom();
    void zoomInAndOutReturns();
    void quitEmitsOnce();
    void dropsReachTheWindow();
    void toolBarCannotBeHidden();
    void messagesStay();
};

void MainWindowTest::methodsInOrder_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArray>("names");
    const QList<QPair<QByteArray, QByteArray>> methods {
        {"mwquit()", ""},
        {"on_actionHome_triggered()", ""},
        {"on_horizontalSlider_valueChanged(int)", "value"},
        {"on_actionIndex_triggered()", ""},
        {"on_actionAbout_triggered()", ""},
        {"on_actionQuit_triggered()", ""},
        {"on_actionSave_triggered()", ""},
        {"on_actionProcess_triggered()", ""},
        {"on_actionZoomMinus_triggered()", ""},
        {"on_actionZoomPlus_triggered()", ""},
        {"on_actionOpen_triggered()", ""},
        {"ProcessWireMarker(QRegion)", "rgn"},
        {"inverterodesketch(QImage*,unsigned char*,QProgressBar*)", "src,edgebuff,pb"},
        {"on_horizontalSlider_2_valueChanged(int)", "value"},
        {"open(QString)", "filename"},
    };
    for (int i = 0; i < methods.size(); ++i)
        QTest::newRow(methods[i].first.constData()) << i << methods[i].first << methods[i].second;
}

void MainWindowTest::methodsInOrder()
{
    QFETCH(int, index);
    QFETCH(QByteArray, signature);
    QFETCH(QByteArray, names);
    const QMetaObject &meta = MainWindow::staticMetaObject;
    QCOMPARE(meta.className(), "MainWindow");
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 15);
    const QMetaMethod method = meta.method(meta.methodOffset() + index);
    QCOMPARE(method.methodSignature(), QMetaObject::normalizedSignature(signature.constData()));
    QCOMPARE(method.parameterNames().join(','), names);
    QCOMPARE(method.methodType(), index == 0 ? QMetaMethod::Signal : QMetaMethod::Slot);
    QCOMPARE(method.access(), index == 0 ? QMetaMethod::Public : QMetaMethod::Private);
}

void MainWindowTest::membersAtStart()
{
    MainWindow window;
    QVERIFY(MainWindowProbe::fileName(window).isNull());
    QVERIFY(!MainWindowProbe::sketchItem(window));
    QVERIFY(!MainWindowProbe::wireOverlayItem(window));
    QVERIFY(!MainWindowProbe::backgroundItem(window));
    QVERIFY(!MainWindowProbe::extraItem(window));
    QCOMPARE(MainWindowProbe::numbers(window), QList<int>({0, 0, 55, 0, 0}));
    QCOMPARE(MainWindowProbe::undoStack(window).count(), 0);
    QVERIFY(MainWindowProbe::sourceImage(window).isNull());
    QVERIFY(MainWindowProbe::sketchImage(window).isNull());
    QCOMPARE(MainWindowProbe::codeCount(window), 0);
    QVERIFY(MainWindowProbe::scene(window).items().isEmpty());
    QCOMPARE(MainWindowProbe::settings(window).organizationName(),
             QStringLiteral("Dellumbra software"));
    QCOMPARE(MainWindowProbe::settings(window).applicationName(), QStringLiteral("Crayvell 1.0"));
}

void MainWindowTest::windowAtStart()
{
    MainWindow window;
    QCOMPARE(window.objectName(), QStringLiteral("MainWindow"));
    QCOMPARE(window.size(), QSize(600, 400));
    QCOMPARE(window.windowTitle(), QStringLiteral("Crayvell"));
    QVERIFY(window.acceptDrops());
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    QVERIFY(ui.progressBar->isHidden());
    QCOMPARE(ui.progressBar->value(), 24);
    QVERIFY(ui.statusBar->currentMessage().isEmpty());
    QVERIFY(!ui.graphicsView->scene());
    QVERIFY(ui.graphicsView->hasMouseTracking());
    QCOMPARE(ui.graphicsView->toolMode, int(TarnGraphicsView::ModeNone));
    QCOMPARE(window.centralWidget(), ui.centralWidget);
    QCOMPARE(window.menuBar(), ui.menuBar);
    QCOMPARE(window.statusBar(), ui.statusBar);
    QCOMPARE(window.toolBarArea(ui.mainToolBar), Qt::TopToolBarArea);
    QCOMPARE(ui.menuHelp->geometry(), QRect(628, 102, 135, 94));
}

void MainWindowTest::widgetTree_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QString>("parent");
    const auto row = [](const char *name, const char *type, const char *parent) {
        QTest::newRow(name) << QString::fromLatin1(name) << QByteArray(type)
                            << QString::fromLatin1(parent);
    };
    row("centralWidget", "QWidget", "MainWindow");
    row("verticalLayout", "QVBoxLayout", "centralWidget");
    row("gridLayout", "QGridLayout", "verticalLayout");
    row("horizontalSlider", "QSlider", "centralWidget");
    row("horizontalSlider_2", "QSlider", "centralWidget");
    row("label", "QLabel", "centralWidget");
    row("label_2", "QLabel", "centralWidget");
    row("horizontalLayout", "QHBoxLayout", "verticalLayout");
    row("graphicsView", "TarnGraphicsView", "centralWidget");
    row("progressBar", "QProgressBar", "centralWidget");
    row("menuBar", "QMenuBar", "MainWindow");
    row("menuFile", "QMenu", "menuBar");
    row("menuHelp", "QMenu", "menuBar");
    row("mainToolBar", "QToolBar", "MainWindow");
    row("statusBar", "QStatusBar", "MainWindow");
}

void MainWindowTest::widgetTree()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, type);
    QFETCH(QString, parent);
    MainWindow window;
    const auto *object = window.findChild<QObject *>(name);
    QVERIFY(object);
    QCOMPARE(QByteArray(object->metaObject()->className()), type);
    QCOMPARE(object->parent()->objectName(), parent);
}

void MainWindowTest::actions_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<bool>("checkable");
    const auto row = [](const char *name, const char *text, const char *toolTip = nullptr,
                        const char *shortcut = "", bool checkable = false) {
        QTest::newRow(name) << QString::fromLatin1(name) << QString::fromLatin1(text)
                            << QString::fromLatin1(toolTip ? toolTip : text)
                            << QString::fromLatin1(shortcut) << checkable;
    };
    row("actionOpen", "Open", nullptr, "Ctrl+O");
    row("actionSave", "Save", "Save As", "Ctrl+S");
    row("actionQuit", "Quit", nullptr, "Ctrl+Q");
    row("actionIndex", "Index");
    row("actionAbout", "About");
    row("actionZoomPlus", "ZoomPlus", "Zoom In");
    row("actionZoomMinus", "ZoomMinus", "Zoom Out");
    row("actionSelect", "Select", "Autodetect Wires");
    row("actionLocalSelect", "LocalSelect", nullptr, "", true);
    row("actionProcess", "Process", "Create sketch");
    row("actionSmartSelect", "SmartSelect", "Smart Select", "", true);
}

void MainWindowTest::actions()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QFETCH(QString, toolTip);
    QFETCH(QString, shortcut);
    QFETCH(bool, checkable);
    MainWindow window;
    const auto *action = window.findChild<QAction *>(name);
    QVERIFY(action);
    QCOMPARE(action->parent(), &window);
    QCOMPARE(action->text(), text);
    QCOMPARE(action->toolTip(), toolTip);
    QCOMPARE(action->shortcut(), QKeySequence(shortcut));
    QCOMPARE(action->isCheckable(), checkable);
}

void MainWindowTest::homeToolTip()
{
    MainWindow window;
    const QAction *action = MainWindowProbe::ui(window).actionHome;
    QCOMPARE(action->text(), QStringLiteral("Home"));
    QCOMPARE(action->toolTip(),
             QStringLiteral("Visit our homepage!\nVisit our homepage now to get \nthe lates "
                            "versions of our digital photo \nsoftware products(a new web browser "
                            "\nwill be opened)"));
}

void MainWindowTest::menusAndToolBar()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    QCOMPARE(ui.menuBar->actions(),
             QList<QAction *>({ui.menuFile->menuAction(), ui.menuHelp->menuAction()}));
    QCOMPARE(ui.menuFile->title(), QStringLiteral("File"));
    QCOMPARE(ui.menuHelp->title(), QStringLiteral("Help"));
    QCOMPARE(ui.menuFile->actions().size(), 4);
    QVERIFY(ui.menuFile->actions().constFirst()->isSeparator());
    QCOMPARE(ui.menuFile->actions().mid(1),
             QList<QAction *>({ui.actionOpen, ui.actionSave, ui.actionQuit}));
    QCOMPARE(ui.menuHelp->actions(), QList<QAction *>({ui.actionIndex, ui.actionAbout}));
    QCOMPARE(ui.mainToolBar->actions(),
             QList<QAction *>({ui.actionOpen, ui.actionSave, ui.actionProcess, ui.actionZoomPlus,
                               ui.actionZoomMinus, ui.actionHome}));
}

void MainWindowTest::layouts()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    QCOMPARE(ui.verticalLayout->spacing(), 6);
    QCOMPARE(ui.verticalLayout->contentsMargins(), QMargins(11, 11, 11, 11));
    QCOMPARE(ui.verticalLayout->itemAt(0)->layout(), ui.gridLayout);
    QCOMPARE(ui.verticalLayout->itemAt(1)->layout(), ui.horizontalLayout);
    QCOMPARE(ui.verticalLayout->itemAt(2)->widget(), ui.progressBar);
    QCOMPARE(ui.gridLayout->horizontalSpacing(), 6);
    QCOMPARE(ui.gridLayout->verticalSpacing(), 6);
    QCOMPARE(ui.gridLayout->contentsMargins().bottom(), 20);
    QCOMPARE(ui.gridLayout->itemAtPosition(0, 0)->widget(), ui.label);
    QCOMPARE(ui.gridLayout->itemAtPosition(0, 1)->widget(), ui.horizontalSlider);
    QCOMPARE(ui.gridLayout->itemAtPosition(1, 0)->widget(), ui.label_2);
    QCOMPARE(ui.gridLayout->itemAtPosition(1, 1)->widget(), ui.horizontalSlider_2);
    QCOMPARE(ui.horizontalLayout->spacing(), 6);
    QCOMPARE(ui.horizontalLayout->count(), 1);
    QCOMPARE(ui.horizontalLayout->itemAt(0)->widget(), ui.graphicsView);
}

void MainWindowTest::sliders()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    for (const QSlider *slider : {ui.horizontalSlider, ui.horizontalSlider_2}) {
        QCOMPARE(slider->minimum(), 0);
        QCOMPARE(slider->maximum(), 255);
        QCOMPARE(slider->orientation(), Qt::Horizontal);
        QVERIFY(slider->hasTracking());
    }
    QCOMPARE(ui.horizontalSlider->value(), 0);
    QCOMPARE(ui.horizontalSlider_2->value(), 255);
    QCOMPARE(ui.label->text(), QStringLiteral("black level"));
    QCOMPARE(ui.label_2->text(), QStringLiteral("white level"));
}

void MainWindowTest::accessibility()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    QCOMPARE(ui.label->buddy(), ui.horizontalSlider);
    QCOMPARE(ui.label_2->buddy(), ui.horizontalSlider_2);
    QCOMPARE(ui.horizontalSlider->accessibleName(), QStringLiteral("black level"));
    QCOMPARE(ui.horizontalSlider_2->accessibleName(), QStringLiteral("white level"));
    QVERIFY(!ui.graphicsView->accessibleName().isEmpty());
    for (QAction *action : ui.mainToolBar->actions()) {
        const QWidget *button = ui.mainToolBar->widgetForAction(action);
        QVERIFY2(button->focusPolicy() & Qt::TabFocus, qPrintable(action->text()));
    }
}

void MainWindowTest::textsSetTwiceStayTheSame()
{
    MainWindow window;
    Ui_MainWindow &ui = MainWindowProbe::ui(window);
    const auto texts = [&] {
        QStringList all {window.windowTitle(), ui.label->text(), ui.label_2->text(),
                         ui.menuFile->title(), ui.menuHelp->title()};
        for (const QAction *action : window.findChildren<QAction *>())
            all << action->text() << action->toolTip() << action->shortcut().toString();
        return all;
    };
    const QStringList before = texts();
    ui.retranslateUi(&window);
    QCOMPARE(texts(), before);
}

void MainWindowTest::looseActionsDoNothing()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    for (QAction *action : {ui.actionSelect, ui.actionLocalSelect, ui.actionSmartSelect}) {
        QVERIFY(action->associatedObjects().isEmpty());
        action->trigger();
        QCOMPARE(action->isChecked(), action->isCheckable());
    }
    QVERIFY(MainWindowProbe::scene(window).items().isEmpty());
    QVERIFY(ui.statusBar->currentMessage().isEmpty());
}

void MainWindowTest::zoom()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    double expected = 1.0;
    for (int i = 0; i < 10; ++i) {
        ui.actionZoomPlus->trigger();
        expected *= 1.2;
    }
    QCOMPARE(ui.graphicsView->transform().m11(), expected);
    QCOMPARE(ui.graphicsView->transform().m22(), expected);
}

void MainWindowTest::zoomInAndOutReturns()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    ui.actionZoomMinus->trigger();
    QCOMPARE(ui.graphicsView->transform().m11(), 0.8333333333333334);
    ui.actionZoomPlus->trigger();
    QCOMPARE(ui.graphicsView->transform().m11(), 1.0);
}

void MainWindowTest::quitEmitsOnce()
{
    MainWindow window;
    const QSignalSpy quit(&window, &MainWindow::mwquit);
    MainWindowProbe::ui(window).actionQuit->trigger();
    QCOMPARE(quit.count(), 1);
}

void MainWindowTest::dropsReachTheWindow()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    ui.graphicsView->setScene(&MainWindowProbe::scene(window));
    QVERIFY(!ui.graphicsView->acceptDrops());
    QVERIFY(!ui.graphicsView->viewport()->acceptDrops());
}

// The toolkit would offer it in a menu of its own.
void MainWindowTest::toolBarCannotBeHidden()
{
    MainWindow window;
    window.show();
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    for (QWidget *place : {static_cast<QWidget *>(ui.mainToolBar),
                           static_cast<QWidget *>(ui.menuBar), static_cast<QWidget *>(&window)}) {
        const QPoint centre = place->rect().center();
        QContextMenuEvent pressed(QContextMenuEvent::Mouse, centre, place->mapToGlobal(centre));
        QCoreApplication::sendEvent(place, &pressed);
        QVERIFY2(!QApplication::activePopupWidget(), place->metaObject()->className());
    }
    QVERIFY(ui.mainToolBar->isVisible());
}

void MainWindowTest::messagesStay()
{
    MainWindow window;
    QStatusBar *bar = MainWindowProbe::ui(window).statusBar;
    const auto goesAway = [bar] { return !bar->findChildren<QTimer *>().isEmpty(); };
    bar->showMessage(QStringLiteral("shortly"), 100'000);
    QVERIFY(goesAway()); // so the toolkit does it
    MainWindowProbe::ui(window).actionSave->trigger();
    QCOMPARE(bar->currentMessage(), QStringLiteral("Nothing to save."));
    QVERIFY(!goesAway());
}

CRAYVELL_TEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
