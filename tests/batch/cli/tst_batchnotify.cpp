#include <csignal>

#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// A stand-in for notify-send writes down what it is told.
class tst_BatchNotify : public QObject
{
    Q_OBJECT

private slots:
    void outcomeIsTold_data();
    void outcomeIsTold();
    void nothingIsToldUnasked_data();
    void nothingIsToldUnasked();
    void silentWithout();
    void desktopThatFails();
    void desktopThatDoesNotAnswer();

private:
    static void install(BatchProcess &batch, const QByteArray &commands);
    static QStringList path(const BatchProcess &batch);
};

void tst_BatchNotify::install(BatchProcess &batch, const QByteArray &commands)
{
    batch.write("bin/notify-send", "#!/bin/sh\n" + commands + "\n");
    QFile::setPermissions(batch.path("bin/notify-send"), QFile::ReadOwner | QFile::ExeOwner);
}

QStringList tst_BatchNotify::path(const BatchProcess &batch)
{
    return {"PATH=" + batch.path("bin") + ":/usr/bin:/bin"};
}

void tst_BatchNotify::outcomeIsTold_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("told");

    using List = QStringList;
    QTest::newRow("one made") << List {"a.jpg"} << 0 << QByteArray("1 sketch made\n");
    QTest::newRow("several made") << List {"a.jpg", "b.jpg"} << 0
                                  << QByteArray("2 sketches made\n");
    QTest::newRow("one skipped") << List {"a.jpg", "done.jpg"} << 0
                                 << QByteArray("1 sketch made\n1 photo skipped\n");
    QTest::newRow("all skipped") << List {"done.jpg", "done too.jpg"} << 0
                                 << QByteArray("No sketch made\n2 photos skipped\n");
    QTest::newRow("one failed, whose name is no markup")
        << List {"<b>&.jpg", "-q"} << 1
        << QByteArray("No sketch made\n"
                      "1 photo failed: &lt;b&gt;&amp;.jpg: is no picture of a known format\n");
    QTest::newRow("all three, two failed")
        << List {"a.jpg", "done.jpg", "-j", "1", "bad.jpg", "none.jpg"} << 1
        << QByteArray("1 sketch made\n1 photo skipped\n"
                      "2 photos failed, the first: bad.jpg: is no picture of a known format\n");
    QTest::newRow("outputs that collide")
        << List {"a.jpg", "./a.jpg"} << 2
        << QByteArray("No sketch made\n2 photos failed, the first: "
                      "a.jpg: has the same output as ./a.jpg: a-sketch.jpg\n");
    QTest::newRow("a folder without a place for its sketches")
        << List {"album"} << 2
        << QByteArray("No sketch made\nalbum is a folder, which needs --output-dir\n");
}

void tst_BatchNotify::outcomeIsTold()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, told);
    BatchProcess batch;
    for (const char *name : {"a.jpg", "b.jpg", "done.jpg", "done too.jpg", "album/c.jpg"})
        batch.write(name, testphotos::jpeg());
    batch.write("done-sketch.jpg", "mine");
    batch.write("done too-sketch.jpg", "mine");
    batch.write("bad.jpg", "no photo");
    batch.write("<b>&.jpg", "no photo");
    install(batch, "printf '%s\\n' \"$@\" >told; echo noise; echo noise >&2; exit 3");
    const QStringList skipping {"--notify", "--skip-existing"};
    const auto outcome = batch.run(skipping + arguments, {}, path(batch));
    COMPARE_EXIT(outcome, exitCode);
    QCOMPARE(outcome.output, QByteArray());
    QVERIFY(!outcome.errors.contains("noise"));
    QCOMPARE(batch.contents("told"), "--app-name=Crayvell\n--icon=image-x-generic\n--\n" + told);
}

void tst_BatchNotify::nothingIsToldUnasked_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("without the option") << QStringList {"a.jpg"};
    QTest::newRow("in a dry run") << QStringList {"--notify", "--dry-run", "a.jpg"};
    QTest::newRow("with the help") << QStringList {"--notify", "--help"};
}

void tst_BatchNotify::nothingIsToldUnasked()
{
    QFETCH(QStringList, arguments);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    install(batch, "echo >told");
    COMPARE_EXIT(batch.run(arguments, {}, path(batch)), 0);
    QVERIFY(!batch.exists("told"));
}

void tst_BatchNotify::silentWithout()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.run({"--notify", "a.jpg"}, {}, {"PATH=" + batch.path("none")});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.output + outcome.errors, QByteArray());
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchNotify::desktopThatFails()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    install(batch, "echo >told; kill -SEGV $$");
    const auto outcome = batch.run({"--notify", "a.jpg"}, {}, path(batch));
    COMPARE_EXIT(outcome, 0);
    QVERIFY(batch.exists("told"));
    QCOMPARE(outcome.output + outcome.errors, QByteArray());
}

// The run ends, and leaves nobody behind who waits for an answer.
void tst_BatchNotify::desktopThatDoesNotAnswer()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("bad.jpg", "no photo");
    install(batch, "echo $$ >told; exec sleep 1000");
    const auto outcome = batch.run({"--notify", "-q", "a.jpg", "bad.jpg"}, {}, path(batch));
    COMPARE_EXIT(outcome, 1);
    QVERIFY(batch.exists("a-sketch.jpg"));
    const pid_t child = batch.contents("told").trimmed().toInt();
    QVERIFY(child > 0);
    QCOMPARE(kill(child, 0), -1);
    QCOMPARE(errno, ESRCH);
}

CRAYVELL_TEST_MAIN(tst_BatchNotify)
#include "tst_batchnotify.moc"
