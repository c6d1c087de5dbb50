// No text of the window is cut off in any language, in a window of the size at which it
// opens.

#include "app/mainwindow.h"

#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBrowser>
#include <QToolButton>

#include "app/helpdialog.h"
#include "tests/app/mainwindowprobe.h"
#include "tests/app/spokenlanguages.h"
#include "tests/support/dialogs.h"
#include "tests/support/testmain.h"

namespace {

const QSize smallWindow(600, 425);

QString inWords(const QWidget &widget)
{
    return widget.objectName()
        + QStringLiteral(" has %1x%2, needs %3x%4")
              .arg(widget.width())
              .arg(widget.height())
              .arg(widget.sizeHint().width())
              .arg(widget.sizeHint().height());
}

// Which of the texts below a widget does not fit; empty when all do.
QString cutOff(const QWidget &top)
{
    QList<const QWidget *> texts;
    for (const auto *label : top.findChildren<QLabel *>())
        texts << label;
    for (const auto *button : top.findChildren<QAbstractButton *>())
        texts << button;
    for (const QWidget *text : texts) {
        if (!text->isVisibleTo(&top))
            continue;
        const QSize needed = text->sizeHint();
        if (text->width() < needed.width() || text->height() < needed.height())
            return inWords(*text);
        const QRect place(text->mapTo(&top, QPoint(0, 0)), text->size());
        if (!top.rect().contains(place))
            return inWords(*text) + QStringLiteral(" and leaves the window");
    }
    return {};
}

QString cutOffInMenu(QMenu &menu)
{
    menu.popup(QPoint(0, 0));
    for (QAction *action : menu.actions()) {
        const int needed =
            QFontMetrics(menu.font()).size(Qt::TextShowMnemonic, action->text()).width();
        if (!action->isSeparator() && menu.actionGeometry(action).width() < needed)
            return action->text();
    }
    menu.close();
    return {};
}

} // namespace

class TextsFitTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { spokenLanguages::stop(); }

    void window_data() { spokenLanguages::rows(); }
    void window();
    void messages_data() { spokenLanguages::rows(); }
    void messages();
    void dialogs_data() { spokenLanguages::rows(); }
    void dialogs();
};

void TextsFitTest::window()
{
    QFETCH(QString, suffix);
    QFETCH(QFontDatabase::WritingSystem, script);
    if (QFontDatabase::families(script).isEmpty())
        QSKIP("No font with this script is installed");
    spokenLanguages::speak(suffix);
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    ui.progressBar->show();
    window.show();
    window.resize(smallWindow);
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.size(), smallWindow); // no text makes it wider
    QCOMPARE(cutOff(window), QString());
    QVERIFY(ui.horizontalSlider->width() > smallWindow.width() / 2);
    // What does not fit on a bar hides behind a button at its end.
    for (const char *button : {"qt_menubar_ext_button", "qt_toolbar_ext_button"}) {
        const auto *more = window.findChild<QWidget *>(QString::fromLatin1(button));
        QVERIFY2(!more || !more->isVisible(), button);
    }
    QCOMPARE(cutOffInMenu(*ui.menuFile), QString());
    QCOMPARE(cutOffInMenu(*ui.menuHelp), QString());
}

void TextsFitTest::messages()
{
    QFETCH(QString, suffix);
    QFETCH(QFontDatabase::WritingSystem, script);
    if (QFontDatabase::families(script).isEmpty())
        QSKIP("No font with this script is installed");
    spokenLanguages::speak(suffix);
    MainWindow window;
    window.resize(smallWindow);
    window.show();
    const QStatusBar &bar = *MainWindowProbe::ui(window).statusBar;
    constexpr int gripAndMargins = 30;
    for (const char *message : {"No file selected", "Failed to read image"}) {
        const QString text = QCoreApplication::translate("MainWindow", message);
        const int width = bar.fontMetrics().horizontalAdvance(text);
        QVERIFY2(width > 0 && width < bar.width() - gripAndMargins, qPrintable(text));
    }
}

void TextsFitTest::dialogs()
{
    QFETCH(QString, suffix);
    QFETCH(QFontDatabase::WritingSystem, script);
    if (QFontDatabase::families(script).isEmpty())
        QSKIP("No font with this script is installed");
    spokenLanguages::speak(suffix);
    HelpDialog help;
    help.show();
    QVERIFY(QTest::qWaitForWindowExposed(&help));
    QCOMPARE(help.size(), QSize(400, 300));
    QCOMPARE(cutOff(help), QString());
    QCOMPARE(help.findChild<QTextBrowser *>()->horizontalScrollBar()->maximum(), 0);

    MainWindow window;
    QString cut;
    QString lines;
    ::dialogs::whenMessageBoxOpens([&](QMessageBox &box) {
        cut = cutOff(box);
        lines = box.text();
        box.accept();
    });
    MainWindowProbe::ui(window).actionAbout->trigger();
    QCOMPARE(cut, QString());
    QCOMPARE(lines.section(QLatin1Char('\n'), 1), QStringLiteral("https://www.dellumbra.example/"));
}

CRAYVELL_TEST_MAIN(TextsFitTest)
#include "tst_textsfit.moc"
