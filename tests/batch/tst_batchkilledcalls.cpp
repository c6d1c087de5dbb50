#include <algorithm>
#include <csignal>

#include "tests/batch/batchprocess.h"
#include "tests/support/nthcall.h"
#include "tests/support/preload.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

// By name.
using Files = QMap<QString, QByteArray>;

// Between two of these nothing changes in a folder.
constexpr const char *kinds[] = {"open",   "write",  "fsync", "linkat",    "renameat2",
                                 "rename", "unlink", "close", "fallocate", "ftruncate"};

Files filesIn(const BatchProcess &batch)
{
    Files files;
    for (const QString &name : batch.files())
        files[name] = batch.contents(name);
    return files;
}

// What tells how one that should be the other came to differ.
QByteArray differenceOf(const QByteArray &found, const QByteArray &wanted)
{
    const auto same = std::ranges::mismatch(found, wanted).in1 - found.begin();
    return QByteArray::number(found.size()) + " bytes instead of "
        + QByteArray::number(wanted.size()) + ", other from the " + QByteArray::number(same)
        + "th on: " + found.mid(same, 400).toHex();
}

bool isHidden(const QString &name)
{
    return name.section(u'/', -1).startsWith(QStringLiteral(".crayvell-"));
}

} // namespace

// Killed at each of its calls in turn: a blow at random hardly ever meets the moment between
// two of them that follow each other at once.
class tst_BatchKilledCalls : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyCall_data();
    void everyCall();
    void interruptedWriteGoesOn();
    void failureAtTheEndIsTold_data();
    void failureAtTheEndIsTold();

private:
    BatchProcess::Outcome run(BatchProcess &batch, const QStringList &settings) const;
    static void putBack(BatchProcess &batch, const Files &before);
    QByteArray faultOf(const Files &files, const Files &before) const;

    QStringList m_arguments;
    QString m_refused;
    Files m_good;
};

void tst_BatchKilledCalls::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
}

void tst_BatchKilledCalls::everyCall_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("refused"); // what the file system does not know
    QTest::addColumn<bool>("isThere"); // the output

    const QString fresh = "-j1 --fsync -o o.jpg a.jpg";
    const QString replacing = "-j1 --overwrite -o o.jpg a.jpg";
    QTest::newRow("new") << fresh << "" << false;
    QTest::newRow("new, of several writes") << "-j1 --output-dir out large.jpg"
                                            << "" << false;
    QTest::newRow("replacing") << replacing << "" << true;
    QTest::newRow("a PNG") << "-j1 --format png a.jpg"
                           << "" << false;
    QTest::newRow("new, under a hidden name") << fresh << "unnamed" << false;
    QTest::newRow("replacing, under a hidden name") << replacing << "unnamed" << true;
    QTest::newRow("new, no renaming that spares") << fresh << "unnamed renameat2" << false;
    QTest::newRow("new, and no links") << fresh << "unnamed renameat2 linkat" << false;
}

BatchProcess::Outcome tst_BatchKilledCalls::run(BatchProcess &batch,
                                                const QStringList &settings) const
{
    return batch.run(m_arguments, {},
                     preloaded(CRAYVELL_NTH_CALL) + QStringList {"NTH_CALL_REFUSED=" + m_refused}
                         + settings);
}

void tst_BatchKilledCalls::putBack(BatchProcess &batch, const Files &before)
{
    for (const QString &name : batch.files())
        QVERIFY(QFile::remove(batch.path(name)));
    QDir(batch.path("out")).removeRecursively();
    for (auto file = before.begin(); file != before.end(); ++file)
        batch.write(file.key(), file.value());
}

// Empty where all is well: a name is there as before the run or as after it.
QByteArray tst_BatchKilledCalls::faultOf(const Files &files, const Files &before) const
{
    for (const QString &name : before.keys()) {
        if (!files.contains(name))
            return "lost " + name.toUtf8();
    }
    // Where nothing else spares what is there, an empty file takes the name.
    const bool isClaimed = m_refused.contains("linkat");
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QString &name = file.key();
        const bool isOld = before.contains(name) && before[name] == file.value();
        const bool isNew = m_good.contains(name) && m_good[name] == file.value();
        const bool isClaim = isClaimed && m_good.contains(name) && file.value().isEmpty();
        if (!isOld && !isNew && !isClaim && !isHidden(name))
            return "half of " + name.toUtf8() + ": " + differenceOf(file.value(), m_good[name]);
    }
    return {};
}

void tst_BatchKilledCalls::everyCall()
{
    QFETCH(QString, arguments);
    QFETCH(QString, refused);
    QFETCH(bool, isThere);
    m_arguments = arguments.split(u' ');
    m_refused = refused;
    Files before {{"a.jpg", testphotos::jpeg(16, 16)}, {"large.jpg", testphotos::jpeg(500, 300)}};
    if (isThere)
        before["o.jpg"] = "mine";
    BatchProcess batch;
    putBack(batch, before);
    const QTemporaryDir counting;
    const QString counts = counting.filePath("counts");
    COMPARE_EXIT(run(batch, {"NTH_CALL_COUNTS=" + counts}), 0);
    m_good = filesIn(batch);
    QVERIFY(m_good != before);
    const QMap<QByteArray, int> calls = nthcall::countsIn(counts);
    QVERIFY(calls["open"] > 3 && calls["write"] > 0);
    QCOMPARE(nthcall::withoutEffect(refused, calls), QStringList());

    QByteArrayList faults;
    for (const char *kind : kinds) {
        for (int n = 1; n <= calls[kind]; ++n) {
            putBack(batch, before);
            const QString setting = nthcall::setting({kind, "killed"}, n);
            QCOMPARE(run(batch, {setting}).signal, SIGKILL);
            if (const QByteArray fault = faultOf(filesIn(batch), before); !fault.isEmpty())
                faults << setting.toUtf8() + ": " + fault;
        }
    }
    QCOMPARE(faults.join('\n'), QByteArray());
}

// Beside the killed ones: calls whose failure must, or must not, reach the user.
void tst_BatchKilledCalls::interruptedWriteGoesOn()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg(16, 16));
    const auto outcome =
        batch.run({"a.jpg"}, {}, preloaded(CRAYVELL_NTH_CALL) << "NTH_CALL=write 1 EINTR");
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(16, 16));
}

void tst_BatchKilledCalls::failureAtTheEndIsTold_data()
{
    QTest::addColumn<QString>("call");
    QTest::newRow("the disk does not keep it") << "fsync";
    QTest::newRow("a server tells only then") << "close";
}

void tst_BatchKilledCalls::failureAtTheEndIsTold()
{
    QFETCH(QString, call);
    int told = 0;
    for (int n = 1; n <= 30; ++n) {
        BatchProcess batch;
        batch.write("a.jpg", testphotos::jpeg(16, 16));
        const auto outcome = batch.run(
            {"--fsync", "a.jpg"}, {},
            preloaded(CRAYVELL_NTH_CALL) << "NTH_CALL_REFUSED=unnamed"
                                         << QStringLiteral("NTH_CALL=%1 %2 EIO").arg(call).arg(n));
        told += outcome.errors == "a.jpg: cannot write the output: Input/output error\n";
    }
    QCOMPARE(told, 1);
}

CRAYVELL_TEST_MAIN(tst_BatchKilledCalls)
#include "tst_batchkilledcalls.moc"
