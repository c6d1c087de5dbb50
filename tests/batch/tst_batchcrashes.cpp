#include <csignal>

#include "tests/batch/failingcalls.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// What ends the program in the midst of its work. That memory runs out within a library is
// tried by tst_batchnthcall.
class tst_BatchCrashes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void crashesStayCrashes();
    void crashesWithoutMemoryEnd_data();
    void crashesWithoutMemoryEnd();
    void sentSignalsEnd_data();
    void sentSignalsEnd();
    void tooFewFilesForTheToolkit();
};

void tst_BatchCrashes::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
}

// Nobody is to be told that memory is missing, and a debugger is to find it.
void tst_BatchCrashes::crashesStayCrashes()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg(16, 16));
    const auto outcome =
        batch.run({"a.jpg"}, {}, preloaded(CRAYVELL_NTH_CALL) << "NTH_CALL=write 1 crashed");
    QCOMPARE(outcome.signal, SIGSEGV);
    QCOMPARE(outcome.errors, QByteArray());
}

void tst_BatchCrashes::crashesWithoutMemoryEnd_data()
{
    QTest::addColumn<QString>("call");
    QTest::newRow("while a sketch is written") << "write 1";
    QTest::newRow("while it gets its name") << "renameat2 1";
}

void tst_BatchCrashes::crashesWithoutMemoryEnd()
{
    QFETCH(QString, call);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg(16, 16));
    const auto outcome = batch.run({"a.jpg"}, {},
                                   preloaded(CRAYVELL_NTH_CALL) << "NTH_CALL_REFUSED=unnamed"
                                                                << "NTH_CALL=" + call + " starved");
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("crayvell-batch: needs more memory than there is\n"));
    QVERIFY(!batch.exists("a-sketch.jpg"));
    // Nobody can tell which names a step has given that never ended.
    if (call.startsWith("write"))
        QCOMPARE(batch.files(), QStringList {"a.jpg"});
}

void tst_BatchCrashes::sentSignalsEnd_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGSEGV") << SIGSEGV;
    QTest::newRow("SIGBUS") << SIGBUS;
    QTest::newRow("SIGABRT, as a watchdog's") << SIGABRT;
}

void tst_BatchCrashes::sentSignalsEnd()
{
    QFETCH(int, signal);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg(16, 16));
    const auto outcome =
        batch.run({"--fsync", "a.jpg"}, {},
                  runningAt("fsync", QStringLiteral("kill -%1 $PPID; sleep 20").arg(signal)));
    QCOMPARE(outcome.signal, signal);
    QCOMPARE(outcome.errors, QByteArray());
}

// How many it takes depends on what is open already.
void tst_BatchCrashes::tooFewFilesForTheToolkit()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg(16, 16));
    int ended = 0;
    BatchProcess::Outcome outcome;
    for (int files = 4; files < 100 && outcome.exitCode != 0; ++files) {
        outcome = batch.shell(QStringLiteral("ulimit -n %1; exec \"$batch\" a.jpg").arg(files));
        if (outcome.errors.contains("error while loading shared libraries"))
            continue;
        QVERIFY2(outcome.exitCode == 0 || outcome.exitCode == 1, outcome.errors.constData());
        QVERIFY(outcome.exitCode == 0 || outcome.errors.contains("Too many open files"));
        // The toolkit's reason is a line of its own before that one.
        ended += outcome.errors.contains("\ncrayvell-batch: ");
    }
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(ended > 0);
}

CRAYVELL_TEST_MAIN(tst_BatchCrashes)
#include "tst_batchcrashes.moc"
