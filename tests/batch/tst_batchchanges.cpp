#include "tests/batch/failingcalls.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// Names that lead elsewhere than they did when the run was planned.
class tst_BatchChanges : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void changedOutputStays_data();
    void changedOutputStays();
    void knownLinkIsFollowed();
    void vanishedOutputIsMadeAnew();
    void newLinkToNowhereStays();
    void outputThatCannotBeLookedAtStays();
    void newOutputStays();
    void newerLeavesWhatAnotherRunMade();
};

void tst_BatchChanges::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
}

void tst_BatchChanges::changedOutputStays_data()
{
    QTest::addColumn<QString>("moment");
    QTest::addColumn<QString>("change");

    const std::pair<const char *, const char *> changes[] = {
        {"a symbolic link to the photo", "ln -sf ../a.jpg out/a.jpg"},
        {"a symbolic link to another photo", "ln -sf ../b.jpg out/a.jpg"},
        {"a hard link to the photo", "ln -f a.jpg out/a.jpg"},
        {"another file", "echo theirs >t && mv t out/a.jpg"},
        {"a folder that leads to the photos", "mv out former && ln -s . out"},
        {"a pipe", "rm out/a.jpg && mkfifo out/a.jpg"},
    };
    for (const auto &[name, change] : changes) {
        QTest::addRow("%s, before the work", name) << "a.jpg" << change;
        QTest::addRow("%s, before the end", name) << "fsync" << change;
    }
}

void tst_BatchChanges::changedOutputStays()
{
    QFETCH(QString, moment);
    QFETCH(QString, change);
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    const QByteArray other = testphotos::jpeg(50, 40, 2);
    batch.write("a.jpg", photo);
    batch.write("b.jpg", other);
    // Even a copy, of the same size and time, is another file.
    QCOMPARE(batch.shell("mkdir out && cp -p a.jpg out/a.jpg").exitCode, 0);
    const auto outcome =
        batch.run({"-j", "1", "--fsync", "--overwrite", "--output-dir", "out", "a.jpg", "b.jpg"},
                  {}, runningAt(moment, change));
    QCOMPARE(batch.contents("a.jpg"), photo);
    QCOMPARE(batch.contents("b.jpg"), other);
    if (moment == "fsync" && change.startsWith("mv out")) {
        // The folder was found before; the sketch is in it, wherever it is now.
        QCOMPARE(QImage(batch.path("former/a.jpg")).size(), QSize(64, 48));
        QVERIFY(batch.contents("former/a.jpg") != photo);
        COMPARE_EXIT(outcome, 1);
        QVERIFY2(outcome.errors.startsWith("b.jpg: the output out/b.jpg exists already"),
                 outcome.errors.constData());
        return;
    }
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.startsWith("a.jpg: the output changed meanwhile\n"),
             outcome.errors.constData());
    if (change.contains("theirs"))
        QCOMPARE(batch.contents("out/a.jpg"), "theirs\n");
    QVERIFY(batch.files().filter(".crayvell-").isEmpty());
}

void tst_BatchChanges::knownLinkIsFollowed()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("store/real.jpg", "mine");
    batch.write("other", "theirs");
    QVERIFY(QFile::link("store/real.jpg", batch.path("a-sketch.jpg")));
    COMPARE_EXIT(batch.run({"--overwrite", "a.jpg"}), 0);
    QCOMPARE(QImage(batch.path("store/real.jpg")).size(), QSize(64, 48));
    // The same link, led elsewhere.
    const auto outcome =
        batch.run({"--overwrite", "a.jpg"}, {}, runningAt("a.jpg", "ln -sf other a-sketch.jpg"));
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(batch.contents("other"), "theirs");
    QVERIFY(QFileInfo(batch.path("a-sketch.jpg")).isSymLink());
}

void tst_BatchChanges::vanishedOutputIsMadeAnew()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    for (const char *moment : {"a.jpg", "fsync"}) {
        batch.write("a-sketch.jpg", "mine");
        COMPARE_EXIT(batch.run({"--fsync", "--overwrite", "a.jpg"}, {},
                               runningAt(moment, "rm a-sketch.jpg && touch gone")),
                     0);
        QVERIFY(QFile::remove(batch.path("gone")));
        QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(64, 48));
    }
}

void tst_BatchChanges::outputThatCannotBeLookedAtStays()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("a-sketch.jpg", "mine");
    const auto outcome = batch.run({"--overwrite", "a.jpg"}, {}, failingCalls("fstatat"));
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("a.jpg: cannot replace the output: Input/output error\n"));
    QCOMPARE(batch.contents("a-sketch.jpg"), "mine");
    QCOMPARE(batch.files(), QStringList({"a-sketch.jpg", "a.jpg"}));
}

void tst_BatchChanges::newLinkToNowhereStays()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome =
        batch.run({"--overwrite", "a.jpg"}, {}, runningAt("a.jpg", "ln -s nowhere a-sketch.jpg"));
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("a.jpg: the output is a link that leads nowhere\n"));
    QVERIFY(!batch.exists("nowhere"));
    QCOMPARE(batch.files(), QStringList({"a-sketch.jpg", "a.jpg"}));
}

void tst_BatchChanges::newOutputStays()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    for (const char *mode : {"--fsync", "--overwrite"}) {
        const auto outcome = batch.run({"--fsync", mode, "a.jpg"}, {},
                                       runningAt("fsync", "echo theirs >a-sketch.jpg"));
        COMPARE_EXIT(outcome, 1);
        QCOMPARE(
            outcome.errors,
            QByteArray("a.jpg: the output a-sketch.jpg exists already; --overwrite replaces it, "
                       "--skip-existing leaves it\n"));
        QCOMPARE(batch.contents("a-sketch.jpg"), "theirs\n");
        QVERIFY(QFile::remove(batch.path("a-sketch.jpg")));
    }
}

void tst_BatchChanges::newerLeavesWhatAnotherRunMade()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    for (const char *moment : {"a.jpg", "fsync"}) {
        QCOMPARE(batch.shell("echo old >a-sketch.jpg && touch -d 2001-01-01 a-sketch.jpg").exitCode,
                 0);
        const auto outcome = batch.run({"-v", "--newer", "--fsync", "a.jpg"}, {},
                                       runningAt(moment, "echo theirs >t && mv t a-sketch.jpg"));
        COMPARE_EXIT(outcome, 0);
        QVERIFY2(outcome.errors.contains("a.jpg: skipped: the output changed meanwhile"),
                 outcome.errors.constData());
        QCOMPARE(batch.contents("a-sketch.jpg"), "theirs\n");
    }
}

CRAYVELL_TEST_MAIN(tst_BatchChanges)
#include "tst_batchchanges.moc"
