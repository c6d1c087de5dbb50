#include <QElapsedTimer>

#include <csignal>
#include <random>

#include "tests/batch/batchprocess.h"
#include "tests/batch/testphotos.h"
#include "tests/support/testmain.h"

namespace {

constexpr int photoCount = 6;

QString photoName(int index)
{
    return QStringLiteral("p/%1.jpg").arg(index);
}

QString sketchName(int index)
{
    return QStringLiteral("out/%1.jpg").arg(index);
}

} // namespace

// Stopped at any moment, every output is old, new or absent.
class tst_BatchKills : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void killedFiftyTimes_data();
    void killedFiftyTimes();
    void interrupted_data();
    void interrupted();
    void interruptedWithoutUnnamedFiles();
    void hangUpIsIgnoredUnderNohup();

private:
    void fill(BatchProcess &batch) const;
    void start(QProcess &process, const BatchProcess &batch, const QStringList &arguments) const;
    void compareOutputs(const BatchProcess &batch, const QByteArray &old) const;

    QByteArray m_photos[photoCount];
    QByteArray m_sketches[photoCount];
    qint64 m_duration = 0; // of an undisturbed run, milliseconds
};

void tst_BatchKills::initTestCase()
{
    for (int i = 0; i < photoCount; ++i)
        m_photos[i] = testphotos::jpeg(500 + 10 * i, 400, i);
    BatchProcess batch;
    fill(batch);
    QElapsedTimer clock;
    clock.start();
    COMPARE_EXIT(batch.run({"-j", "2", "--output-dir", "out", "p"}), 0);
    m_duration = clock.elapsed();
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
    process.start(BatchProcess::program(), arguments);
    QVERIFY(process.waitForStarted());
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
    std::uniform_int_distribution<qint64> moment(0, m_duration * 5 / 4 * 1000);
    int killed = 0;
    for (int i = 0; i < 50; ++i) {
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
        const QStringList again {"--skip-existing", "--output-dir", "out", "p"};
        COMPARE_EXIT(batch.run(old.isEmpty() ? again : again + mode.mid(1)), 0);
        for (int k = 0; k < photoCount && old.isEmpty(); ++k)
            QCOMPARE(batch.contents(sketchName(k)), m_sketches[k]);
    }
    QVERIFY2(killed >= 20, QByteArray::number(killed).constData());
}

void tst_BatchKills::interrupted_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("SIGINT") << SIGINT << 130;
    QTest::newRow("SIGTERM") << SIGTERM << 143;
    QTest::newRow("SIGHUP") << SIGHUP << 129;
}

void tst_BatchKills::interrupted()
{
    QFETCH(int, signal);
    QFETCH(int, exitCode);
    BatchProcess batch;
    fill(batch);
    // The first sketch is reported long before the last one is done.
    for (int i = 0; i < 40; ++i)
        batch.write(QStringLiteral("p/more%1.jpg").arg(i), m_photos[0]);
    QProcess process;
    start(process, batch, {"-v", "-j", "2", "--output-dir", "out", "p"});
    QVERIFY(process.waitForReadyRead(20000) || !process.readAllStandardError().isEmpty());
    kill(static_cast<pid_t>(process.processId()), signal);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), exitCode);
    compareOutputs(batch, {});
    const QStringList files = batch.files();
    QVERIFY(files.filter("out/").size() < photoCount + 40);
    QVERIFY(files.filter(".crayvell-").isEmpty());
}

// Where files cannot do without a name for a while, they must be removed.
void tst_BatchKills::interruptedWithoutUnnamedFiles()
{
    BatchProcess batch;
    fill(batch);
    QProcess process;
    process.setWorkingDirectory(batch.folder.path());
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert("CRAYVELL_NAMED_TEMPORARIES", "1");
    process.setProcessEnvironment(variables);
    // A fifo that nobody reads as standard output of --json holds the run up.
    process.start(BatchProcess::program(), {"-j", "2", "--output-dir", "out", "p"});
    QVERIFY(process.waitForStarted());
    QElapsedTimer clock;
    clock.start();
    while (batch.files().filter(".crayvell-").isEmpty() && clock.elapsed() < 10000
           && process.state() == QProcess::Running) { }
    kill(static_cast<pid_t>(process.processId()), SIGTERM);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 143);
    QVERIFY(batch.files().filter(".crayvell-").isEmpty());
    compareOutputs(batch, {});
}

void tst_BatchKills::hangUpIsIgnoredUnderNohup()
{
    if (QStandardPaths::findExecutable("nohup").isEmpty())
        QSKIP("nohup is not installed");
    BatchProcess batch;
    fill(batch);
    const auto outcome = batch.shell(
        "nohup \"$batch\" --output-dir out p >log 2>&1 & kill -HUP $!; wait $!");
    COMPARE_EXIT(outcome, 0);
    compareOutputs(batch, {});
    QCOMPARE(batch.contents(sketchName(photoCount - 1)), m_sketches[photoCount - 1]);
}

CRAYVELL_TEST_MAIN(tst_BatchKills)
#include "tst_batchkills.moc"
