#include <csignal>
#include <memory>
#include <sys/resource.h>

#include "tests/support/nthcall.h"
#include "tests/support/nthcallserver.h"
#include "tests/support/preload.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

// Each call of the window's save to the system, made to fail: the file is as it was or
// complete, and nothing else is there.
class SaveFaultsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyCall_data();
    void everyCall();
    void killedAtEveryCall_data();
    void killedAtEveryCall();
    void fullWhileInPlace();
    void cleanupTestCase();

private:
    void begin();
    void putBack() const;
    QByteArray faultAfter(int exitCode, bool mayFail) const;
    QString path() const { return m_folder.filePath(m_name); }

    QTemporaryDir m_folder;
    QString m_name;
    QByteArray m_before;
    QByteArray m_good;
    QMap<QByteArray, int> m_calls;
    std::unique_ptr<QProcess> m_process;
    std::unique_ptr<nthcall::Server> m_server; // goes before its process
    int m_runs = 0;
};

void SaveFaultsTest::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
}

void SaveFaultsTest::killedAtEveryCall_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("refused");
    QTest::addColumn<int>("side");

    for (const char *format : {"jpg", "png"}) {
        const QString name = QStringLiteral("sketch.") + format;
        QTest::addRow("%s, new", format) << name << QByteArray() << "" << 16;
        QTest::addRow("%s, replacing", format) << name << QByteArray("mine") << "" << 16;
        QTest::addRow("%s, new, hidden name", format) << name << QByteArray() << "unnamed" << 16;
        QTest::addRow("%s, replacing, hidden name", format)
            << name << QByteArray("mine") << "unnamed" << 16;
    }
}

void SaveFaultsTest::everyCall_data()
{
    killedAtEveryCall_data();
    // A kill may leave half a file there.
    for (const char *format : {"jpg", "png"}) {
        QTest::addRow("%s, in place", format)
            << QStringLiteral("sketch.") + format << QByteArray(100, 'm') << "linkat" << 16;
        QTest::addRow("%s, in place, nothing reserved", format)
            << QStringLiteral("sketch.") + format << QByteArray(100, 'm') << "linkat fallocate"
            << 16;
        QTest::addRow("%s, a name that looks like a pattern", format)
            << QStringLiteral("XXXXXX.") + format << QByteArray("mine") << "unnamed" << 16;
        QTest::addRow("%s, replacing, nothing in /proc", format)
            << QStringLiteral("sketch.") + format << QByteArray("mine") << "unnamed proc" << 16;
        QTest::addRow("%s, several writes", format)
            << QStringLiteral("sketch.") + format << QByteArray("mine") << "unnamed" << 160;
    }
}

void SaveFaultsTest::putBack() const
{
    QDir folder(m_folder.path());
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System))
        folder.remove(name);
    if (m_before.isEmpty())
        return;
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(m_before) == m_before.size());
}

// Empty where all is well.
QByteArray SaveFaultsTest::faultAfter(int exitCode, bool mayFail) const
{
    if (exitCode == 1 && !mayFail)
        return "gave up";
    if (exitCode != 0 && exitCode != 1)
        return "ended with " + QByteArray::number(exitCode);
    const QDir folder(m_folder.path());
    const QStringList files = folder.entryList(QDir::Files | QDir::Hidden | QDir::System);
    if (!files.isEmpty() && files != QStringList {m_name})
        return "left " + files.join(u' ').toUtf8();
    if (!m_before.isEmpty() && files.isEmpty())
        return "lost the former file";
    if (m_before.isEmpty() && !files.isEmpty() && contentOf(path()).isEmpty())
        return "left an empty file";
    const QByteArray content = contentOf(path());
    if (content == m_good)
        return "";
    if (exitCode == 0)
        return "said nothing";
    return content == m_before ? "" : "half a file";
}

// A save that nobody disturbs.
void SaveFaultsTest::begin()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, before);
    QFETCH(QString, refused);
    QFETCH(int, side);
    m_name = name;
    m_before = before;
    putBack();
    const QTemporaryDir counting;
    const QString counts = counting.filePath("counts");
    m_server.reset();
    m_process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("NTH_CALL_MARKED", "1");
    environment.insert("NTH_CALL_REFUSED", refused);
    m_process->setProcessEnvironment(environment);
    m_server =
        std::make_unique<nthcall::Server>(*m_process, CRAYVELL_NTH_CALL, CRAYVELL_SAVE_SKETCH,
                                          QStringList {path(), QString::number(side)});
    QCOMPARE(m_server->run({"NTH_CALL_COUNTS=" + counts}).exitCode, 0);
    m_good = contentOf(path());
    QCOMPARE(QImage(path()).size(), QSize(side, side));
    m_calls = nthcall::countsIn(counts);
    QVERIFY(side == 16 || m_calls["write"] > 1);
    QVERIFY(m_calls["open"] > 0 && m_calls["write"] > 0 && m_calls["malloc"] > 10);
    QCOMPARE(nthcall::withoutEffect(refused, m_calls), QStringList());
}

void SaveFaultsTest::everyCall()
{
    begin();
    if (QTest::currentTestFailed())
        return;
    const bool isInPlace = QByteArray(QTest::currentDataTag()).contains("in place");
    QByteArrayList faults;
    for (const nthcall::Fault &fault : nthcall::faults) {
        const int calls = m_calls[fault.kind];
        // What a signal interrupted is done again, what a file system lacks is done without.
        const QByteArray name = QByteArray(fault.kind) + ' ' + fault.error;
        const bool mayFail = name != "write EINTR" && name != "fallocate EOPNOTSUPP";
        const bool isLost = name == "fsync EIO" || name == "fsync ENOSPC";
        const bool isTold = isLost || name == "close EIO" || name == "close ENOSPC";
        const int step = nthcall::stepOf(fault);
        // The last of them, where a file gets its name, are all tried.
        const auto following = [&](int n) {
            return std::min(n + step, std::max(n + 1, calls - 12));
        };
        for (int n = 1; n <= calls; n = following(n)) {
            putBack();
            const QString setting = nthcall::setting(fault, n);
            ++m_runs;
            const int exitCode = m_server->run({setting}).exitCode;
            if (const QByteArray wrong = faultAfter(exitCode, mayFail); !wrong.isEmpty())
                faults << setting.toUtf8() + ": " + wrong;
            // The toolkit does it once more, and does not hear. The last of a save in place
            // are of the file itself.
            else if (exitCode == 0 && ((isLost && n == 1) || (isTold && isInPlace && n == calls)))
                faults << setting.toUtf8() + ": not heard";
        }
    }
    QVERIFY2(faults.isEmpty(),
             QByteArray::number(faults.size()) + " faults, the first:\n"
                 + faults.mid(0, 20).join('\n'));
}

// A temporary file may stay; what has the name is the former file or the whole new one.
void SaveFaultsTest::killedAtEveryCall()
{
    begin();
    if (QTest::currentTestFailed())
        return;
    QByteArrayList faults;
    for (const char *kind : {"open", "write", "fsync", "linkat", "renameat2", "rename", "unlink",
                             "close", "fallocate", "ftruncate"}) {
        for (int n = 1; n <= m_calls[kind]; ++n) {
            putBack();
            const QString setting = nthcall::setting({kind, "killed"}, n);
            QCOMPARE(m_server->run({setting}).signal, SIGKILL);
            const QByteArray content = contentOf(path());
            const bool isOld = m_before.isEmpty() ? !QFile::exists(path()) : content == m_before;
            if (!isOld && content != m_good)
                faults << setting.toUtf8();
        }
    }
    QCOMPARE(faults.join('\n'), QByteArray());
}

// Where no room can be reserved: a limit stands for a disk that takes some of it. With one
// of these opens failing no new file can be made.
void SaveFaultsTest::fullWhileInPlace()
{
    m_name = QStringLiteral("sketch.png");
    m_before = QByteArray(3000, 'm');
    for (int open = 1; open <= 12; ++open) {
        putBack();
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const QStringList settings {"NTH_CALL_MARKED=1", "NTH_CALL_REFUSED=unnamed fallocate",
                                    QStringLiteral("NTH_CALL=open %1 EIO").arg(open)};
        for (const QString &setting : preloaded(CRAYVELL_NTH_CALL) + settings)
            environment.insert(setting.section('=', 0, 0), setting.section('=', 1));
        process.setProcessEnvironment(environment);
        process.setChildProcessModifier([] {
            std::signal(SIGXFSZ, SIG_IGN);
            constexpr rlimit some {20'000, 20'000};
            setrlimit(RLIMIT_FSIZE, &some);
        });
        process.start(CRAYVELL_SAVE_SKETCH, {path(), QStringLiteral("160")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 1);
        QVERIFY2(contentOf(path()) == m_before, QByteArray::number(open));
        QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList {m_name});
    }
}

void SaveFaultsTest::cleanupTestCase()
{
    qInfo("%d saves with a call that fails", m_runs);
}

CRAYVELL_TEST_MAIN(SaveFaultsTest)
#include "tst_savefaults.moc"
