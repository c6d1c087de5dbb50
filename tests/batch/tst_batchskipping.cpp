#include "tests/batch/batchprocess.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr int photoCount = 500;

} // namespace

// What a run costs that finds its sketches made.
class tst_BatchSkipping : public QObject
{
    Q_OBJECT

private slots:
    void callsOfTheSystem_data();
    void callsOfTheSystem();
};

void tst_BatchSkipping::callsOfTheSystem_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("a folder") << QStringList {"--output-dir", "out", "p"};
    QTest::newRow("a list") << QStringList {"--files-from", "list"};
    QTest::newRow("a list and an output folder")
        << QStringList {"--output-dir", "out", "--files-from", "list"};
}

// One look at a photo and one at its sketch, and no thread for what is no work.
void tst_BatchSkipping::callsOfTheSystem()
{
    QFETCH(QStringList, arguments);
    if (process::isSanitized())
        QSKIP("the sanitizer makes calls and threads of its own");
    if (QStandardPaths::findExecutable("strace").isEmpty())
        QSKIP("strace, which counts the calls, is not installed");
    BatchProcess batch;
    QByteArray list;
    for (int i = 0; i < photoCount; ++i) {
        const QString name = QStringLiteral("p/IMG %1 (Stra\u00dfe).jpg").arg(i);
        batch.write(name, "never read");
        batch.write(QStringLiteral("out") + name.mid(1), "a sketch");
        batch.write(QString(name).replace(".jpg", "-sketch.jpg"), "a sketch");
        list += name.toUtf8() + '\n';
    }
    batch.write("list", list);
    if (arguments.last() == "p") // only photos
        COMPARE_EXIT(batch.shell("rm p/*-sketch.jpg"), 0);
    const auto outcome = batch.run(QStringList {"-j", "8", "--skip-existing"} + arguments);
    COMPARE_EXIT(outcome, 0);
    QProcess strace;
    strace.setWorkingDirectory(batch.folder.path());
    strace.start("strace",
                 QStringList {"-f", "-qq", "-o", "trace", BatchProcess::program(), "-j", "8",
                              "--skip-existing"}
                     + arguments);
    QVERIFY(strace.waitForFinished(120000));
    const QByteArray trace = batch.contents("trace");
    if (trace.isEmpty())
        QSKIP("this system lets strace trace nothing");
    QCOMPARE(strace.exitCode(), 0);
    int looks = 0;
    int threads = 0;
    for (const QByteArray &line : trace.split('\n')) {
        looks += line.contains("IMG ") ? 1 : 0;
        threads += line.contains("clone") && !line.contains("resumed") ? 1 : 0;
    }
    // The list holds the names as well; strace shows the beginning of a portion.
    QVERIFY2(looks >= 2 * photoCount && looks <= 2 * photoCount + 10,
             QByteArray::number(looks).constData());
    QVERIFY2(threads <= 1, QByteArray::number(threads).constData()); // which waits for signals
}

CRAYVELL_TEST_MAIN(tst_BatchSkipping)
#include "tst_batchskipping.moc"
