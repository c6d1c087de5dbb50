#include "app/accessibility.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QMenu>
#include <QPushButton>
#include <QStyleFactory>
#include <QTextBrowser>
#include <QToolButton>

#include "app/helpdialog.h"
#include "tests/app/mainwindowprobe.h"
#include "tests/support/dialogs.h"
#include "tests/support/testmain.h"

namespace {

QAccessibleInterface &interfaceOf(QObject *object)
{
    return *QAccessible::queryAccessibleInterface(object);
}

void press(QAccessibleInterface &pressed)
{
    pressed.actionInterface()->doAction(QAccessibleActionInterface::pressAction());
}

// The entry of a menu, found as a reader finds it.
QAccessibleInterface &entryOf(QMenu *menu, QAction *action)
{
    return *interfaceOf(menu).child(int(menu->actions().indexOf(action)));
}

QString stateInWords(const QAccessible::State &state)
{
    return QStringLiteral(
               "disabled %1, focusable %2, hot %3, pressed %4, invisible %5, offscreen %6")
        .arg(state.disabled)
        .arg(state.focusable)
        .arg(state.hotTracked)
        .arg(state.pressed)
        .arg(state.invisible)
        .arg(state.offscreen);
}

} // namespace

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void messagesAreAnnounced_data();
    void messagesAreAnnounced();
    void announcementStandsBelowTheStatusBar();
    void pictureIsDescribed();
    void nameWithAPlaceholder();
    void progressHasAName();
    void helpCanBeRead();

    void buttonsAreAsTheToolkits_data();
    void buttonsAreAsTheToolkits();
    void entriesAreAsTheToolkits_data();
    void entriesAreAsTheToolkits();
    void pressingReturnsBeforeTheDialog_data();
    void pressingReturnsBeforeTheDialog();
    void triggeringIsAtOnce();

    void f10OpensTheFirstMenu_data();
    void f10OpensTheFirstMenu();

private:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

void AccessibilityTest::initTestCase()
{
    QImage photo(32, 20, QImage::Format_RGB32);
    photo.fill(Qt::gray);
    QVERIFY(photo.save(path(QStringLiteral("beach.png"))));
    QVERIFY(photo.save(path(QStringLiteral("a%2b.png"))));
}

void AccessibilityTest::messagesAreAnnounced_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<QString>("file"); // chosen in the dialog
    QTest::addColumn<QString>("message");
    QTest::newRow("save before any open")
        << QByteArray("actionSave") << QString() << QStringLiteral("Nothing to save.");
    QTest::newRow("open, cancelled")
        << QByteArray("actionOpen") << QString() << QStringLiteral("No file selected");
    QTest::newRow("open, no picture") << QByteArray("actionOpen") << QStringLiteral("text.txt")
                                      << QStringLiteral("Failed to read image");
}

void AccessibilityTest::messagesAreAnnounced()
{
    QFETCH(QByteArray, action);
    QFETCH(QString, file);
    QFETCH(QString, message);
    QFile text(path(QStringLiteral("text.txt")));
    QVERIFY(text.open(QIODevice::WriteOnly) && text.write("no picture") > 0);
    text.close();
    MainWindow window;
    if (!file.isEmpty())
        dialogs::chooseNext(path(file));
    else if (action == "actionOpen")
        dialogs::cancelNext();
    window.findChild<QAction *>(QString::fromLatin1(action))->trigger();
    QStatusBar *bar = MainWindowProbe::ui(window).statusBar;
    const QAccessibleInterface &said = interfaceOf(bar->findChild<accessibility::Announcement *>());
    QCOMPARE(said.role(), QAccessible::Notification);
    QCOMPARE(said.text(QAccessible::Name), message);
    QCOMPARE(bar->currentMessage(), message);
}

void AccessibilityTest::announcementStandsBelowTheStatusBar()
{
    MainWindow window;
    QStatusBar *bar = MainWindowProbe::ui(window).statusBar;
    QAccessibleInterface &message = interfaceOf(bar->findChild<accessibility::Announcement *>());
    QVERIFY(message.isValid());
    QCOMPARE(message.parent(), &interfaceOf(bar));
    QVERIFY(!message.state().invisible);
    // The bar itself is what it was.
    QCOMPARE(interfaceOf(bar).role(), QAccessible::StatusBar);
}

void AccessibilityTest::pictureIsDescribed()
{
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    const QAccessibleInterface &canvas = interfaceOf(ui.graphicsView);
    const auto described = [&canvas] { return canvas.text(QAccessible::Description); };
    QCOMPARE(canvas.role(), QAccessible::Graphic);
    QCOMPARE(canvas.text(QAccessible::Name), QStringLiteral("Picture"));
    QCOMPARE(described(), QStringLiteral("No photo is open"));

    ui.actionProcess->trigger(); // draws nothing
    QCOMPARE(described(), QStringLiteral("No photo is open"));
    MainWindowProbe::open(window, path(QStringLiteral("missing.png")));
    QCOMPARE(described(), QStringLiteral("No photo is open"));

    const QString photo = QStringLiteral("Photo beach.png, 32 by 20 pixels");
    const QString sketch = QStringLiteral("Sketch of beach.png, 32 by 20 pixels");
    MainWindowProbe::open(window, path(QStringLiteral("beach.png")));
    QCOMPARE(described(), photo);
    ui.actionProcess->trigger();
    QCOMPARE(described(), sketch);
    ui.horizontalSlider->setValue(9);
    QCOMPARE(described(), sketch);
    MainWindowProbe::open(window, path(QStringLiteral("beach.png")));
    QCOMPARE(described(), photo);
}

void AccessibilityTest::nameWithAPlaceholder()
{
    MainWindow window;
    MainWindowProbe::open(window, path(QStringLiteral("a%2b.png")));
    QCOMPARE(MainWindowProbe::ui(window).graphicsView->accessibleDescription(),
             QStringLiteral("Photo a%2b.png, 32 by 20 pixels"));
}

void AccessibilityTest::progressHasAName()
{
    MainWindow window;
    const QAccessibleInterface &bar = interfaceOf(MainWindowProbe::ui(window).progressBar);
    QCOMPARE(bar.role(), QAccessible::ProgressBar);
    QCOMPARE(bar.text(QAccessible::Name), QStringLiteral("Progress"));
}

void AccessibilityTest::helpCanBeRead()
{
    HelpDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto *browser = dialog.findChild<QTextBrowser *>();
    QCOMPARE(dialog.focusWidget(), browser);
    QAccessibleInterface &text = interfaceOf(browser);
    // A reader speaks the name, and goes through the text when it is asked to.
    for (const QString &words :
         {text.text(QAccessible::Name),
          text.textInterface()->text(0, text.textInterface()->characterCount())}) {
        QVERIFY(words.startsWith(QStringLiteral("Dear customer!")));
        QVERIFY(words.contains(QStringLiteral("https://www.dellumbra.example/")));
        QVERIFY(words.endsWith(QStringLiteral("processing process.")));
    }
}

void AccessibilityTest::buttonsAreAsTheToolkits_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"actionOpen", "actionSave", "actionProcess", "actionZoomPlus",
                             "actionZoomMinus", "actionHome"})
        QTest::newRow(name) << QByteArray(name);
}

// A button elsewhere has the toolkit's own interface.
void AccessibilityTest::buttonsAreAsTheToolkits()
{
    QFETCH(QByteArray, name);
    MainWindow window;
    window.show();
    auto *action = window.findChild<QAction *>(QString::fromLatin1(name));
    QToolBar elsewhere;
    elsewhere.addAction(action);
    elsewhere.show();
    QWidget *plain = elsewhere.widgetForAction(action);
    plain->setFocusPolicy(Qt::TabFocus);
    const QAccessibleInterface &expected = interfaceOf(plain);
    const QAccessibleInterface &actual =
        interfaceOf(MainWindowProbe::ui(window).mainToolBar->widgetForAction(action));
    QCOMPARE(actual.role(), expected.role());
    for (int kind = QAccessible::Name; kind <= QAccessible::Accelerator; ++kind)
        QCOMPARE(actual.text(QAccessible::Text(kind)), expected.text(QAccessible::Text(kind)));
    QCOMPARE(stateInWords(actual.state()), stateInWords(expected.state()));
    QCOMPARE(actual.childCount(), 0);
    auto &mutableActual = const_cast<QAccessibleInterface &>(actual);
    auto &mutableExpected = const_cast<QAccessibleInterface &>(expected);
    QCOMPARE(mutableActual.actionInterface()->actionNames(),
             mutableExpected.actionInterface()->actionNames());
}

void AccessibilityTest::entriesAreAsTheToolkits_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name :
         {"actionOpen", "actionSave", "actionQuit", "actionIndex", "actionAbout"})
        QTest::newRow(name) << QByteArray(name);
}

// An action that the window does not own has the toolkit's own interface.
void AccessibilityTest::entriesAreAsTheToolkits()
{
    QFETCH(QByteArray, name);
    MainWindow window;
    auto *action = window.findChild<QAction *>(QString::fromLatin1(name));
    QMenu elsewhere;
    QAction *plain = elsewhere.addAction(action->text());
    plain->setShortcut(action->shortcut());
    QMenu *menu = name == "actionIndex" || name == "actionAbout"
        ? MainWindowProbe::ui(window).menuHelp
        : MainWindowProbe::ui(window).menuFile;
    QAccessibleInterface &expected = *interfaceOf(&elsewhere).child(0);
    QAccessibleInterface &actual = entryOf(menu, action);
    QCOMPARE(actual.object(), action);
    QCOMPARE(actual.role(), expected.role());
    QCOMPARE(actual.text(QAccessible::Name), expected.text(QAccessible::Name));
    QCOMPARE(actual.text(QAccessible::Accelerator), expected.text(QAccessible::Accelerator));
    QCOMPARE(stateInWords(actual.state()), stateInWords(expected.state()));
    QCOMPARE(actual.actionInterface()->actionNames(), expected.actionInterface()->actionNames());
    QCOMPARE(actual.parent(), &interfaceOf(menu));
    QCOMPARE(interfaceOf(menu).indexOfChild(&actual), int(menu->actions().indexOf(action)));

    menu->popup(QPoint(10, 10));
    menu->setActiveAction(action);
    elsewhere.popup(QPoint(200, 10));
    elsewhere.setActiveAction(plain);
    QCOMPARE(stateInWords(actual.state()), stateInWords(expected.state()));
    QVERIFY(actual.state().focused && expected.state().focused);
    QCOMPARE(actual.rect(), menu->actionGeometry(action).translated(menu->pos()));

    action->setEnabled(false);
    plain->setEnabled(false);
    QCOMPARE(stateInWords(actual.state()), stateInWords(expected.state()));
    QVERIFY(actual.state().disabled && expected.state().disabled);
}

void AccessibilityTest::pressingReturnsBeforeTheDialog_data()
{
    QTest::addColumn<QByteArray>("place");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("button that opens") << QByteArray("mainToolBar") << QByteArray("actionOpen");
    QTest::newRow("entry that opens") << QByteArray("menuFile") << QByteArray("actionOpen");
    QTest::newRow("entry that tells about the program")
        << QByteArray("menuHelp") << QByteArray("actionAbout");
}

void AccessibilityTest::pressingReturnsBeforeTheDialog()
{
    QFETCH(QByteArray, place);
    QFETCH(QByteArray, name);
    MainWindow window;
    window.show();
    auto *action = window.findChild<QAction *>(QString::fromLatin1(name));
    auto *menu = window.findChild<QMenu *>(QString::fromLatin1(place));
    QAccessibleInterface &pressed = menu
        ? entryOf(menu, action)
        : interfaceOf(MainWindowProbe::ui(window).mainToolBar->widgetForAction(action));
    bool hasReturned = false;
    bool cameAfterwards = false;
    bool wasOpen = false;
    const auto answer = [&](QDialog &dialog) {
        wasOpen = true;
        cameAfterwards = hasReturned;
        dialog.reject();
    };
    if (name == "actionAbout")
        dialogs::whenMessageBoxOpens(answer);
    else
        dialogs::whenFileDialogOpens(answer);
    press(pressed);
    hasReturned = true;
    QTRY_VERIFY(wasOpen);
    QVERIFY(cameAfterwards);
}

// Mouse, keys and hosts have the dialog within the call.
void AccessibilityTest::triggeringIsAtOnce()
{
    MainWindow window;
    bool wasOpen = false;
    dialogs::whenFileDialogOpens([&](QFileDialog &dialog) {
        wasOpen = true;
        dialog.reject();
    });
    MainWindowProbe::ui(window).actionOpen->trigger();
    QVERIFY(wasOpen);
    QCOMPARE(MainWindowProbe::ui(window).statusBar->currentMessage(),
             QStringLiteral("No file selected"));
}

void AccessibilityTest::f10OpensTheFirstMenu_data()
{
    QTest::addColumn<QString>("style");
    for (const QString &style : QStyleFactory::keys())
        QTest::newRow(qPrintable(style)) << style;
}

void AccessibilityTest::f10OpensTheFirstMenu()
{
    QFETCH(QString, style);
    QApplication::setStyle(style);
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTest::keyClick(&window, Qt::Key_F10);
    QTRY_VERIFY(ui.menuFile->isVisible());
    QCOMPARE(ui.menuFile->activeAction(), ui.actionOpen);
    QTest::keyClick(ui.menuFile, Qt::Key_Right);
    QTRY_VERIFY(ui.menuHelp->isVisible());
    QVERIFY(!ui.menuFile->isVisible());
    QTest::keyClick(ui.menuHelp, Qt::Key_Escape);
    QTRY_VERIFY(!ui.menuHelp->isVisible());
}

CRAYVELL_TEST_MAIN(AccessibilityTest)
#include "tst_accessibility.moc"
