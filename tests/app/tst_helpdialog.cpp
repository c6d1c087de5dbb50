#include "app/helpdialog.h"

#include <QAction>
#include <QDesktopServices>
#include <QLayout>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QResource>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTimer>
#include <QTranslator>

#include "app/mainwindow.h"
#include "tests/support/dialogs.h"
#include "tests/support/testmain.h"

namespace {

const QString address = QStringLiteral("https://www.dellumbra.example/");

// Stands in for the web browser while it lives.
class Browser : public QObject
{
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open"); }
    ~Browser() override { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }

    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened << url; }
};

// A language that has its own words for the dialog's three texts.
class Language : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(context, "HelpDialog") != 0)
            return {};
        if (qstrcmp(source, "Help") == 0)
            return QStringLiteral("Hilfe");
        if (qstrcmp(source, "OK") == 0)
            return QStringLiteral("Gut");
        return QStringLiteral("Seite <a href=\"%1\">%1</a> (%1)");
    }
    bool isEmpty() const override { return false; }
};

// A language that has a whole text of its own for the about box.
class AboutLanguage : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        const bool isAbout =
            qstrcmp(context, "MainWindow") == 0 && QByteArray(source).contains(address.toLatin1());
        return isAbout ? QStringLiteral("Bleistift, 100%1 nach Art des Hauses") : QString();
    }
    bool isEmpty() const override { return false; }
};

void trigger(const MainWindow &window, const char *action)
{
    window.findChild<QAction *>(QLatin1String(action))->trigger();
}

QTextBrowser *textOf(const HelpDialog &dialog)
{
    return dialog.findChild<QTextBrowser *>(QStringLiteral("textBrowser"));
}

QTextCharFormat formatOf(const QTextBrowser &text, const QString &passage)
{
    return text.document()->find(passage).charFormat();
}

} // namespace

class HelpDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void layout();
    void paragraphs_data();
    void paragraphs();
    void sizes_data();
    void sizes();
    void productNameIsBold();
    void processImageIsInline();
    void linkLooksLikeOne();
    void linkIsReadableOnDarkGround();
    void linkOpensOutside();
    void everyTriggerShowsAFurtherDialog();
    void okClosesWithoutDeleting();
    void languageChange();
    void aboutBox();
    void aboutBoxIsTranslatedAsAWhole();
    void homeAction();
};

void HelpDialogTest::layout()
{
    const HelpDialog dialog;
    QCOMPARE(dialog.objectName(), QStringLiteral("HelpDialog"));
    QCOMPARE(dialog.size(), QSize(400, 300));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Help"));
    QVERIFY(!dialog.isModal());
    const auto *button = dialog.findChild<QPushButton *>(QStringLiteral("buttonOK"));
    QVERIFY(button);
    QCOMPARE(button->text(), QStringLiteral("OK"));
    const auto *row = dialog.findChild<QLayout *>(QStringLiteral("horizontalLayout_2"));
    QVERIFY(row);
    QCOMPARE(row->count(), 2);
    QVERIFY(row->itemAt(0)->spacerItem());
    QCOMPARE(row->itemAt(0)->sizeHint(), QSize(40, 20));
    QCOMPARE(row->itemAt(1)->widget(), button);
    QCOMPARE(row->contentsMargins().bottom(), 6);
    QVERIFY(textOf(dialog)->openExternalLinks());
}

void HelpDialogTest::paragraphs_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("text");
    QTest::newRow("salutation") << 0 << QStringLiteral("Dear customer!");
    QTest::newRow("thanks") << 1
                            << QStringLiteral(
                                   "Thank you for you interest in Crayvell.  We hope it will serve "
                                   "you well and will help you make great sketches. The GUI is "
                                   "actually so simple you probably won't need any help.");
    QTest::newRow("files") << 2
                           << QStringLiteral(
                                  "Use Open and Save commands to open photos and save sketches.");
    QTest::newRow("process, the image as one character")
        << 3
        << QStringLiteral("The Process command \uFFFCconverts a photo to sketch and the slider "
                          "under toolbar is used to change the sketch darkness. ");
    QTest::newRow("gap") << 4 << QString();
    QTest::newRow("heading") << 5 << QStringLiteral("Other sources of information");
    QTest::newRow("homepage") << 6
                              << QStringLiteral(
                                     "You are always welcome to the TarnSoftware homepage "
                                     "https://www.dellumbra.example/ where you can find more "
                                     "information including video tutorials and articles on this "
                                     "and other our products. ");
    QTest::newRow("other tools")
        << 7
        << QStringLiteral("We provide several photo editing tool that simplify the most "
                          "time-consuming retouching tasks and hope you'll find some of them "
                          "useful for you photography post processing process.");
}

void HelpDialogTest::paragraphs()
{
    QFETCH(int, index);
    QFETCH(QString, text);
    const HelpDialog dialog;
    const QTextDocument *document = textOf(dialog)->document();
    QCOMPARE(document->blockCount(), 8);
    const QTextBlock block = document->findBlockByNumber(index);
    QCOMPARE(block.text(), text);
    const QTextBlockFormat format = block.blockFormat();
    QCOMPARE(format.topMargin() + format.bottomMargin() + format.leftMargin()
                 + format.rightMargin(),
             0.0);
}

void HelpDialogTest::sizes_data()
{
    QTest::addColumn<QString>("passage");
    QTest::addColumn<qreal>("points");
    QTest::newRow("body") << QStringLiteral("Dear customer!") << 8.0;
    QTest::newRow("product name") << QStringLiteral("Crayvell") << 8.0;
    QTest::newRow("heading") << QStringLiteral("Other sources") << 10.0;
    QTest::newRow("link") << address << 8.0;
    QTest::newRow("the image's own character keeps the default")
        << QStringLiteral("\uFFFC") << 8.25;
}

void HelpDialogTest::sizes()
{
    QFETCH(QString, passage);
    QFETCH(qreal, points);
    const HelpDialog dialog;
    const QTextCharFormat format = formatOf(*textOf(dialog), passage);
    QCOMPARE(format.fontPointSize(), points);
    QCOMPARE(format.fontFamilies().toStringList(), QStringList(QStringLiteral("MS Shell Dlg 2")));
}

void HelpDialogTest::productNameIsBold()
{
    const HelpDialog dialog;
    const QTextBrowser &text = *textOf(dialog);
    QCOMPARE(formatOf(text, QStringLiteral("Crayvell")).fontWeight(), 600);
    QCOMPARE(formatOf(text, QStringLiteral("interest in")).fontWeight(), 400);
    QCOMPARE(formatOf(text, QStringLiteral("We hope it")).fontWeight(), 400);
}

void HelpDialogTest::processImageIsInline()
{
    const HelpDialog dialog;
    const QTextCharFormat format = formatOf(*textOf(dialog), QStringLiteral("\uFFFC"));
    QVERIFY(format.isImageFormat());
    QCOMPARE(format.toImageFormat().name(), QStringLiteral(":/icons/FormRunHS.png"));
    // The icons come with the library, without a call to set them up.
    QVERIFY(QResource(format.toImageFormat().name()).isValid());
}

void HelpDialogTest::linkLooksLikeOne()
{
    const HelpDialog dialog;
    const QTextCharFormat format = formatOf(*textOf(dialog), address);
    QVERIFY(format.isAnchor());
    QCOMPARE(format.anchorHref(), address);
    QVERIFY(format.fontUnderline());
    QCOMPARE(format.foreground().color(), QColor(0, 0, 255));
}

// As much lighter than the ground as small print needs.
void HelpDialogTest::linkIsReadableOnDarkGround()
{
    HelpDialog dialog;
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(0x20, 0x23, 0x26));
    dark.setColor(QPalette::Text, Qt::white);
    const QPalette light = dialog.palette();
    dialog.setPalette(dark);
    QVERIFY(formatOf(*textOf(dialog), address).foreground().color().lightness() > 160);
    dialog.setPalette(light);
    QCOMPARE(formatOf(*textOf(dialog), address).foreground().color(), QColor(0, 0, 255));
}

void HelpDialogTest::linkOpensOutside()
{
    Browser browser;
    HelpDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QTextBrowser &text = *textOf(dialog);
    QTextCursor link = text.document()->find(QStringLiteral("dellumbra"));
    QVERIFY(!link.isNull());
    text.setTextCursor(link);
    text.ensureCursorVisible();
    const QString before = text.toPlainText();

    QTest::mouseClick(text.viewport(), Qt::LeftButton, Qt::NoModifier,
                      text.cursorRect(link).center() - QPoint(2, 0));
    QCOMPARE(browser.opened, QList<QUrl> {QUrl(address)});
    QVERIFY(text.source().isEmpty());
    QCOMPARE(text.toPlainText(), before);
}

void HelpDialogTest::everyTriggerShowsAFurtherDialog()
{
    MainWindow window;
    trigger(window, "actionIndex");
    trigger(window, "actionIndex");
    const auto dialogs = window.findChildren<HelpDialog *>();
    QCOMPARE(dialogs.size(), 2);
    for (const HelpDialog *dialog : dialogs) {
        QVERIFY(dialog->isVisible());
        QVERIFY(!dialog->isModal());
        QCOMPARE(dialog->parent(), &window);
    }
}

void HelpDialogTest::okClosesWithoutDeleting()
{
    MainWindow window;
    trigger(window, "actionIndex");
    const QPointer<HelpDialog> dialog = window.findChild<HelpDialog *>();
    QVERIFY(dialog);
    QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("buttonOK")), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(dialog);
    QVERIFY(!dialog->isVisible());
    trigger(window, "actionIndex");
    QCOMPARE(window.findChildren<HelpDialog *>().size(), 2);
    QVERIFY(!dialog->isVisible());
}

void HelpDialogTest::languageChange()
{
    const HelpDialog dialog;
    const auto *button = dialog.findChild<QPushButton *>(QStringLiteral("buttonOK"));
    const QString english = textOf(dialog)->toPlainText();
    Language language;
    QVERIFY(QCoreApplication::installTranslator(&language));
    QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("Hilfe"));
    QCOMPARE(button->text(), QStringLiteral("Gut"));
    QCOMPARE(textOf(dialog)->toPlainText(), QStringLiteral("Seite %1 (%1)").arg(address));
    QCOMPARE(formatOf(*textOf(dialog), address).anchorHref(), address);

    QVERIFY(QCoreApplication::removeTranslator(&language));
    QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("Help"));
    QCOMPARE(button->text(), QStringLiteral("OK"));
    QCOMPARE(textOf(dialog)->toPlainText(), english);
}

void HelpDialogTest::aboutBox()
{
    MainWindow window;
    QString title;
    QStringList lines;
    const QWidget *parent = nullptr;
    QTimer::singleShot(0, &window, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        title = box->windowTitle();
        lines = box->text().split(QLatin1Char('\n'));
        parent = box->parentWidget();
        box->accept();
    });
    trigger(window, "actionAbout");
    QCOMPARE(title, QStringLiteral("Crayvell 2.0"));
    QCOMPARE(lines.size(), 2);
    QVERIFY(!lines.at(0).isEmpty());
    QCOMPARE(lines.at(1), address);
    QCOMPARE(parent, &window);
}

// The address as well: a translation may name another page, or none.
void HelpDialogTest::aboutBoxIsTranslatedAsAWhole()
{
    AboutLanguage language;
    QVERIFY(QCoreApplication::installTranslator(&language));
    MainWindow window;
    QString text;
    dialogs::whenMessageBoxOpens([&](QMessageBox &box) {
        text = box.text();
        box.accept();
    });
    trigger(window, "actionAbout");
    QVERIFY(QCoreApplication::removeTranslator(&language));
    QCOMPARE(text, QStringLiteral("Bleistift, 100%1 nach Art des Hauses"));
}

void HelpDialogTest::homeAction()
{
    Browser browser;
    const MainWindow window;
    trigger(window, "actionHome");
    QCOMPARE(browser.opened, QList<QUrl> {QUrl(address + QStringLiteral("?from=qzx"))});
}

CRAYVELL_TEST_MAIN(HelpDialogTest)
#include "tst_helpdialog.moc"
