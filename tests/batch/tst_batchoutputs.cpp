#include <QJsonDocument>
#include <QJsonObject>

#include "tests/batch/failingcalls.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// What becomes of outputs that are there, or come into being meanwhile.
class tst_BatchOutputs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void linksToOneFile();
    void noRegularFile_data();
    void noRegularFile();
    void newerSaysWhy();
    void newerLeavesWhatCameMeanwhile();
    void changedAndDamaged();
    void changedPhotoOnStandardOutput();
    void standardOutputNeedsMore();
};

void tst_BatchOutputs::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
}

void tst_BatchOutputs::linksToOneFile()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    batch.write("store/real.jpg", "mine");
    QVERIFY(QFile::link("store/real.jpg", batch.path("a-sketch.jpg")));
    QVERIFY(QFile::link("store/real.jpg", batch.path("b-sketch.jpg")));
    const auto outcome = batch.run({"--overwrite", "a.jpg", "b.jpg"});
    COMPARE_EXIT(outcome, 2);
    QVERIFY2(outcome.errors.contains("b.jpg: has the same output as a.jpg: b-sketch.jpg"),
             outcome.errors.constData());
    QCOMPARE(batch.contents("store/real.jpg"), "mine");
}

void tst_BatchOutputs::noRegularFile_data()
{
    QTest::addColumn<QString>("what");
    QTest::newRow("a folder") << "mkdir a-sketch.jpg";
    QTest::newRow("a pipe") << "mkfifo a-sketch.jpg";
}

void tst_BatchOutputs::noRegularFile()
{
    QFETCH(QString, what);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    QCOMPARE(batch.shell(what).exitCode, 0);
    for (const char *mode : {"--overwrite", "--newer"}) {
        const auto outcome = batch.run({mode, "a.jpg"});
        COMPARE_EXIT(outcome, 1);
        QCOMPARE(outcome.errors, QByteArray("a.jpg: the output a-sketch.jpg is no regular file\n"));
    }
}

void tst_BatchOutputs::newerSaysWhy()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    QCOMPARE(batch.shell("touch -d 2001-01-01 a.jpg && echo mine >a-sketch.jpg").exitCode, 0);
    const auto outcome = batch.run({"-v", "--newer", "a.jpg"});
    COMPARE_EXIT(outcome, 0);
    QVERIFY2(outcome.errors.contains("a.jpg: skipped: the output is not older\n"),
             outcome.errors.constData());
}

void tst_BatchOutputs::newerLeavesWhatCameMeanwhile()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.run({"-v", "--newer", "--fsync", "a.jpg"}, {},
                                   runningAt("fsync", "echo theirs >a-sketch.jpg"));
    COMPARE_EXIT(outcome, 0);
    QVERIFY2(outcome.errors.contains("a.jpg: skipped: "), outcome.errors.constData());
    QCOMPARE(batch.contents("a-sketch.jpg"), "theirs\n");
}

// That it changed is the reason why it cannot be decoded.
void tst_BatchOutputs::changedAndDamaged()
{
    const QByteArray photo = testphotos::encoded(testphotos::scene(1600, 1200), "png");
    int whileDecoding = 0;
    for (int read = 1; read <= 60; read += 6) {
        BatchProcess batch;
        batch.write("large.png", photo);
        batch.write("zeros", QByteArray(5000, '\0'));
        const QString damage =
            QStringLiteral("dd if=zeros of=large.png bs=1 conv=notrunc seek=%1 2>&-; touch cut");
        const auto outcome = batch.run(
            {"large.png"}, {},
            runningAt(QStringLiteral("read=%1").arg(read), damage.arg(photo.size() - 9000)));
        if (!batch.exists("cut"))
            break;
        COMPARE_EXIT(outcome, 1);
        if (outcome.errors == "large.png: is truncated\n") // found before it is decoded
            continue;
        QCOMPARE(outcome.errors, QByteArray("large.png: was changed while it was read\n"));
        ++whileDecoding;
    }
    QVERIFY(whileDecoding > 0);
}

void tst_BatchOutputs::changedPhotoOnStandardOutput()
{
    BatchProcess batch;
    batch.write("large.png", testphotos::encoded(testphotos::scene(600, 500), "png"));
    const auto outcome = batch.run({"-o", "-", "large.png"}, {},
                                   runningAt("read=3", "touch -d 2001-01-01 large.png"));
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("large.png: was changed while it was read\n"));
    QCOMPARE(outcome.output, QByteArray());
}

// It waits there until it is complete.
void tst_BatchOutputs::standardOutputNeedsMore()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg(4000, 3000));
    const auto need = [&](const char *output) {
        const auto outcome = batch.run({"--max-memory", "1M", "-o", output, "a.jpg"});
        static const QRegularExpression megabytes("needs (?:over )?(\\d+) MB");
        return megabytes.match(QString::fromUtf8(outcome.errors)).captured(1).toInt();
    };
    const int inFile = need("sketch.jpg");
    QVERIFY(inFile > 0);
    QVERIFY(need("-") >= inFile + 4000 * 3000 / 1'000'000 - 1);
}

CRAYVELL_TEST_MAIN(tst_BatchOutputs)
#include "tst_batchoutputs.moc"
