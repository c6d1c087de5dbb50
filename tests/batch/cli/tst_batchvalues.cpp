#include <QStandardPaths>

#include "tests/batch/batchprocess.h"
#include "tests/support/nthcall.h"
#include "tests/support/preload.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// The values that options take, what some do, and the suffixes of names.
class tst_BatchValues : public QObject
{
    Q_OBJECT

private slots:
    void valuesAreTaken_data();
    void valuesAreTaken();
    void qualityOfPng();
    void noPictureOnATerminal();
    void fsyncIsDoneWhenAskedFor_data();
    void fsyncIsDoneWhenAskedFor();
    void suffixesInEveryLocale_data();
    void suffixesInEveryLocale();
    void reasonsInEnglish();
};

void tst_BatchValues::valuesAreTaken_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output");

    for (const char *format : {"jpg", "JPG", "jpeg", "Jpeg"})
        QTest::addRow("format %s", format) << QStringList {"--format", format} << "a-sketch.jpg";
    for (const char *format : {"png", "PNG"})
        QTest::addRow("format %s", format) << QStringList {"--format", format} << "a-sketch.png";
    for (const char *size :
         {"2G", "2g", "2GB", "2gb", "2GiB", "900000K", "900000KB", "1T", "99999999"})
        QTest::addRow("memory %s", size) << QStringList {"--max-memory", size} << "a-sketch.jpg";
}

void tst_BatchValues::valuesAreTaken()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, output);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.run(arguments + QStringList {"a.jpg"}), 0);
    QVERIFY(batch.exists(output));
}

void tst_BatchValues::qualityOfPng()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const QByteArray told = "crayvell-batch: --quality has no effect on PNG\n";
    const auto byFormat = batch.run({"--quality", "90", "--format", "png", "a.jpg"});
    COMPARE_EXIT(byFormat, 0);
    QCOMPARE(byFormat.errors, told);
    QCOMPARE(batch.run({"--quality", "100", "-o", "b.png", "a.jpg"}).errors, told);
    QCOMPARE(batch.run({"-q", "--quality", "90", "-o", "c.png", "a.jpg"}).errors, QByteArray());
    QCOMPARE(batch.run({"--quality", "90", "-o", "d.jpg", "a.jpg"}).errors, QByteArray());
    QCOMPARE(batch.run({"-o", "e.png", "a.jpg"}).errors, QByteArray());
}

void tst_BatchValues::fsyncIsDoneWhenAskedFor_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("calls");

    QTest::newRow("not asked for") << QStringList {"a.jpg"} << 0;
    QTest::newRow("asked for") << QStringList {"--fsync", "a.jpg"} << 1;
    QTest::newRow("of each of two") << QStringList {"--fsync", "a.jpg", "b.jpg"} << 2;
}

void tst_BatchValues::fsyncIsDoneWhenAskedFor()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
    QFETCH(QStringList, arguments);
    QFETCH(int, calls);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    const QString counts = batch.path("counts");
    COMPARE_EXIT(
        batch.run(arguments, {}, preloaded(CRAYVELL_NTH_CALL) << "NTH_CALL_COUNTS=" + counts), 0);
    const QMap<QByteArray, int> made = nthcall::countsIn(counts);
    QVERIFY(made["write"] > 0);
    QCOMPARE(made["fsync"], calls);
}

void tst_BatchValues::suffixesInEveryLocale_data()
{
    QTest::addColumn<QString>("characters");

    // Turkish has a dotted and a dotless i: the lower case of I is no i.
    QTest::newRow("Turkish") << "UTF-8";
    QTest::newRow("Turkish, of one byte") << "ISO-8859-9";
}

void tst_BatchValues::suffixesInEveryLocale()
{
    QFETCH(QString, characters);
    BatchProcess batch;
    const auto made =
        batch.shell("mkdir l && localedef -i tr_TR -f " + characters + " \"$PWD/l/tr_TR\" 2>&1");
    if (made.exitCode != 0)
        QSKIP("localedef (libc-bin) with the package locales makes the locale: "
              + made.output.left(200));
    // One that cannot be had is the plain locale to a program, and says nothing.
    QCOMPARE(batch.shell("LOCPATH=$PWD/l LC_ALL=tr_TR locale charmap").output,
             characters.toUtf8() + '\n');
    const QByteArray tiff = testphotos::encoded(testphotos::scene(20, 20), "tiff");
    batch.write("p/A.TIF", tiff);
    batch.write("p/b.IIQ", tiff);
    const auto outcome = batch.run({"p/A.TIF", "p/b.IIQ"}, {},
                                   {"LOCPATH=" + batch.path("l"), QStringLiteral("LC_ALL=tr_TR")});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors,
             QByteArray("p/b.IIQ: is of the format camera raw, which is not read\n"));
    QCOMPARE(batch.files().filter("p/"), QStringList({"p/A-sketch.jpg", "p/A.TIF", "p/b.IIQ"}));
}

// Among English words.
void tst_BatchValues::reasonsInEnglish()
{
    BatchProcess batch;
    const QString german = "LOCPATH=$PWD/l LC_ALL=de_DE.UTF-8 LANGUAGE=de ";
    batch.shell("mkdir l && localedef -i de_DE -f UTF-8 \"$PWD/l/de_DE.UTF-8\"");
    if (!batch.shell(german + "cat a.jpg").errors.contains("nicht gefunden"))
        QSKIP("the package locales has the system's messages in German");
    QCOMPARE(batch.shell(german + "\"$batch\" a.jpg").errors,
             QByteArray("a.jpg: cannot be read: No such file or directory\n"));
}

void tst_BatchValues::noPictureOnATerminal()
{
    if (QStandardPaths::findExecutable("script").isEmpty())
        QSKIP("script (util-linux) makes the terminal, and is not installed");
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.shell("script -qec '\"$batch\" -o - a.jpg' /dev/null");
    COMPARE_EXIT(outcome, 2);
    QVERIFY2(outcome.output.contains("a picture is not written to a terminal"),
             outcome.output.left(200).constData());
    QCOMPARE(batch.files(), QStringList {"a.jpg"});
}

CRAYVELL_TEST_MAIN(tst_BatchValues)
#include "tst_batchvalues.moc"
