#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

void setTime(const QString &file, time_t seconds, long nanoseconds = 0)
{
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0), 0);
}

} // namespace

// Whatever is there stays there, unless its replacing was asked for.
class tst_BatchSafety : public QObject
{
    Q_OBJECT

private slots:
    void existingOutputFails();
    void overwriteReplacesAndKeepsPermissions_data();
    void overwriteReplacesAndKeepsPermissions();
    void planTellsWhatIsReplaced();
    void overwriteFollowsLinks();
    void overwriteLeavesWhatIsNoFile_data();
    void overwriteLeavesWhatIsNoFile();
    void failedPhotoLeavesOldOutput();
    void neverOntoAnInput_data();
    void neverOntoAnInput();
    void collisionsWriteNothing_data();
    void collisionsWriteNothing();
    void skipExistingDoesTheRest();
    void skipExistingKnowsItsOwnSketches();
    void newerRedoesTheOlder();
    void newerAfterPreserve();
    void strangeNames_data();
    void strangeNames();
    void failureIsOneLine();
    void outputFolderIsAFile();
};

void tst_BatchSafety::existingOutputFails()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("a-sketch.jpg", "mine");
    const auto outcome = batch.run({"a.jpg"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors,
             QByteArray("a.jpg: the output a-sketch.jpg exists already; --overwrite "
                        "replaces it, --skip-existing leaves it\n"));
    QCOMPARE(batch.contents("a-sketch.jpg"), "mine");
    QVERIFY(QFile::link("nowhere", batch.path("b.jpg")));
    COMPARE_EXIT(batch.run({"-o", "b.jpg", "a.jpg"}), 1);
    QVERIFY(QFileInfo(batch.path("b.jpg")).isSymLink());
    QVERIFY(!batch.exists("nowhere"));
}

void tst_BatchSafety::overwriteReplacesAndKeepsPermissions_data()
{
    QTest::addColumn<uint>("mode");
    QTest::newRow("of the owner alone") << 0600U;
    QTest::newRow("for all to run") << 0755U;
    QTest::newRow("of the group") << 02770U;
    QTest::newRow("sticky") << 01644U;
}

void tst_BatchSafety::overwriteReplacesAndKeepsPermissions()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("a-sketch.jpg", "mine");
    QFETCH(uint, mode);
    const QByteArray sketch = QFile::encodeName(batch.path("a-sketch.jpg"));
    QCOMPARE(chmod(sketch.constData(), mode), 0);
    COMPARE_EXIT(batch.run({"--overwrite", "a.jpg"}), 0);
    QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(64, 48));
    struct stat status
    {
    };
    QCOMPARE(stat(sketch.constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777, mode_t(mode));
    QCOMPARE(batch.files(), QStringList({"a-sketch.jpg", "a.jpg"}));
}

void tst_BatchSafety::planTellsWhatIsReplaced()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    batch.write("b-sketch.jpg", "mine");
    const auto outcome = batch.run({"--dry-run", "--overwrite", "a.jpg", "b.jpg"});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.output,
             QByteArray("a.jpg -> a-sketch.jpg\nb.jpg -> b-sketch.jpg (replaced)\n"));
    QCOMPARE(batch.contents("b-sketch.jpg"), "mine");
}

void tst_BatchSafety::overwriteFollowsLinks()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("store/real.jpg", "mine");
    QVERIFY(QFile::link(batch.path("store/real.jpg"), batch.path("a-sketch.jpg")));
    COMPARE_EXIT(batch.run({"--overwrite", "a.jpg"}), 0);
    QVERIFY(QFileInfo(batch.path("a-sketch.jpg")).isSymLink());
    QCOMPARE(QImage(batch.path("store/real.jpg")).size(), QSize(64, 48));
}

void tst_BatchSafety::overwriteLeavesWhatIsNoFile_data()
{
    QTest::addColumn<QString>("making");

    QTest::newRow("a pipe") << "mkfifo o.jpg";
    QTest::newRow("a link to a device") << "ln -s /dev/null o.jpg";
    QTest::newRow("a link that leads nowhere") << "ln -s nowhere o.jpg";
}

void tst_BatchSafety::overwriteLeavesWhatIsNoFile()
{
    QFETCH(QString, making);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    QCOMPARE(batch.shell(making).exitCode, 0);
    const QByteArray before = batch.shell("stat -c '%F %N' o.jpg; stat -c %F /dev/null").output;
    COMPARE_EXIT(batch.run({"--overwrite", "-o", "o.jpg", "a.jpg"}), 1);
    QCOMPARE(batch.shell("stat -c '%F %N' o.jpg; stat -c %F /dev/null").output, before);
    QVERIFY(!batch.exists("nowhere"));
}

void tst_BatchSafety::failedPhotoLeavesOldOutput()
{
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg(300, 300);
    batch.write("a.jpg", photo.left(photo.size() * 3 / 4));
    batch.write("a-sketch.jpg", "mine");
    COMPARE_EXIT(batch.run({"--overwrite", "a.jpg"}), 1);
    QCOMPARE(batch.contents("a-sketch.jpg"), "mine");
    QCOMPARE(batch.files(), QStringList({"a-sketch.jpg", "a.jpg"}));
}

void tst_BatchSafety::neverOntoAnInput_data()
{
    QTest::addColumn<QString>("making");
    QTest::addColumn<QStringList>("arguments");

    using List = QStringList;
    QTest::newRow("the photo itself") << "true" << List {"-o", "a.jpg", "a.jpg"};
    QTest::newRow("by another way") << "true" << List {"-o", "../$here/./a.jpg", "a.jpg"};
    QTest::newRow("its own folder") << "true" << List {"--output-dir", ".", "a.jpg"};
    QTest::newRow("a symbolic link to it") << "ln -s a.jpg s.jpg" << List {"-o", "s.jpg", "a.jpg"};
    QTest::newRow("a hard link to it") << "ln a.jpg h.jpg" << List {"-o", "h.jpg", "a.jpg"};
    QTest::newRow("given by a link") << "ln -s a.jpg s.jpg" << List {"-o", "a.jpg", "s.jpg"};
    QTest::newRow("a folder that is a link") << "ln -s . d" << List {"--output-dir", "d", "a.jpg"};
    QTest::newRow("another input") << "cp a.jpg a-sketch.jpg" << List {"a.jpg", "a-sketch.jpg"};
}

void tst_BatchSafety::neverOntoAnInput()
{
    QFETCH(QString, making);
    QFETCH(QStringList, arguments);
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    batch.write("a.jpg", photo);
    QCOMPARE(batch.shell(making).exitCode, 0);
    arguments.replaceInStrings("$here", QDir(batch.folder.path()).dirName());
    const QStringList before = batch.files();
    for (const char *mode : {"", "--overwrite", "--newer"}) {
        QStringList all = arguments;
        if (*mode)
            all.prepend(mode);
        if (*mode && qstrcmp(mode, "--newer") == 0)
            setTime(batch.path("a.jpg"), 2000000000);
        // An earlier sketch among the photos is left alone where it is not older.
        const auto outcome = batch.run(all);
        COMPARE_EXIT(outcome, 2);
        QVERIFY2(outcome.errors.contains("is the photo"), outcome.errors.constData());
        QCOMPARE(batch.contents("a.jpg"), photo);
        QCOMPARE(batch.files(), before);
    }
}

void tst_BatchSafety::collisionsWriteNothing_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("count");

    using List = QStringList;
    QTest::newRow("two suffixes") << List {"c.jpg", "x/a.jpg", "x/a.png"} << 2;
    QTest::newRow("two folders") << List {"--output-dir", "out", "c.jpg", "x", "y"} << 3;
    QTest::newRow("one photo twice") << List {"c.jpg", "x/a.jpg", "x/../x/a.jpg"} << 2;
    QTest::newRow("a folder and a link to it") << List {"c.jpg", "x/a.jpg", "z/a.jpg"} << 2;
    QTest::newRow("whatever exists") << List {"--overwrite", "c.jpg", "x/a.jpg", "x/a.png"} << 2;
}

void tst_BatchSafety::collisionsWriteNothing()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, count);
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    for (const char *name : {"c.jpg", "x/a.jpg", "x/a.png", "y/a.jpg"})
        batch.write(name, photo);
    QVERIFY(QFile::link("x", batch.path("z")));
    const QStringList before = batch.files();
    for (const char *telling : {"-j2", "-q", "-v", "--json"}) {
        const auto outcome = batch.run(QStringList {telling} + arguments);
        COMPARE_EXIT(outcome, 2);
        QCOMPARE(outcome.errors.count("has the same output as"), count);
        QVERIFY2(!outcome.errors.contains("c.jpg"), outcome.errors.constData());
        QVERIFY2(!outcome.output.contains("c.jpg"), outcome.output.constData());
        QCOMPARE(batch.files(), before);
        QVERIFY(!batch.exists("out"));
    }
}

void tst_BatchSafety::skipExistingDoesTheRest()
{
    BatchProcess batch;
    for (const char *name : {"a.jpg", "b.jpg", "c.jpg"})
        batch.write(name, testphotos::jpeg());
    batch.write("out/b.jpg", "mine");
    const QStringList arguments {"--skip-existing", "--output-dir", "out",
                                 "a.jpg",           "b.jpg",        "c.jpg"};
    COMPARE_EXIT(batch.run(arguments), 0);
    QCOMPARE(batch.contents("out/b.jpg"), "mine");
    QCOMPARE(QImage(batch.path("out/c.jpg")).size(), QSize(64, 48));
    const auto again = batch.run(QStringList {"-v"} + arguments);
    COMPARE_EXIT(again, 0);
    QVERIFY(again.errors.contains("0 done, 3 skipped, 0 failed"));
}

void tst_BatchSafety::skipExistingKnowsItsOwnSketches()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.shell("\"$batch\" *.jpg"), 0);
    COMPARE_EXIT(batch.shell("\"$batch\" --skip-existing *.jpg"), 0);
    QCOMPARE(batch.files(), QStringList({"a-sketch.jpg", "a.jpg", "b-sketch.jpg", "b.jpg"}));
    COMPARE_EXIT(batch.shell("\"$batch\" --newer *.jpg"), 0);
    QCOMPARE(batch.files().size(), 4);
}

void tst_BatchSafety::newerRedoesTheOlder()
{
    BatchProcess batch;
    for (const char *name : {"a.jpg", "b.jpg", "c.jpg"})
        batch.write(name, testphotos::jpeg());
    batch.write("out/a.jpg", "older");
    batch.write("out/b.jpg", "newer");
    setTime(batch.path("out/a.jpg"), 1000);
    setTime(batch.path("a.jpg"), 2000);
    setTime(batch.path("b.jpg"), 2000);
    COMPARE_EXIT(batch.run({"--newer", "--output-dir", "out", "a.jpg", "b.jpg", "c.jpg"}), 0);
    QCOMPARE(QImage(batch.path("out/a.jpg")).size(), QSize(64, 48));
    QCOMPARE(batch.contents("out/b.jpg"), "newer");
    QCOMPARE(QImage(batch.path("out/c.jpg")).size(), QSize(64, 48));
}

void tst_BatchSafety::newerAfterPreserve()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    setTime(batch.path("a.jpg"), 2000);
    const QStringList arguments {"-v", "--newer", "--preserve", "a.jpg"};
    QVERIFY(batch.run(arguments).errors.contains("1 done"));
    QVERIFY(batch.run(arguments).errors.contains("1 skipped"));
    setTime(batch.path("a.jpg"), 2000, 1'000'000);
    QVERIFY(batch.run(arguments).errors.contains("1 done"));
    QVERIFY(batch.run(arguments).errors.contains("1 skipped"));
    setTime(batch.path("a.jpg"), 2001);
    QVERIFY(batch.run(arguments).errors.contains("1 done"));
}

void tst_BatchSafety::strangeNames_data()
{
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("spaces") << QByteArray("my  summer ");
    QTest::newRow("quotes") << QByteArray("it's \"here\" `now`");
    QTest::newRow("a line's end") << QByteArray("two\nlines");
    QTest::newRow("a leading dash") << QByteArray("-o");
    QTest::newRow("letters of other scripts") << QByteArray("stra\xc3\x9f"
                                                            "e-\xe6\xb5\xb7");
    QTest::newRow("no UTF-8 at all") << QByteArray("caf\xe9");
    QTest::newRow("dots") << QByteArray("a.b..c");
    QTest::newRow("signs of the shell") << QByteArray("*?[a]$HOME;&|<>(){}~#!%");
    QTest::newRow("a backslash") << QByteArray("a\\n");
    QTest::newRow("a protocol") << QByteArray("data:x");
    QTest::newRow("an icon of double size") << QByteArray("x@2x");
    QTest::newRow("as long as a name can be") << QByteArray(244, 'n');
}

void tst_BatchSafety::strangeNames()
{
    QFETCH(QByteArray, name);
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    const QByteArray file = QFile::encodeName(batch.folder.path()) + "/in/" + name + ".jpg";
    QVERIFY(QDir(batch.folder.path()).mkdir("in"));
    const int descriptor = open(file.constData(), O_CREAT | O_WRONLY, 0666);
    QVERIFY(descriptor >= 0);
    QCOMPARE(::write(descriptor, photo.constData(), photo.size()), ssize_t(photo.size()));
    close(descriptor);

    COMPARE_EXIT(batch.run({"--output-dir", "out", "in"}), 0);
    struct stat status
    {
    };
    const QByteArray out = QFile::encodeName(batch.folder.path()) + "/out/" + name + ".jpg";
    QCOMPARE(stat(out.constData(), &status), 0);
    COMPARE_EXIT(batch.shell("cd in && exec \"$batch\" -- *.jpg"), 0);
    const QByteArray beside =
        QFile::encodeName(batch.folder.path()) + "/in/" + name + "-sketch.jpg";
    QCOMPARE(stat(beside.constData(), &status), 0);
    // The toolkit cannot remove names that are no UTF-8.
    QCOMPARE(batch.shell("rm -r in out").exitCode, 0);
}

void tst_BatchSafety::failureIsOneLine()
{
    BatchProcess batch;
    batch.write("two\nlines \x1b[31m.jpg", "no photo");
    const auto outcome = batch.run({"two\nlines \x1b[31m.jpg", "missing\n.jpg"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors.count('\n'), 2);
    QVERIFY(outcome.errors.contains("two\\nlines \\033[31m.jpg: is no picture"));
    QVERIFY(outcome.errors.contains("missing\\n.jpg: cannot be read: No such file"));
}

void tst_BatchSafety::outputFolderIsAFile()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("out", "mine");
    COMPARE_EXIT(batch.run({"--output-dir", "out", "a.jpg"}), 2);
    COMPARE_EXIT(batch.run({"--overwrite", "--output-dir", "out/deep", "a.jpg"}), 2);
    QCOMPARE(batch.contents("out"), "mine");
}

CRAYVELL_TEST_MAIN(tst_BatchSafety)
#include "tst_batchsafety.moc"
