#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

class tst_BatchHelp : public QObject
{
    Q_OBJECT

private slots:
    void wrongUsage_data();
    void wrongUsage();
    void refusalsHelp_data();
    void refusalsHelp();
    void helpStartsWithExamplesAndFitsAScreen();
    void helpHasOneOptionALine();
    void version();
    void standardOutputThatIsFull_data();
    void standardOutputThatIsFull();
    void shellsReadTheCompletions_data();
    void shellsReadTheCompletions();
    void manualNamesEveryOption();
    void manualIsInOrder();
};

// A page without what makes its letters bold or underlined on a terminal.
static QByteArray plain(const QByteArray &page)
{
    QString text = QString::fromUtf8(page);
    static const QRegularExpression struckOver(QStringLiteral(".\\x08"));
    return text.remove(struckOver).toUtf8();
}

void tst_BatchHelp::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");

    using List = QStringList;
    QTest::newRow("no photo") << List {} << QByteArray("no photo given");
    QTest::newRow("unknown option") << List {"--frobnicate", "a.jpg"} << QByteArray("--frobnicate");
    QTest::newRow("unknown letter") << List {"-z", "a.jpg"} << QByteArray("-z");
    QTest::newRow("missing argument")
        << List {"a.jpg", "--black"} << QByteArray("--black needs an argument");
    QTest::newRow("missing argument of a letter")
        << List {"a.jpg", "-o"} << QByteArray("-o needs an argument");
    for (const char *value : {"256", "-1", "x", "", "1.5", "99999999999"}) {
        QTest::addRow("black level '%s'", value)
            << List {"--black", value, "a.jpg"} << QByteArray("0 to 255");
        QTest::addRow("white level '%s'", value)
            << List {"--white", value, "a.jpg"} << QByteArray("0 to 255");
    }
    for (const char *value : {"0", "101", "best"}) {
        QTest::addRow("quality '%s'", value)
            << List {"--quality", value, "a.jpg"} << QByteArray("1 to 100");
    }
    for (const char *value : {"0", "-2", "many"})
        QTest::addRow("jobs '%s'", value) << List {"-j", value, "a.jpg"} << QByteArray("1 to 1024");
    for (const char *value : {"0", "12X", "G", "1GG", "-1G", "99999999T"}) {
        QTest::addRow("memory '%s'", value)
            << List {"--max-memory", value, "a.jpg"} << QByteArray("needs a size");
    }
    QTest::newRow("unknown format")
        << List {"--format", "gif", "a.jpg"} << QByteArray("jpg or png");
    QTest::newRow("unknown suffix") << List {"-o", "b.bmp", "a.jpg"} << QByteArray("must end in");
    QTest::newRow("format against suffix")
        << List {"-o", "b.jpg", "--format", "png", "a.jpg"} << QByteArray("different formats");
    QTest::newRow("one output for two photos")
        << List {"-o", "c.jpg", "a.jpg", "b.jpg"} << QByteArray("for one photo");
    QTest::newRow("output and folder")
        << List {"-o", "c.jpg", "--output-dir", "d", "a.jpg"} << QByteArray("exclude");
    QTest::newRow("output is a folder") << List {"-o", ".", "a.jpg"} << QByteArray("is a folder");
    QTest::newRow("folder without output folder") << List {"."} << QByteArray("needs --output-dir");
    QTest::newRow("null without a list") << List {"--null", "a.jpg"} << QByteArray("--files-from");
    QTest::newRow("folders kept nowhere")
        << List {"--keep-folders", "a.jpg"} << QByteArray("--output-dir");
    QTest::newRow("folders kept above the folder")
        << List {"--keep-folders", "--output-dir", "d", "../a.jpg"} << QByteArray("above");
    QTest::newRow("missing list") << List {"--files-from", "none"} << QByteArray("cannot be read");
    QTest::newRow("list is a folder") << List {"--files-from", "."} << QByteArray("cannot be read");
    QTest::newRow("overwrite and skip")
        << List {"--overwrite", "--skip-existing", "a.jpg"} << QByteArray("only one of");
    QTest::newRow("skip and newer")
        << List {"--skip-existing", "--newer", "a.jpg"} << QByteArray("only one of");
    QTest::newRow("quiet and verbose") << List {"-q", "-v", "a.jpg"} << QByteArray("exclude");
    QTest::newRow("standard input and a photo") << List {"-", "a.jpg"} << QByteArray("only photo");
    QTest::newRow("standard input into a folder")
        << List {"-", "--output-dir", "d"} << QByteArray("no name");
    QTest::newRow("picture and JSON") << List {"-o", "-", "--json", "a.jpg"} << QByteArray("both");
    QTest::newRow("overwriting standard output")
        << List {"-o", "-", "--overwrite", "a.jpg"} << QByteArray("not for");
    QTest::newRow("empty name") << List {""} << QByteArray("empty");
}

void tst_BatchHelp::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.run(arguments);
    COMPARE_EXIT(outcome, 2);
    QVERIFY2(outcome.errors.contains(message), outcome.errors.constData());
    QVERIFY(outcome.errors.startsWith("crayvell-batch: "));
    QCOMPARE(outcome.output, QByteArray());
    QCOMPARE(batch.files(), QStringList {"a.jpg"});
}

void tst_BatchHelp::refusalsHelp_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message"); // its first line

    using List = QStringList;
    QTest::newRow("letters exchanged")
        << List {"--overwirte"}
        << QByteArray("unknown option --overwirte; did you mean --overwrite?");
    QTest::newRow("letter left out, with a value")
        << List {"--qualty=90"} << QByteArray("unknown option --qualty; did you mean --quality?");
    QTest::newRow("part left out")
        << List {"--outdir", "d"}
        << QByteArray("unknown option --outdir; did you mean --output-dir?");
    QTest::newRow("two as near as each other")
        << List {"--versoe"}
        << QByteArray("unknown option --versoe; did you mean --verbose or --version?");
    QTest::newRow("nothing is near")
        << List {"--frobnicate"} << QByteArray("unknown option --frobnicate");
    QTest::newRow("beginning of several")
        << List {"--o"} << QByteArray("--o is ambiguous: --output, --output-dir or --overwrite");
    QTest::newRow("a value of no name") << List {"--=3"} << QByteArray("unknown option --=3");
    QTest::newRow("value that is not taken")
        << List {"--version=1"} << QByteArray("--version takes no value, but got '1'");
    QTest::newRow("the same, abbreviated")
        << List {"--recur=yes"} << QByteArray("--recursive takes no value, but got 'yes'");
    QTest::newRow("photo whose name begins with a dash")
        << List {"-foo.jpg"}
        << QByteArray("unknown option -f in -foo.jpg; a photo of such a name comes after --");
    QTest::newRow("the same behind an option that is one")
        << List {"-r.jpg"}
        << QByteArray("unknown option -. in -r.jpg; a photo of such a name comes after --");
    QTest::newRow("the same behind its last letter")
        << List {"-rf", "-foo"}
        << QByteArray("unknown option -f in -rf; a photo of such a name comes after --");
    QTest::newRow("photo that is there and begins with two dashes")
        << List {"--b.jpg"}
        << QByteArray("unknown option --b.jpg; a photo of such a name comes after --");
    QTest::newRow("long option with one dash")
        << List {"-verbose-"}
        << QByteArray("unknown option -e in -verbose-; did you mean --verbose?");
    QTest::newRow("letter that is no ASCII")
        << List {"-\u00e9t\u00e9.jpg"}
        << QByteArray("unknown option -\u00e9t\u00e9.jpg; a photo of such a name comes after --");
    QTest::newRow("letter alone") << List {"-z"} << QByteArray("unknown option -z");
    QTest::newRow("number") << List {"--black", "300"}
                            << QByteArray("--black: needs a whole number from 0 to 255, not '300'");
    QTest::newRow("format") << List {"--format", "gif"}
                            << QByteArray("--format: needs jpg or png, not 'gif'");
    QTest::newRow("size") << List {"--max-memory", "2 GB"}
                          << QByteArray(
                                 "--max-memory: needs a size such as 800M or 2G, not '2 GB'");
    QTest::newRow("suffix") << List {"-o", "b.bmp"}
                            << QByteArray("-o: b.bmp must end in .jpg, .jpeg or .png");
    QTest::newRow("output is a folder")
        << List {"-o", "."} << QByteArray("-o: . is a folder; use --output-dir");
    QTest::newRow("output folder is a file")
        << List {"--output-dir", "a.jpg"} << QByteArray("--output-dir: a.jpg is no folder");
    QTest::newRow("output folder is below a file")
        << List {"--output-dir", "a.jpg/d/e"} << QByteArray("--output-dir: a.jpg/d/e is no folder");
    QTest::newRow("output folder is a link that leads nowhere")
        << List {"--output-dir", "link"} << QByteArray("--output-dir: link is no folder");
    QTest::newRow("list with CR LF")
        << List {"--files-from", "list"}
        << QByteArray("--files-from: list has lines that end with CR LF, and there is no "
                      "'a.jpg\\015'; dos2unix takes the CR away");
}

void tst_BatchHelp::refusalsHelp()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("--b.jpg", testphotos::jpeg());
    batch.write("list", "a.jpg\r\n");
    QVERIFY(QFile::link("nowhere", batch.path("link")));
    const QStringList before = batch.files();
    const auto outcome = batch.run(arguments + QStringList {"a.jpg"});
    COMPARE_EXIT(outcome, 2);
    QCOMPARE(outcome.errors, "crayvell-batch: " + message + "\nTry 'crayvell-batch --help'.\n");
    QCOMPARE(batch.files(), before);
}

void tst_BatchHelp::helpStartsWithExamplesAndFitsAScreen()
{
    BatchProcess batch;
    const auto outcome = batch.run({"--help"});
    COMPARE_EXIT(outcome, 0);
    QList<QByteArray> lines = outcome.output.split('\n');
    QVERIFY(lines.takeLast().isEmpty());
    QVERIFY2(lines.size() <= 24, QByteArray::number(lines.size()).constData());
    for (int i = 0; i < 3; ++i)
        QVERIFY2(lines.at(i).startsWith("crayvell-batch "), lines.at(i).constData());
    for (const QByteArray &line : lines)
        QVERIFY2(line.size() <= 80, line.constData());
    QCOMPARE(batch.run({"-h"}).output, outcome.output);
}

// No fragment of another one's explanation is to be taken for an alias.
void tst_BatchHelp::helpHasOneOptionALine()
{
    BatchProcess batch;
    const QString help = QString::fromUtf8(batch.run({"--help"}).output);
    QString others = help.mid(help.indexOf("(man crayvell-batch):") + 21);
    others = others.left(others.indexOf("Exit code")).simplified();
    for (const QString &name : others.split(", "))
        QVERIFY2(name.startsWith("--") && !name.contains(' '), qPrintable(others));
    const QStringList lines =
        help.section("Usage:", 1).section("More", 0, 0).split('\n', Qt::SkipEmptyParts).mid(1);
    static const QRegularExpression form(
        QStringLiteral("^  (-[a-z], |    )--[a-z-]+( [A-Za-z|]+)?  +[^- ]((?!--).)*$"));
    QVERIFY(lines.size() > 15);
    for (const QString &line : lines)
        QVERIFY2(form.match(line).hasMatch(), qPrintable(line));
}

void tst_BatchHelp::version()
{
    BatchProcess batch;
    const auto outcome = batch.run({"--version"});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.output, QByteArray("crayvell-batch " CRAYVELL_VERSION "\n"));
    QCOMPARE(outcome.errors, QByteArray());
}

void tst_BatchHelp::standardOutputThatIsFull_data()
{
    QTest::addColumn<QString>("command");

    QTest::newRow("help") << "\"$batch\" --help >/dev/full";
    QTest::newRow("version") << "\"$batch\" --version >/dev/full";
    QTest::newRow("help, closed") << "\"$batch\" --help >&-";
}

void tst_BatchHelp::standardOutputThatIsFull()
{
    QFETCH(QString, command);
    const auto outcome = BatchProcess().shell(command);
    COMPARE_EXIT(outcome, 1);
    QVERIFY(outcome.errors.startsWith("crayvell-batch: "));
}

void tst_BatchHelp::shellsReadTheCompletions_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QStringList>("arguments");

    const QString texts = QStringLiteral(CRAYVELL_BATCH_TEXTS) + u'/';
    QTest::newRow("bash") << "bash" << QStringList {"-n", texts + "crayvell-batch.bash"};
    QTest::newRow("zsh") << "zsh" << QStringList {"-n", texts + "_crayvell-batch"};
    QTest::newRow("fish") << "fish" << QStringList {"-n", texts + "crayvell-batch.fish"};
    QTest::newRow("bash completes an option")
        << "bash"
        << QStringList {"-c",
                        "_init_completion() { cur=--over prev=crayvell-batch; }; . \"$0\""
                        "; _crayvell_batch;"
                        " test \"${COMPREPLY[*]}\" = --overwrite",
                        texts + "crayvell-batch.bash"};
    QTest::newRow("bash completes a format")
        << "bash"
        << QStringList {"-c",
                        "_init_completion() { cur=p prev=--format; }; . \"$0\""
                        "; _crayvell_batch;"
                        " test \"${COMPREPLY[*]}\" = png",
                        texts + "crayvell-batch.bash"};
    QTest::newRow("fish completes an option")
        << "fish"
        << QStringList {"-c",
                        "source $argv[1]; complete -C 'crayvell-batch --skip'"
                        " | string match -q -- '--skip-existing*'",
                        texts + "crayvell-batch.fish"};
    QTest::newRow("man")
        << "man"
        << QStringList {
               "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", texts + "crayvell-batch.1"};
}

void tst_BatchHelp::shellsReadTheCompletions()
{
    QFETCH(QString, shell);
    QFETCH(QStringList, arguments);
    if (QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP(qPrintable(shell + " is not installed"));
    QProcess process;
    process.start(shell, arguments);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(process.exitCode(), 0);
}

void tst_BatchHelp::manualNamesEveryOption()
{
    QFile manual(QStringLiteral(CRAYVELL_BATCH_TEXTS) + "/crayvell-batch.1");
    QVERIFY(manual.open(QIODevice::ReadOnly));
    const QByteArray text = manual.readAll();
    BatchProcess batch;
    const QString help = QString::fromUtf8(batch.run({"--help"}).output);
    static const QRegularExpression option(QStringLiteral("--[a-z-]+"));
    int count = 0;
    for (auto matches = option.globalMatch(help.section("PHOTO|FOLDER", 1)); matches.hasNext();) {
        const QString name = matches.next().captured();
        QVERIFY2(text.contains("\\fB" + name.toUtf8().replace("-", "\\-") + "\\fR"),
                 qPrintable(name));
        ++count;
    }
    QCOMPARE(count, text.count("\n.TP\n\\fB\\-"));
    QVERIFY(count > 20);
}

void tst_BatchHelp::manualIsInOrder()
{
    if (QStandardPaths::findExecutable("mandoc").isEmpty())
        QSKIP("mandoc reads the manual, and is not installed");
    const QString manual = QStringLiteral(CRAYVELL_BATCH_TEXTS) + "/crayvell-batch.1";
    QProcess mandoc;
    mandoc.start("mandoc", {"-T", "lint", manual});
    QVERIFY(mandoc.waitForFinished());
    QCOMPARE(mandoc.readAllStandardOutput(), QByteArray());
    QCOMPARE(mandoc.exitCode(), 0);
    mandoc.start("mandoc", {"-T", "utf8", "-O", "width=80", manual});
    QVERIFY(mandoc.waitForFinished());
    QStringList sections;
    const QByteArray page = plain(mandoc.readAllStandardOutput());
    for (const QByteArray &line : page.split('\n')) {
        if (!line.isEmpty() && line[0] >= 'A' && line[0] <= 'Z' && line == line.toUpper())
            sections << QString::fromUtf8(line);
    }
    QCOMPARE(sections,
             QStringList({"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "JSON", "MEMORY",
                          "EXIT STATUS", "ENVIRONMENT", "SEE ALSO", "EXAMPLES"}));
    for (const char *text : {"129", "crayvell(1)", "milliseconds", "warning", "--max-memory"})
        QVERIFY2(page.contains(text), text);
}

CRAYVELL_TEST_MAIN(tst_BatchHelp)
#include "tst_batchhelp.moc"
