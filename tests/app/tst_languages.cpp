#include "app/languages.h"

#include <QLibraryInfo>
#include <QMenu>
#include <QProcess>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTranslator>

#include <cstdio>

#include "app/helpdialog.h"
#include "tests/app/mainwindowprobe.h"
#include "tests/app/spokenlanguages.h"
#include "tests/support/testmain.h"

namespace {

constexpr char printTranslation[] = "--print-translation";

// The character that Alt and a key choose; none where there is no such key.
QChar keyOf(const QString &text)
{
    const qsizetype at = text.indexOf(QLatin1Char('&'));
    return at < 0 ? QChar() : text.at(at + 1).toLower();
}

} // namespace

class LanguagesTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { spokenLanguages::stop(); }

    void chosen_data();
    void chosen();
    void chosenByTheEnvironment_data();
    void chosenByTheEnvironment();
    void unknownLanguageChangesNothing();

    void window_data() { spokenLanguages::rows(); }
    void window();
    void toolkitsTexts_data() { spokenLanguages::rows(); }
    void toolkitsTexts();
    void keys_data() { spokenLanguages::rows(); }
    void keys();
    void toolTips_data() { spokenLanguages::rows(); }
    void toolTips();
    void fileTypes_data() { spokenLanguages::rows(); }
    void fileTypes();
    void help_data() { spokenLanguages::rows(); }
    void help();
};

void LanguagesTest::chosen_data()
{
    QTest::addColumn<QStringList>("preferred");
    QTest::addColumn<QString>("suffix");
    const auto row = [](const char *name, const char *preferred, const char *suffix) {
        QTest::newRow(name) << QString::fromLatin1(preferred).split(QLatin1Char(' '))
                            << QString::fromLatin1(suffix);
    };
    row("German", "de", "de");
    row("German of Austria", "de-AT de-Latn-AT", "de");
    row("French of Canada", "fr-CA", "fr");
    row("Spanish of Mexico", "es-MX", "es");
    row("Italian of Switzerland", "it-CH", "it");
    row("Portuguese", "pt", "pt_BR");
    row("Portuguese of Brazil", "pt-BR pt-Latn-BR pt", "pt_BR");
    row("Portuguese of Portugal", "pt-PT pt-Latn-PT", "");
    row("Portuguese of Angola", "pt-AO", "");
    row("Polish", "pl-PL pl", "pl");
    row("Russian of Kazakhstan", "ru-KZ", "ru");
    row("Japanese", "ja-JP ja", "ja");
    row("Chinese", "zh", "zh_CN");
    row("Chinese of China", "zh-CN zh-Hans-CN zh", "zh_CN");
    row("Chinese of Singapore", "zh-SG zh-Hans-SG", "zh_CN");
    row("Chinese of Taiwan", "zh-TW zh-Hant-TW", "");
    row("Chinese of Hong Kong", "zh-HK", "");
    row("Simplified Chinese in Hong Kong", "zh-Hans-HK", "zh_CN");
    row("Arabic of Egypt", "ar-EG", "ar");
    row("English", "en-US en", "");
    row("English of Britain", "en-GB", "");
    row("plain", "C", "");
    row("Dutch", "nl-NL nl", "");
    row("Hebrew", "he-IL", "");
    row("Dutch, else German", "nl de", "de");
    row("English, else German", "en-GB de", "");
    row("German, else English", "de en", "de");
    row("a language that the toolkit does not know, else French", "tlh C fr", "fr");
    row("Chinese of Taiwan, else of China", "zh-TW zh-Hant-TW zh-CN", "zh_CN");
    row("nothing", "", "");
}

void LanguagesTest::chosen()
{
    QFETCH(QStringList, preferred);
    QFETCH(QString, suffix);
    QCOMPARE(languages::translationFor(preferred), suffix);
}

void LanguagesTest::chosenByTheEnvironment_data()
{
    QTest::addColumn<QStringList>("variables");
    QTest::addColumn<QString>("suffix");
    const auto row = [](const char *name, const char *variables, const char *suffix) {
        QTest::newRow(name) << QString::fromLatin1(variables).split(QLatin1Char(' '),
                                                                    Qt::SkipEmptyParts)
                            << QString::fromLatin1(suffix);
    };
    row("nothing", "", "");
    row("LANG", "LANG=pl_PL.UTF-8", "pl");
    row("LC_MESSAGES goes before LANG", "LANG=en_US.UTF-8 LC_MESSAGES=fr_FR.UTF-8", "fr");
    row("LC_ALL goes before both", "LANG=de_DE LC_MESSAGES=fr_FR LC_ALL=it_IT.UTF-8", "it");
    row("LC_ALL goes before a plain LANG", "LANG=C LC_ALL=it_IT.UTF-8", "it");
    row("plain in LC_ALL goes before LANG", "LANG=it_IT.UTF-8 LC_ALL=C", "");
    row("plain in LC_MESSAGES goes before LANG", "LANG=it_IT.UTF-8 LC_MESSAGES=C", "");
    row("LANGUAGE goes before all", "LC_ALL=en_US.UTF-8 LANGUAGE=nl:ru:en", "ru");
    row("English first in LANGUAGE", "LANG=de_DE.UTF-8 LANGUAGE=en_GB:de", "");
    row("numbers are no language", "LANG=de_DE.UTF-8 LC_NUMERIC=C", "de");
    row("plain, whatever LANGUAGE says", "LC_ALL=C LANGUAGE=de", "");
    row("plain with UTF-8, whatever LANGUAGE says", "LANG=C.UTF-8 LANGUAGE=de", "");
    row("POSIX", "LANG=POSIX LANGUAGE=ja", "");
    row("with a modifier", "LANG=de_DE@euro", "de");
    row("Taiwan", "LANG=zh_TW.UTF-8", "");
    row("LANGUAGE alone", "LANGUAGE=de", "");
    row("no such locale", "LANG=nonsense", "");
}

void LanguagesTest::chosenByTheEnvironment()
{
    QFETCH(QStringList, variables);
    QFETCH(QString, suffix);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : environment.keys())
        if (name.startsWith(QLatin1String("LC_")) || name.startsWith(QLatin1String("LANG")))
            environment.remove(name);
    for (const QString &variable : variables)
        environment.insert(variable.section(QLatin1Char('='), 0, 0),
                           variable.section(QLatin1Char('='), 1));
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), {QLatin1String(printTranslation)});
    QVERIFY2(program.waitForFinished(), qPrintable(program.errorString()));
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(QString::fromLatin1(program.readAllStandardOutput()), suffix);
}

void LanguagesTest::unknownLanguageChangesNothing()
{
    for (const QString &suffix : {QString(), QStringLiteral("nl"), QStringLiteral("he")}) {
        spokenLanguages::speak(suffix);
        QVERIFY(QCoreApplication::instance()->findChildren<QTranslator *>().isEmpty());
        QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
    }
}

void LanguagesTest::window()
{
    QFETCH(QString, suffix);
    QFETCH(QString, file);
    spokenLanguages::speak(suffix);
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    QCOMPARE(ui.menuFile->title(), file);
    QCOMPARE(window.windowTitle(), QStringLiteral("Crayvell"));
    QCOMPARE(window.layoutDirection(),
             suffix == QLatin1String("ar") ? Qt::RightToLeft : Qt::LeftToRight);
    // The keys are the same everywhere.
    QCOMPARE(ui.actionOpen->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_O));
    QCOMPARE(ui.actionSave->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_S));
    QCOMPARE(ui.actionQuit->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
}

void LanguagesTest::toolkitsTexts()
{
    QFETCH(QString, suffix);
    const QString file = QLibraryInfo::path(QLibraryInfo::TranslationsPath)
        + QStringLiteral("/qtbase_%1.qm").arg(suffix);
    if (!QFile::exists(file))
        QSKIP(qPrintable(file + QStringLiteral(" is not installed")));
    const auto cancel = [] { return QCoreApplication::translate("QPlatformTheme", "Cancel"); };
    QCOMPARE(cancel(), QStringLiteral("Cancel"));
    spokenLanguages::speak(suffix);
    QVERIFY(cancel() != QStringLiteral("Cancel"));
}

void LanguagesTest::keys()
{
    QFETCH(QString, suffix);
    spokenLanguages::speak(suffix);
    MainWindow window;
    const Ui_MainWindow &ui = MainWindowProbe::ui(window);
    const QList<QList<QAction *>> places {
        {ui.menuFile->menuAction(), ui.menuHelp->menuAction()},
        ui.menuFile->actions().mid(1),
        ui.menuHelp->actions(),
    };
    for (const QList<QAction *> &place : places) {
        QSet<QChar> used;
        for (const QAction *action : place) {
            const QChar key = keyOf(action->text());
            QVERIFY2(key.isLetter(), qPrintable(action->text()));
            QVERIFY2(!used.contains(key), qPrintable(action->text()));
            used << key;
        }
    }
}

void LanguagesTest::toolTips()
{
    QFETCH(QString, suffix);
    spokenLanguages::speak(suffix);
    MainWindow window;
    for (const QAction *action : MainWindowProbe::ui(window).mainToolBar->actions()) {
        for (const QString &text : {action->toolTip(), action->iconText()}) {
            QVERIFY2(!text.isEmpty() && !text.contains(QLatin1Char('&')), qPrintable(text));
            QVERIFY2(!text.contains(QRegularExpression(QStringLiteral("\\([A-Z]\\)"))),
                     qPrintable(text));
        }
    }
}

// The patterns decide what can be chosen; only the words around them are translated.
void LanguagesTest::fileTypes()
{
    QFETCH(QString, suffix);
    spokenLanguages::speak(suffix);
    const QRegularExpression words(QStringLiteral("[^;()]+(?=\\()"));
    for (const char *filter :
         {"Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)",
          "JPG Files (*.jpg);;PNG Files (*.png)"}) {
        const QString translated = QCoreApplication::translate("MainWindow", filter);
        QVERIFY(translated != QLatin1String(filter));
        QCOMPARE(QString(translated).remove(words), QString::fromLatin1(filter).remove(words));
    }
}

void LanguagesTest::help()
{
    QFETCH(QString, suffix);
    const HelpDialog english;
    spokenLanguages::speak(suffix);
    const HelpDialog dialog;
    const auto *document = dialog.findChild<QTextBrowser *>()->document();
    QCOMPARE(document->blockCount(), 8);
    const QString text = document->toPlainText();
    QCOMPARE(text.count(QChar::ObjectReplacementCharacter), 1);
    QCOMPARE(text.count(QStringLiteral("https://www.dellumbra.example/")), 1);
    QVERIFY(!text.contains(QLatin1Char('%')));
    QVERIFY(document->findBlockByNumber(4).text().isEmpty());
    QCOMPARE(document->find(QStringLiteral("Crayvell")).charFormat().fontWeight(), 600);
    QCOMPARE(document->find(QStringLiteral("dellumbra")).charFormat().anchorHref(),
             QStringLiteral("https://www.dellumbra.example/"));
    // Every paragraph but the gap has words of its own.
    const auto *source = english.findChild<QTextBrowser *>()->document();
    for (int i : {0, 1, 2, 3, 5, 6, 7})
        QVERIFY(document->findBlockByNumber(i).text() != source->findBlockByNumber(i).text());
}

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], printTranslation) == 0) {
        const QCoreApplication application(argc, argv);
        std::fputs(qPrintable(languages::systemTranslation()), stdout);
        return 0;
    }
    return runInTestApplication(argc, argv, [&] {
        LanguagesTest tests;
        return runTestsOf(tests, argc, argv);
    });
}

#include "tst_languages.moc"
