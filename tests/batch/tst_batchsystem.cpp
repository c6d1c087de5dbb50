#include <csignal>

#include "tests/batch/failingcalls.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// A system that refuses what it usually gives.
class tst_BatchSystem : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fewThreads_data();
    void fewThreads();
    void littleAddressSpace_data();
    void littleAddressSpace();
    void removedWorkingFolder_data();
    void removedWorkingFolder();
    void unreadableLists_data();
    void unreadableLists();
    void danglingLinksOfFolders();
    void streamsThatDoNotBlock_data();
    void streamsThatDoNotBlock();
    void interruptedWhileAPipeIsFull();
    void endingSignals_data();
    void endingSignals();
    void ignoredSignals();
    void poorFileSystems_data();
    void poorFileSystems();
    void helpThatNobodyTakes();

private:
    QByteArray m_sketch;
};

void tst_BatchSystem::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    m_sketch = batch.contents("a-sketch.jpg");
}

void tst_BatchSystem::fewThreads_data()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<QByteArray>("note");

    QTest::newRow("none at all") << 0 << QByteArray("works on 1 photo at a time, not on 8");
    QTest::newRow("one, for the signals")
        << 1 << QByteArray("works on 1 photo at a time, not on 8");
    QTest::newRow("some") << 4 << QByteArray("works on 4 photos at a time, not on 8");
}

void tst_BatchSystem::fewThreads()
{
    QFETCH(int, threads);
    QFETCH(QByteArray, note);
    BatchProcess batch;
    for (int i = 0; i < 8; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg());
    const auto run = [&](const QStringList &options) {
        return batch.run(QStringList {"-j", "8", "--overwrite", "--output-dir", "out", "p"}
                             + options,
                         {}, failingCalls(QStringLiteral("thread=%1").arg(threads)));
    };
    const auto outcome = run({});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    QCOMPARE(batch.contents("out/7.jpg"), m_sketch);
    const auto verbose = run({"-v"});
    COMPARE_EXIT(verbose, 0);
    QVERIFY2(verbose.errors.contains(note), verbose.errors.constData());
}

void tst_BatchSystem::littleAddressSpace_data()
{
    QTest::addColumn<int>("megabytes");

    for (const int megabytes : {120, 160, 250, 400})
        QTest::addRow("%d MB", megabytes) << megabytes;
}

// Whatever becomes of the photos, the program says so and ends by itself.
void tst_BatchSystem::littleAddressSpace()
{
    QFETCH(int, megabytes);
    BatchProcess batch;
    for (int i = 0; i < 8; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg());
    const auto outcome =
        batch.shell(QStringLiteral("ulimit -v %1; exec \"$batch\" -j 64 --output-dir out p")
                        .arg(megabytes << 10));
    QVERIFY2(outcome.exitCode == 0 || (outcome.exitCode == 1 && !outcome.errors.isEmpty()),
             QByteArray::number(outcome.exitCode) + ": " + outcome.errors);
    QCOMPARE(outcome.exitCode == 0, batch.files().filter("out/").size() == 8);
    QVERIFY2(outcome.exitCode == 0 || megabytes < 400, outcome.errors.constData());
}

void tst_BatchSystem::removedWorkingFolder_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("reason");

    QTest::newRow("all elsewhere") << "-o \"$top/b.jpg\" \"$top/a.jpg\"" << 0 << QByteArray();
    QTest::newRow("an output here")
        << "-o b.jpg \"$top/a.jpg\"" << 1
        << QByteArray("a.jpg: cannot write to the folder of the output: "
                      "No such file or directory\n");
    QTest::newRow("an output folder here")
        << "--output-dir out \"$top/a.jpg\"" << 1
        << QByteArray("a.jpg: cannot make the folder out: No such file or directory\n");
    QTest::newRow("a photo here") << "a.jpg" << 1
                                  << QByteArray(
                                         "a.jpg: cannot be read: No such file or directory\n");
    QTest::newRow("the folder itself") << "--output-dir \"$top/out\" ." << 0 << QByteArray();
}

void tst_BatchSystem::removedWorkingFolder()
{
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, reason);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.shell("top=$PWD; mkdir gone && cd gone && rmdir ../gone && "
                                     "exec \"$batch\" "
                                     + arguments);
    COMPARE_EXIT(outcome, exitCode);
    QVERIFY2(outcome.errors.endsWith(reason), outcome.errors.constData());
    QCOMPARE(outcome.errors.isEmpty(), exitCode == 0);
    QCOMPARE(batch.contents("b.jpg"), exitCode == 0 && arguments.startsWith("-o") ? m_sketch : "");
}

void tst_BatchSystem::unreadableLists_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<QByteArray>("reason");

    QTest::newRow("a folder") << "." << QByteArray(". cannot be read: Is a directory");
    QTest::newRow("a folder as standard input")
        << "- <." << QByteArray("- cannot be read: Is a directory");
    QTest::newRow("a closed standard input")
        << "- <&-" << QByteArray("- cannot be read: Bad file descriptor");
    QTest::newRow("a file with read errors")
        << "/proc/self/mem" << QByteArray("/proc/self/mem cannot be read: Input/output error");
    QTest::newRow("a missing file")
        << "none" << QByteArray("none cannot be read: No such file or directory");
    QTest::newRow("no list of names") << "/dev/zero" << QByteArray("/dev/zero is no list of names");
}

void tst_BatchSystem::unreadableLists()
{
    QFETCH(QString, list);
    QFETCH(QByteArray, reason);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome =
        batch.shell("ulimit -v 2000000; exec \"$batch\" a.jpg --files-from " + list);
    COMPARE_EXIT(outcome, 2);
    QVERIFY2(outcome.errors.contains("--files-from: " + reason + "\n"), outcome.errors.constData());
    QVERIFY(!batch.exists("a-sketch.jpg"));
}

void tst_BatchSystem::danglingLinksOfFolders()
{
    BatchProcess batch;
    batch.write("p/a.jpg", testphotos::jpeg());
    QVERIFY(QFile::link("nowhere", batch.path("p/x.jpg")));
    QVERIFY(QFile::link("nowhere", batch.path("p/notes")));
    const auto outcome = batch.run({"-v", "--output-dir", "out", "p"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY(outcome.errors.contains("p/x.jpg: cannot be read: No such file or directory\n"));
    QVERIFY(outcome.errors.contains("p/notes: left out: is no photo\n"));
    QCOMPARE(batch.contents("out/a.jpg"), m_sketch);
}

namespace {

constexpr int pipeBytes = 65536;

} // namespace

void tst_BatchSystem::streamsThatDoNotBlock_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<int>("leastBytes");

    QTest::newRow("a picture") << "-o - large.jpg" << 0 << pipeBytes;
    QTest::newRow("messages") << "--files-from missing 2>&1" << 1 << pipeBytes;
    QTest::newRow("JSON") << "--json --files-from missing 2>/dev/null" << 1 << pipeBytes;
    QTest::newRow("the list") << "--files-from - <missing 2>&1" << 1 << pipeBytes;
    QTest::newRow("the help") << "--help" << 0 << 1000;
}

// The end of a pipe that does not block is set so for all that have it.
void tst_BatchSystem::streamsThatDoNotBlock()
{
    if (QStandardPaths::findExecutable("python3").isEmpty())
        QSKIP("python3 makes the pipe that does not block, and is not installed");
    QFETCH(QString, arguments);
    BatchProcess batch;
    batch.write("large.jpg", testphotos::jpeg(1200, 900));
    QByteArray list;
    for (int i = 0; i < 3000; ++i)
        list += QByteArray(60, 'm') + QByteArray::number(i) + '\n'; // more than a pipe holds
    batch.write("missing", list);
    const auto ordinary = batch.shell("\"$batch\" " + arguments);
    QTEST(ordinary.exitCode, "exitCode");
    QFETCH(int, leastBytes);
    QVERIFY2(ordinary.output.size() > leastBytes, QByteArray::number(ordinary.output.size()));
    batch.write("run.py", R"(
import os, select, subprocess, sys
reading, writing = os.pipe()
os.set_blocking(writing, False)
filled = 0
while sys.argv[2] == 'full' and select.select([], [writing], [], 0)[1]:
    filled += os.write(writing, b' ' * 4096)
child = subprocess.Popen(['sh', '-c', 'exec "$batch" ' + sys.argv[1]], stdout=writing)

def waits():
    with open(f'/proc/{child.pid}/stat') as stat:
        return stat.read().rpartition(')')[2].split()[0] == 'S'

# Only when it is full, and the program waits for it to be emptied, does anybody read.
while select.select([], [writing], [], 0)[1] or filled and not waits():
    if child.poll() is not None:
        break
os.close(writing)
output = b''
while portion := os.read(reading, 1 << 16):
    output += portion
sys.stdout.buffer.write(output[filled:])
sys.exit(child.wait())
)");
    const auto outcome = batch.shell("python3 run.py '" + arguments + "' "
                                     + (leastBytes < pipeBytes ? "full" : "empty"));
    QCOMPARE(outcome.exitCode, ordinary.exitCode);
    QCOMPARE(outcome.errors, QByteArray());
    const auto sorted = [](const QByteArray &text) {
        QList<QByteArray> lines = text.split('\n');
        std::ranges::sort(lines);
        return lines;
    };
    QCOMPARE(sorted(outcome.output), sorted(ordinary.output));
}

void tst_BatchSystem::interruptedWhileAPipeIsFull()
{
    if (QStandardPaths::findExecutable("python3").isEmpty())
        QSKIP("python3 makes the pipe that does not block, and is not installed");
    BatchProcess batch;
    batch.write("large.jpg", testphotos::jpeg(1200, 900));
    batch.write("run.py", R"(
import os, select, signal, subprocess, sys
reading, writing = os.pipe()
os.set_blocking(writing, False)
child = subprocess.Popen([os.environ['batch'], '-o', '-', 'large.jpg'], stdout=writing)
while select.select([], [writing], [], 0)[1] and child.poll() is None:
    pass
child.send_signal(signal.SIGTERM)
sys.exit(0 if child.wait() == -signal.SIGTERM else 1)
)");
    COMPARE_EXIT(batch.shell("exec python3 run.py"), 0);
}

void tst_BatchSystem::endingSignals_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QString>("calls");

    const std::pair<const char *, int> rows[] = {
        {"SIGHUP", SIGHUP},
        {"SIGINT", SIGINT},
        {"SIGQUIT", SIGQUIT},
        {"SIGTERM", SIGTERM},
        {"SIGUSR1", SIGUSR1},
        {"SIGUSR2", SIGUSR2},
        {"SIGALRM", SIGALRM},
        {"SIGVTALRM", SIGVTALRM},
        {"SIGPROF", SIGPROF},
        {"SIGXCPU", SIGXCPU},
        {"SIGIO", SIGIO},
        {"SIGPWR", SIGPWR},
        {"SIGSTKFLT", SIGSTKFLT},
        {"the first real-time signal", SIGRTMIN},
        {"the last real-time signal", SIGRTMAX},
    };
    for (const auto &[name, number] : rows)
        QTest::newRow(name) << number << "unnamed";
    // A file without a name could be given none.
    QTest::newRow("SIGTERM where /proc is hidden") << SIGTERM << "proc";
}

// At a moment when the sketch has a name that is not its own.
void tst_BatchSystem::endingSignals()
{
    QFETCH(int, signal);
    QFETCH(QString, calls);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    QStringList setting = failingCalls(calls);
    setting += runningAt(
        "fsync", QStringLiteral("ls .crayvell-* >seen; kill -%1 $PPID; sleep 20").arg(signal));
    const auto outcome = batch.run({"--fsync", "a.jpg"}, {}, setting);
    QCOMPARE(outcome.signal, signal);
    QVERIFY(batch.contents("seen").startsWith(".crayvell-"));
    QCOMPARE(batch.files(), QStringList({"a.jpg", "seen"}));
}

void tst_BatchSystem::ignoredSignals()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const QString all = "HUP INT QUIT TERM USR1 USR2 ALRM VTALRM PROF XCPU IO PWR";
    QStringList setting =
        runningAt("fsync", "for s in " + all + "; do kill -$s $PPID || exit; done; echo all >sent");
    for (QString &variable : setting) // for the shell
        variable = u'\'' + variable.replace(u'\'', QStringLiteral("'\\''")) + u'\'';
    const auto outcome =
        batch.shell("trap '' " + all + "; env " + setting.join(u' ') + " \"$batch\" --fsync a.jpg");
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(batch.contents("sent"), "all\n");
    QCOMPARE(batch.contents("a-sketch.jpg"), m_sketch);
}

void tst_BatchSystem::poorFileSystems_data()
{
    QTest::addColumn<QString>("calls");

    QTest::newRow("no files without a name") << "unnamed";
    QTest::newRow("a hidden /proc") << "proc";
    QTest::newRow("a renaming that replaces only") << "unnamed renameat2";
    QTest::newRow("an old system") << "unnamed renameat2-missing";
    QTest::newRow("and no links") << "unnamed renameat2 link";
    QTest::newRow("an old system and no links") << "unnamed renameat2-missing link";
}

void tst_BatchSystem::poorFileSystems()
{
    QFETCH(QString, calls);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    batch.write("b-sketch.jpg", "mine");
    const QTemporaryDir noting;
    const QString failed = noting.filePath("failed");
    const auto first = batch.run({"a.jpg", "b.jpg"}, {},
                                 failingCalls(calls) << QStringLiteral("FAILED_CALLS=") + failed);
    COMPARE_EXIT(first, 1);
    QFile notes(failed);
    QVERIFY(notes.open(QIODevice::ReadOnly));
    const QByteArrayList met = notes.readAll().split('\n');
    for (const QString &call : calls.split(u' '))
        QVERIFY2(met.contains(call.toUtf8()), qPrintable(call));
    QCOMPARE(first.errors,
             QByteArray("b.jpg: the output b-sketch.jpg exists already; --overwrite replaces it, "
                        "--skip-existing leaves it\n"));
    QCOMPARE(batch.contents("a-sketch.jpg"), m_sketch);
    QCOMPARE(batch.contents("b-sketch.jpg"), "mine");
    COMPARE_EXIT(batch.run({"--overwrite", "b.jpg"}, {}, failingCalls(calls)), 0);
    QCOMPARE(batch.contents("b-sketch.jpg"), m_sketch);
    // One that comes into being meanwhile.
    batch.write("c.jpg", testphotos::jpeg());
    const auto late =
        batch.run({"--fsync", "c.jpg"}, {},
                  failingCalls(calls) + runningAt("fsync", "echo theirs >c-sketch.jpg"));
    COMPARE_EXIT(late, 1);
    QCOMPARE(late.errors,
             QByteArray("c.jpg: the output c-sketch.jpg exists already; --overwrite replaces it, "
                        "--skip-existing leaves it\n"));
    QCOMPARE(batch.contents("c-sketch.jpg"), "theirs\n");
    // One that fails leaves the former sketch.
    batch.write("a.jpg", testphotos::jpeg().chopped(100));
    COMPARE_EXIT(batch.run({"--overwrite", "a.jpg"}, {}, failingCalls(calls)), 1);
    QCOMPARE(batch.contents("a-sketch.jpg"), m_sketch);
    QCOMPARE(batch.files().size(), 6);
}

void tst_BatchSystem::helpThatNobodyTakes()
{
    BatchProcess batch;
    for (const char *option : {"--help", "--version"}) {
        const auto outcome = batch.shell(QStringLiteral("\"$batch\" %1 >/dev/full").arg(option));
        COMPARE_EXIT(outcome, 1);
        QVERIFY(outcome.errors.contains("No space left on device"));
    }
}

CRAYVELL_TEST_MAIN(tst_BatchSystem)
#include "tst_batchsystem.moc"
