#include <QElapsedTimer>

#include <csignal>
#include <random>
#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr int photoCount = 4;

QString photoName(int index)
{
    return QStringLiteral("p/%1.jpg").arg(index);
}

QString sketchName(int index)
{
    return QStringLiteral("out/%1.jpg").arg(index);
}

// Begins a command of the shell that ends with a single quote.
const QString hiddenProc = QStringLiteral("unshare -m sh -c 'mount -t tmpfs none /proc && ");

} // namespace

// Stopped at any moment, every output is old, new or absent.
class tst_BatchKills : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void killedFiftyTimes_data();
    void killedFiftyTimes();
    void interrupted_data();
    void interrupted();
    void shellLoopStops();
    void ignoredSignalIsLeftAlone_data();
    void ignoredSignalIsLeftAlone();
    void interruptedWhileNobodyReads();
    void interruptedWithNamedFiles();
    void namedFilesKeepTheRules();
    void hangUpIsIgnoredUnderNohup();

private:
    void fill(BatchProcess &batch) const;
    void fillForLong(BatchProcess &batch) const;
    void start(QProcess &process, const BatchProcess &batch, const QStringList &arguments) const;
    static bool canHideProc(BatchProcess &batch);
    void compareOutputs(const BatchProcess &batch, const QByteArray &old) const;

    QByteArray m_photos[photoCount];
    QByteArray m_sketches[photoCount];
    qint64 m_duration = 0; // of an undisturbed run, microseconds
};

void tst_BatchKills::initTestCase()
{
    for (int i = 0; i < photoCount; ++i)
        m_photos[i] = testphotos::jpeg(400 + 10 * i, 300, i);
    BatchProcess batch;
    fill(batch);
    // The first run has the program itself to load.
    for (int i = 0; i < 3; ++i) {
        QElapsedTimer clock;
        clock.start();
        COMPARE_EXIT(batch.run({"-j", "2", "--overwrite", "--output-dir", "out", "p"}), 0);
        m_duration = clock.nsecsElapsed() / 1000;
    }
    for (int i = 0; i < photoCount; ++i)
        m_sketches[i] = batch.contents(sketchName(i));
}

void tst_BatchKills::fill(BatchProcess &batch) const
{
    for (int i = 0; i < photoCount; ++i)
        batch.write(photoName(i), m_photos[i]);
}

void tst_BatchKills::start(QProcess &process, const BatchProcess &batch,
                           const QStringList &arguments) const
{
    process.setWorkingDirectory(batch.folder.path());
    process.setChildProcessModifier(BatchProcess::hearSignals);
    process.start(BatchProcess::program(), arguments);
    QVERIFY(process.waitForStarted());
}

// With photos enough that the first sketch is reported long before the last one is done.
void tst_BatchKills::fillForLong(BatchProcess &batch) const
{
    fill(batch);
    for (int i = 0; i < 40; ++i)
        batch.write(QStringLiteral("p/more%1.jpg").arg(i), m_photos[0]);
}

void tst_BatchKills::compareOutputs(const BatchProcess &batch, const QByteArray &old) const
{
    for (int i = 0; i < photoCount; ++i) {
        const QByteArray output = batch.contents(sketchName(i));
        QVERIFY2(output == old || output == m_sketches[i], qPrintable(sketchName(i)));
        QCOMPARE(batch.contents(photoName(i)), m_photos[i]);
    }
}

void tst_BatchKills::killedFiftyTimes_data()
{
    QTest::addColumn<QStringList>("mode");
    QTest::addColumn<QByteArray>("old");

    QTest::newRow("new outputs") << QStringList {} << QByteArray();
    QTest::newRow("outputs replaced") << QStringList {"--overwrite"} << QByteArray("mine");
}

void tst_BatchKills::killedFiftyTimes()
{
    QFETCH(QStringList, mode);
    QFETCH(QByteArray, old);
    std::mt19937 random(1); // the moments differ anyway, with the machine's load
    std::uniform_int_distribution<qint64> moment(0, m_duration);
    int killed = 0;
    for (int run = 0; killed < 50; ++run) {
        QVERIFY2(run < 500, "the runs end before they are killed");
        BatchProcess batch;
        fill(batch);
        for (int k = 0; k < photoCount && !old.isEmpty(); ++k)
            batch.write(sketchName(k), old);
        QProcess process;
        start(process, batch, QStringList {"-j", "2", "--output-dir", "out", "p"} + mode);
        QElapsedTimer clock;
        clock.start();
        const qint64 wait = moment(random);
        while (clock.nsecsElapsed() / 1000 < wait)
            process.waitForFinished(1);
        process.kill();
        process.waitForFinished();
        killed += process.exitStatus() == QProcess::CrashExit;
        compareOutputs(batch, old);
        if (QTest::currentTestFailed())
            return;
        if (!old.isEmpty())
            continue;
        COMPARE_EXIT(batch.run({"--skip-existing", "--output-dir", "out", "p"}), 0);
        for (int k = 0; k < photoCount; ++k)
            QCOMPARE(batch.contents(sketchName(k)), m_sketches[k]);
    }
}

void tst_BatchKills::interrupted_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_BatchKills::interrupted()
{
    QFETCH(int, signal);
    BatchProcess batch;
    fillForLong(batch);
    QProcess process;
    start(process, batch, {"-v", "-j", "2", "--output-dir", "out", "p"});
    process.setReadChannel(QProcess::StandardError);
    QVERIFY(process.waitForReadyRead(20000));
    QVERIFY(process.processId() > 0);
    kill(static_cast<pid_t>(process.processId()), signal);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), signal);
    compareOutputs(batch, {});
    const QStringList files = batch.files();
    QVERIFY(files.filter("out/").size() < photoCount + 40);
    QVERIFY(files.filter(".crayvell-").isEmpty());
}

// Ctrl+C reaches the shell and the program; the shell ends when the program does by
// the signal, and goes on when that only says so.
void tst_BatchKills::shellLoopStops()
{
    BatchProcess batch;
    fillForLong(batch);
    QProcess shell;
    shell.setWorkingDirectory(batch.folder.path());
    shell.setChildProcessModifier([] {
        BatchProcess::hearSignals();
        setpgid(0, 0);
    });
    shell.start(
        "bash",
        {"-c", "for i in 1 2 3; do \"$0\" -v -j 2 --overwrite --output-dir out p; echo next; done",
         BatchProcess::program()});
    QVERIFY(shell.waitForStarted());
    shell.setReadChannel(QProcess::StandardError);
    QVERIFY(shell.waitForReadyRead(20000));
    QVERIFY(shell.processId() > 0);
    kill(static_cast<pid_t>(-shell.processId()), SIGINT);
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.readAllStandardOutput(), QByteArray());
    QCOMPARE(shell.exitStatus(), QProcess::CrashExit);
    QCOMPARE(shell.exitCode(), SIGINT);
}

void tst_BatchKills::ignoredSignalIsLeftAlone_data()
{
    QTest::addColumn<int>("ignored");

    QTest::newRow("SIGINT, as in the background of a script") << SIGINT;
    QTest::newRow("SIGHUP, as under nohup") << SIGHUP;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void tst_BatchKills::ignoredSignalIsLeftAlone()
{
    QFETCH(int, ignored);
    BatchProcess batch;
    fillForLong(batch);
    QProcess process;
    process.setWorkingDirectory(batch.folder.path());
    process.setChildProcessModifier([ignored] { signal(ignored, SIG_IGN); });
    process.start(BatchProcess::program(), {"-v", "-j", "2", "--output-dir", "out", "p"});
    process.setReadChannel(QProcess::StandardError);
    QVERIFY(process.waitForReadyRead(20000));
    QVERIFY(process.processId() > 0);
    kill(static_cast<pid_t>(process.processId()), ignored);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(batch.files().filter("out/").size(), photoCount + 40);
}

// A reader of the JSON that has stopped reading keeps nobody from ending it.
void tst_BatchKills::interruptedWhileNobodyReads()
{
    BatchProcess batch;
    fill(batch);
    QByteArray list;
    for (int i = 0; i < 2000; ++i)
        list += QByteArray(100, 'm') + QByteArray::number(i) + '\n'; // more than a pipe holds
    batch.write("list", list);
    // The log tells when the program has come to a stop: it does not grow any more.
    const auto outcome =
        batch.shell("mkfifo pipe; exec 3<>pipe; : >log;"
                    " timeout --foreground --preserve-status -s KILL 100"
                    " \"$batch\" --quiet --json --files-from list >pipe 2>log &"
                    " child=$!; lines=0; unchanged=0;"
                    " while [ $unchanged -lt 200 ]; do"
                    "   before=$lines; lines=$(wc -l <log);"
                    "   if [ \"$lines\" -gt 0 ] && [ \"$lines\" = \"$before\" ];"
                    "   then unchanged=$((unchanged + 1)); else unchanged=0; fi;"
                    " done; [ \"$lines\" -lt 2000 ] || exit 99; kill -TERM $child; wait $child");
    COMPARE_EXIT(outcome, 143);
}

// Without /proc a file needs a name from its beginning.
bool tst_BatchKills::canHideProc(BatchProcess &batch)
{
    return geteuid() == 0 && batch.shell(hiddenProc + "\"$batch\" --version'").exitCode == 0;
}

void tst_BatchKills::interruptedWithNamedFiles()
{
    BatchProcess batch;
    if (!canHideProc(batch))
        QSKIP("hiding /proc needs root and a build without sanitizers");
    fill(batch);
    QProcess process;
    process.setWorkingDirectory(batch.folder.path());
    process.start("sh",
                  {"-c",
                   "batch=" + BatchProcess::program() + "; export batch; exec " + hiddenProc
                       + "exec \"$batch\" -j 2 --output-dir out p'"});
    QVERIFY(process.waitForStarted());
    const auto temporaries = [&] { return batch.files().filter(".crayvell-").size(); };
    QElapsedTimer clock;
    clock.start();
    while (temporaries() == 0 && clock.elapsed() < 10000)
        process.waitForFinished(1);
    QVERIFY(process.processId() > 0);
    kill(static_cast<pid_t>(process.processId()), SIGTERM);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), SIGTERM);
    QCOMPARE(temporaries(), 0);
    compareOutputs(batch, {});
}

void tst_BatchKills::namedFilesKeepTheRules()
{
    BatchProcess batch;
    if (!canHideProc(batch))
        QSKIP("hiding /proc needs root and a build without sanitizers");
    fill(batch);
    const auto run = [&](const QString &mode) {
        return batch.shell(hiddenProc + "\"$batch\" " + mode + " --output-dir out p'");
    };
    COMPARE_EXIT(run(""), 0);
    QCOMPARE(batch.contents(sketchName(0)), m_sketches[0]);
    batch.write(sketchName(1), "mine");
    COMPARE_EXIT(run(""), 1);
    QCOMPARE(batch.contents(sketchName(1)), "mine");
    COMPARE_EXIT(run("--overwrite"), 0);
    QCOMPARE(batch.contents(sketchName(1)), m_sketches[1]);
    batch.write("p/0.jpg", m_photos[0].chopped(100));
    COMPARE_EXIT(run("--overwrite"), 1);
    QCOMPARE(batch.contents(sketchName(0)), m_sketches[0]);
    QCOMPARE(batch.files().size(), 2 * photoCount);
}

void tst_BatchKills::hangUpIsIgnoredUnderNohup()
{
    BatchProcess batch;
    fill(batch);
    // What nohup does, without a moment at which the signal would still count.
    const auto outcome = batch.shell("trap '' HUP; \"$batch\" --output-dir out p & kill -HUP $!;"
                                     " wait $!");
    COMPARE_EXIT(outcome, 0);
    compareOutputs(batch, {});
    QCOMPARE(batch.contents(sketchName(photoCount - 1)), m_sketches[photoCount - 1]);
}

CRAYVELL_TEST_MAIN(tst_BatchKills)
#include "tst_batchkills.moc"
