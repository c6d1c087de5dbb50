#include <QElapsedTimer>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <random>
#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr int photoCount = 4;
constexpr int furtherPhotos = 300; // of a run that takes long

QString photoName(int index)
{
    return QStringLiteral("p/%1.jpg").arg(index);
}

QString sketchName(int index)
{
    return QStringLiteral("out/%1.jpg").arg(index);
}

// R for one that runs, S for one that waits.
char stateOf(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    const QByteArray line = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return line.mid(line.lastIndexOf(") ") + 2).left(1).append('?')[0];
}

// A pipe that nobody reads.
class UnreadPipe
{
    Q_DISABLE_COPY_MOVE(UnreadPipe)

public:
    UnreadPipe()
    {
        if (pipe2(m_ends, O_CLOEXEC) != 0)
            qFatal("no pipe");
    }
    ~UnreadPipe()
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }
    int writingEnd() const { return m_ends[1]; }
    bool isFull() const
    {
        pollfd writing {m_ends[1], POLLOUT, 0};
        return poll(&writing, 1, 0) == 0;
    }

private:
    int m_ends[2] {};
};

} // namespace

// Stopped at any moment, every output is old, new or absent.
class tst_BatchKills : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void killedManyTimes_data();
    void killedManyTimes();
    void interrupted_data();
    void interrupted();
    void shellLoopStops();
    void ignoredSignalIsLeftAlone_data();
    void ignoredSignalIsLeftAlone();
    void interruptedWhileNobodyReads();

private:
    void fill(BatchProcess &batch) const;
    void fillForLong(BatchProcess &batch) const;
    void start(QProcess &process, const BatchProcess &batch, const QStringList &arguments) const;
    void startReading(QProcess &process, const BatchProcess &batch, QStringList command,
                      int ignored) const;
    void compareOutputs(const BatchProcess &batch, const QByteArray &old) const;

    const QByteArray m_large = testphotos::jpeg(1200, 900);
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
    for (int i = 0; i < furtherPhotos; ++i)
        batch.write(QStringLiteral("p/more%1.jpg").arg(i), m_photos[0]);
}

void tst_BatchKills::compareOutputs(const BatchProcess &batch, const QByteArray &old) const
{
    for (int i = 0; i < photoCount; ++i) {
        const QByteArray output = batch.contents(sketchName(i));
        const bool isOld = old.isEmpty() ? !batch.exists(sketchName(i)) : output == old;
        QVERIFY2(isOld || output == m_sketches[i], qPrintable(sketchName(i)));
        QCOMPARE(batch.contents(photoName(i)), m_photos[i]);
    }
}

void tst_BatchKills::killedManyTimes_data()
{
    QTest::addColumn<QStringList>("mode");
    QTest::addColumn<QByteArray>("old");

    QTest::newRow("new outputs") << QStringList {} << QByteArray();
    QTest::newRow("outputs replaced") << QStringList {"--overwrite"} << QByteArray("mine");
}

// With two threads at work; tst_batchkilledcalls strikes one between any two of its calls.
void tst_BatchKills::killedManyTimes()
{
    QFETCH(QStringList, mode);
    QFETCH(QByteArray, old);
    std::mt19937 random(1); // the moments differ anyway, with the machine's load
    qint64 longest = m_duration; // the machine may have become faster
    int killed = 0;
    for (int run = 0; killed < 20; ++run) {
        QVERIFY2(run < 500, "the runs end before they are killed");
        BatchProcess batch;
        fill(batch);
        for (int k = 0; k < photoCount && !old.isEmpty(); ++k)
            batch.write(sketchName(k), old);
        QProcess process;
        start(process, batch, QStringList {"-j", "2", "--output-dir", "out", "p"} + mode);
        QElapsedTimer clock;
        clock.start();
        const qint64 wait = std::uniform_int_distribution<qint64>(0, longest)(random);
        while (clock.nsecsElapsed() / 1000 < wait && process.state() == QProcess::Running)
            process.waitForFinished(1);
        if (process.state() != QProcess::Running)
            longest = clock.nsecsElapsed() / 1000;
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
    QVERIFY(files.filter("out/").size() < photoCount + furtherPhotos);
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

// Starts the program on a photo from standard input that is about to end: it has read some
// of it, as a pipe does not hold it all, and waits for the rest.
void tst_BatchKills::startReading(QProcess &process, const BatchProcess &batch, QStringList command,
                                  int ignored) const
{
    process.setWorkingDirectory(batch.folder.path());
    process.setChildProcessModifier([ignored] {
        BatchProcess::hearSignals();
        if (ignored)
            signal(ignored, SIG_IGN);
    });
    command << BatchProcess::program() << QStringLiteral("-o") << QStringLiteral("o.jpg")
            << QStringLiteral("-");
    process.start(command.takeFirst(), command);
    QVERIFY(process.waitForStarted());
    QCOMPARE(process.write(m_large.chopped(1)), m_large.size() - 1);
    while (process.bytesToWrite() > 0)
        QVERIFY(process.waitForBytesWritten());
}

void tst_BatchKills::ignoredSignalIsLeftAlone_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("ignored"); // by the caller; nohup does that itself

    QTest::newRow("SIGINT, as in the background of a script") << QStringList() << SIGINT << SIGINT;
    QTest::newRow("SIGHUP") << QStringList() << SIGHUP << SIGHUP;
    QTest::newRow("SIGHUP under nohup") << QStringList {"nohup"} << SIGHUP << 0;
    QTest::newRow("SIGTERM") << QStringList() << SIGTERM << SIGTERM;
}

void tst_BatchKills::ignoredSignalIsLeftAlone()
{
    QFETCH(QStringList, command);
    QFETCH(int, number);
    QFETCH(int, ignored);
    QVERIFY(m_large.size() > 2 * 65536);
    BatchProcess batch;
    QProcess process;
    startReading(process, batch, command, ignored);
    kill(static_cast<pid_t>(process.processId()), number);
    process.write(m_large.right(1));
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(QImage(batch.path("o.jpg")).size(), QSize(1200, 900));

    QVERIFY(QFile::remove(batch.path("o.jpg")));
    // The higher number waits for the lower one: that would be what ends the program.
    startReading(process, batch, command, ignored);
    kill(static_cast<pid_t>(process.processId()), number);
    kill(static_cast<pid_t>(process.processId()), SIGRTMIN);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), SIGRTMIN);
}

// A reader of the JSON that has stopped reading keeps nobody from ending it.
void tst_BatchKills::interruptedWhileNobodyReads()
{
    BatchProcess batch;
    QByteArray list;
    for (int i = 0; i < 2000; ++i)
        list += QByteArray(100, 'm') + QByteArray::number(i) + '\n'; // more than a pipe holds
    batch.write("list", list);
    const UnreadPipe json;
    QProcess process;
    process.setWorkingDirectory(batch.folder.path());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setChildProcessModifier([&json] {
        BatchProcess::hearSignals();
        dup2(json.writingEnd(), STDOUT_FILENO);
    });
    process.start(BatchProcess::program(), {"-j", "1", "--json", "--files-from", "list"});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(json.isFull() && stateOf(process.processId()) == 'S', 60000);
    kill(static_cast<pid_t>(process.processId()), SIGTERM);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), SIGTERM);
}

CRAYVELL_TEST_MAIN(tst_BatchKills)
#include "tst_batchkills.moc"
