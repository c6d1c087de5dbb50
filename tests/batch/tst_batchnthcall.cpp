#include <csignal>

#include "tests/batch/batchprocess.h"
#include "tests/support/exiffile.h"
#include "tests/support/nthcall.h"
#include "tests/support/nthcallserver.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

using Outcome = nthcall::Server::Outcome;

// What there is before a run, by name.
using Files = QMap<QString, QByteArray>;

Files filesIn(const BatchProcess &batch)
{
    Files files;
    for (const QString &name : batch.files())
        files[name] = batch.contents(name);
    return files;
}

} // namespace

// Each call of a run to the system, made to fail: whichever it is, every output is as it
// was or complete, and the program tells which.
class tst_BatchNthCall : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyCall_data();
    void everyCall();
    void cleanupTestCase();

private:
    static bool tellsReason(const nthcall::Fault &fault, const QByteArray &errors);
    QByteArray faultIn(const BatchProcess &batch, const Outcome &outcome) const;
    QByteArray faultOfFiles(const Files &files, const Files &good, bool mustBeDone) const;
    void putBack(BatchProcess &batch) const;

    QStringList m_arguments;
    Files m_before;
    Files m_good;
    Files m_goodWithoutExif;
    QByteArray m_goodOutput;
    int m_runs = 0;
};

void tst_BatchNthCall::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
}

void tst_BatchNthCall::everyCall_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("refused");
    QTest::addColumn<Files>("before");

    const QImage scene = testphotos::scene(16, 16);
    const Files photo {{"a.jpg", testphotos::jpeg(16, 16)}};
    const Files both {{"a.jpg", testphotos::jpeg(16, 16)}, {"o.jpg", "mine"}};
    exiffile::Data turned;
    turned.image = {exiffile::text(0x0110, "a camera"), exiffile::number(0x0112, 6)};
    const auto holding = [&](const char *format) {
        return Files {{"a.jpg", testphotos::encoded(scene, format)}};
    };
    QTest::newRow("a new output") << "--fsync -o o.jpg a.jpg"
                                  << "" << photo;
    QTest::newRow("an output replaced") << "--fsync --overwrite -o o.jpg a.jpg"
                                        << "" << both;
    QTest::newRow("a new folder") << "--preserve --output-dir out/of a.jpg"
                                  << "" << photo;
    QTest::newRow("a PNG") << "-o o.png a.jpg"
                           << "" << photo;
    QTest::newRow("standard output") << "-o - a.jpg"
                                     << "" << photo;
    // Several writes of one output.
    const Files large {{"a.jpg", testphotos::jpeg(500, 300)}};
    QTest::newRow("a large output") << "--overwrite -o o.jpg a.jpg"
                                    << "" << large;
    QTest::newRow("a large output under a hidden name") << "-o o.jpg a.jpg"
                                                        << "unnamed" << large;
    QTest::newRow("a folder of two photos, two threads")
        << "-j 2 --output-dir out in"
        << "" << Files {{"in/a.jpg", photo["a.jpg"]}, {"in/b.jpg", photo["a.jpg"]}};
    QTest::newRow("a folder of names that do not tell")
        << "--output-dir out in"
        << "" << Files {{"in/photo", photo["a.jpg"]}, {"in/notes", "no picture\n"}};
    QTest::newRow("a list") << "--files-from list --output-dir out"
                            << "" << Files {{"a.jpg", photo["a.jpg"]}, {"list", "a.jpg\n"}};
    QTest::newRow("a hidden name, new") << "--fsync -o o.jpg a.jpg"
                                        << "unnamed" << photo;
    QTest::newRow("a hidden name, replacing") << "--overwrite -o o.jpg a.jpg"
                                              << "unnamed" << both;
    QTest::newRow("no renaming that spares what is there") << "-o o.jpg a.jpg"
                                                           << "unnamed renameat2" << photo;
    QTest::newRow("and no links") << "-o o.jpg a.jpg"
                                  << "unnamed renameat2 linkat" << photo;
    QTest::newRow("EXIF data and a turned photo")
        << "-o o.jpg a.jpg"
        << "" << Files {{"a.jpg", exiffile::jpeg(exiffile::block(turned))}};
    for (const char *format : {"png", "tiff", "webp", "bmp", "ppm"})
        QTest::addRow("from %s", format) << "-o o.jpg a.jpg"
                                         << "" << holding(format);
    QTest::newRow("from gif") << "-o o.jpg a.jpg"
                              << "" << Files {{"a.jpg", testphotos::gif(scene)}};
}

void tst_BatchNthCall::putBack(BatchProcess &batch) const
{
    for (const QString &name : batch.files()) {
        if (batch.contents(name) != m_before.value(name))
            QFile::remove(batch.path(name));
    }
    if (QDir out(batch.path("out")); out.exists())
        out.removeRecursively();
    for (auto file = m_before.begin(); file != m_before.end(); ++file) {
        if (!batch.exists(file.key()))
            batch.write(file.key(), file.value());
    }
}

// Empty where all is well. A file that is there afterwards is one of a run that succeeds,
// and if it was there before, it still is, unchanged or replaced.
QByteArray tst_BatchNthCall::faultOfFiles(const Files &files, const Files &good,
                                          bool mustBeDone) const
{
    for (auto file = files.begin(); file != files.end(); ++file) {
        if (!good.contains(file.key()))
            return "left " + file.key().toUtf8();
        const bool isOld = m_before.contains(file.key()) && file.value() == m_before[file.key()];
        if (file.value() != good[file.key()] && !isOld)
            return "half of " + file.key().toUtf8();
    }
    for (const QString &name : m_before.keys()) {
        if (!files.contains(name))
            return "lost " + name.toUtf8();
    }
    const auto isDone = [&](const QString &name) { return files[name] == good[name]; };
    const QStringList names = good.keys();
    return mustBeDone && !std::all_of(names.begin(), names.end(), isDone) ? "said nothing" : "";
}

QByteArray tst_BatchNthCall::faultIn(const BatchProcess &batch, const Outcome &outcome) const
{
    if (outcome.exitCode < 0)
        return "ended by signal " + QByteArray::number(outcome.signal);
    const bool isDone = outcome.exitCode == 0;
    const Files files = filesIn(batch);
    // EXIF data are no reason to fail, and a line tells that they are lost.
    const bool isWithoutExif = isDone && outcome.errors.endsWith('\n');
    const Files &good = isWithoutExif ? m_goodWithoutExif : m_good;
    if (const QByteArray fault = faultOfFiles(files, good, isDone); !fault.isEmpty())
        return fault;
    if (isDone)
        return outcome.output == m_goodOutput ? "" : "lost output";
    if (outcome.exitCode == 2 && files != m_before)
        return "wrote, and calls the usage wrong";
    if (outcome.exitCode > 2)
        return "exit code " + QByteArray::number(outcome.exitCode);
    if (outcome.exitCode == 2)
        return outcome.errors.endsWith('\n') ? "" : "failed without a line";
    const bool isNamed = outcome.errors.contains(".jpg: ") || outcome.errors.contains("in/")
        || outcome.errors.contains("list: ") || outcome.errors.contains("in: ")
        || outcome.errors.contains("a photo's end cannot be told") // no memory for its name
        || outcome.errors.contains("crayvell-batch: ");
    return isNamed && outcome.errors.endsWith('\n') ? "" : "failed without naming a photo";
}

// The system's own words, where an output could not be given its content or its name.
bool tst_BatchNthCall::tellsReason(const nthcall::Fault &fault, const QByteArray &errors)
{
    const bool isOutputs =
        QByteArrayList({"fsync", "linkat", "renameat2", "rename"}).contains(fault.kind);
    if (isOutputs && qstrcmp(fault.error, "EIO") == 0)
        return errors.contains("Input/output error");
    if (isOutputs && qstrcmp(fault.error, "ENOSPC") == 0)
        return errors.contains("No space left on device");
    return true;
}

void tst_BatchNthCall::everyCall()
{
    QFETCH(QString, arguments);
    QFETCH(QString, refused);
    QFETCH(Files, before);
    m_arguments = arguments.split(u' ');
    if (!m_arguments.contains("-j"))
        m_arguments.prepend("-j1");
    m_before = before;
    BatchProcess batch;
    putBack(batch);
    COMPARE_EXIT(batch.run(QStringList {"--strip"} + m_arguments), 0);
    m_goodWithoutExif = filesIn(batch);
    putBack(batch);
    const QTemporaryDir counting;
    const QString counts = counting.filePath("counts");
    QProcess process;
    process.setWorkingDirectory(batch.folder.path());
    process.setChildProcessModifier(BatchProcess::hearSignals);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("NTH_CALL_REFUSED", refused);
    process.setProcessEnvironment(environment);
    nthcall::Server server(process, CRAYVELL_NTH_CALL, BatchProcess::program(), m_arguments);
    const Outcome good = server.run({"NTH_CALL_COUNTS=" + counts});
    COMPARE_EXIT(good, 0);
    m_good = filesIn(batch);
    m_goodOutput = good.output;
    const QMap<QByteArray, int> calls = nthcall::countsIn(counts);
    QVERIFY(calls["open"] > 3 && calls["write"] > 0 && calls["malloc"] > 100);
    QCOMPARE(nthcall::withoutEffect(refused, calls), QStringList());

    QByteArrayList faults;
    for (const nthcall::Fault &fault : nthcall::faults) {
        for (int n = 1; n <= calls[fault.kind]; n += nthcall::stepOf(fault)) {
            putBack(batch);
            const QString setting = nthcall::setting(fault, n);
            const Outcome outcome = server.run({setting});
            ++m_runs;
            QByteArray wrong = faultIn(batch, outcome);
            if (wrong.isEmpty() && outcome.exitCode == 1 && !tellsReason(fault, outcome.errors))
                wrong = "another reason";
            if (!wrong.isEmpty())
                faults << setting.toUtf8() + ": " + wrong + "; " + outcome.errors.left(200);
        }
    }
    QVERIFY2(faults.isEmpty(),
             QByteArray::number(faults.size()) + " faults, the first:\n"
                 + faults.mid(0, 20).join('\n'));
}

void tst_BatchNthCall::cleanupTestCase()
{
    qInfo("%d runs with a call that fails", m_runs);
}

CRAYVELL_TEST_MAIN(tst_BatchNthCall)
#include "tst_batchnthcall.moc"
