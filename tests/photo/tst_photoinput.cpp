#include "photo/photoinput.h"

#include "photo/photoerror.h"
#include "tests/support/testmain.h"

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

// A pipe in the place of standard input, with somebody who writes into it.
class FedInput
{
    Q_DISABLE_COPY_MOVE(FedInput)

public:
    FedInput(int flags, const std::function<void(int descriptor)> &feed)
        : m_former(dup(STDIN_FILENO))
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            qFatal("no pipe can be had");
        fcntl(ends[0], F_SETFL, flags);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        m_feeder = std::thread([end = ends[1], feed] {
            feed(end);
            close(end);
        });
    }
    ~FedInput()
    {
        m_feeder.join();
        dup2(m_former, STDIN_FILENO);
        close(m_former);
    }

private:
    int m_former;
    std::thread m_feeder;
};

// Whether the main thread waits for something.
bool mainThreadSleeps()
{
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(getpid()));
    if (!file.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = file.readAll();
    return line.mid(line.lastIndexOf(')') + 2).startsWith('S');
}

void put(int descriptor, const QByteArray &bytes)
{
    if (::write(descriptor, bytes.constData(), static_cast<std::size_t>(bytes.size()))
        != bytes.size())
        qFatal("the pipe does not take it");
}

} // namespace

class PhotoInputTest : public QObject
{
    Q_OBJECT

private slots:
    void readsAnywhere();
    void staysWithTheFileThatWasOpened();
    void changesAreNoticed_data();
    void changesAreNoticed();
    void everyNanosecondCounts();
    void onlyRegularFiles();
    void standardInputHasALimit();
    void standardInputThatComesLater();

private:
    QString path() const { return m_folder.filePath(QStringLiteral("photo")); }
    std::string name() const { return QFile::encodeName(path()).toStdString(); }
    static bool write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }

    QTemporaryDir m_folder;
};

void PhotoInputTest::readsAnywhere()
{
    QByteArray content;
    for (int i = 0; i < 100'000; ++i)
        content += char(i % 251);
    QVERIFY(write(path(), content));
    photo::PhotoInput input(name(), 0);
    QIODevice &device = input.device();
    QCOMPARE(device.size(), content.size());
    QCOMPARE(device.peek(64), content.left(64));
    for (const int at : {0, 70'000, 3, 99'990, 16'383, 16'384, 50'000}) {
        QVERIFY(device.seek(at));
        QCOMPARE(device.pos(), at);
        QCOMPARE(device.read(7), content.mid(at, 7));
        QCOMPARE(device.read(20'000), content.mid(at + 7, 20'000));
        device.skip(5);
        QCOMPARE(device.read(3), content.mid(at + 20'012, 3));
    }
    QVERIFY(device.seek(0));
    QCOMPARE(device.readAll(), content);
    input.checkUnchanged();
}

void PhotoInputTest::staysWithTheFileThatWasOpened()
{
    QVERIFY(write(path(), "the first"));
    photo::PhotoInput input(name(), 0);
    QVERIFY(QFile::remove(path()));
    QVERIFY(write(path(), "another"));
    QCOMPARE(input.device().readAll(), QByteArray("the first"));
    input.checkUnchanged();
}

void PhotoInputTest::changesAreNoticed_data()
{
    QTest::addColumn<QByteArray>("later");
    QTest::addColumn<bool>("append");
    QTest::newRow("cut") << QByteArray("abc") << false;
    QTest::newRow("emptied") << QByteArray() << false;
    QTest::newRow("longer") << QByteArray("more") << true;
    QTest::newRow("other content of the same size") << QByteArray("ABCDEFGHIJ") << false;
}

void PhotoInputTest::changesAreNoticed()
{
    QFETCH(QByteArray, later);
    QFETCH(bool, append);
    QVERIFY(write(path(), "abcdefghij"));
    // File systems note a time of some milliseconds: let it be an old file.
    const timespec longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    QCOMPARE(utimensat(AT_FDCWD, name().c_str(), longAgo, 0), 0);
    photo::PhotoInput input(name(), 0);
    input.checkUnchanged();
    QFile file(path());
    QVERIFY(file.open(append ? QIODevice::Append : QIODevice::WriteOnly));
    QCOMPARE(file.write(later), later.size());
    file.close();
    QVERIFY_EXCEPTION_THROWN(input.checkUnchanged(), photo::PhotoError);
}

void PhotoInputTest::everyNanosecondCounts()
{
    QVERIFY(write(path(), "abcdefghij"));
    const auto setTime = [&](long nanoseconds) {
        const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, nanoseconds}};
        return utimensat(AT_FDCWD, name().c_str(), times, 0) == 0;
    };
    QVERIFY(setTime(5000));
    photo::PhotoInput input(name(), 0);
    QVERIFY(setTime(5001));
    QVERIFY_EXCEPTION_THROWN(input.checkUnchanged(), photo::PhotoError);
    QVERIFY(setTime(5000));
    input.checkUnchanged();
}

void PhotoInputTest::onlyRegularFiles()
{
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput(name() + "-missing", 0), photo::PhotoError);
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput("/dev/null", 0), photo::PhotoError);
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput(m_folder.path().toStdString(), 0),
                             photo::PhotoError);
    const std::string pipe = name() + "-pipe";
    QCOMPARE(mkfifo(pipe.c_str(), 0600), 0);
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput(pipe, 0), photo::PhotoError);
}

void PhotoInputTest::standardInputHasALimit()
{
    const QByteArray bytes(1000, 'p');
    for (const int most : {1001, 1000, 999}) {
        const FedInput fed(0, [&](int end) { put(end, bytes); });
        if (most < bytes.size()) {
            QVERIFY_EXCEPTION_THROWN(photo::PhotoInput("-", most), photo::PhotoError);
        } else {
            const photo::PhotoInput input("-", most);
            QCOMPARE(input.buffered(), bytes);
        }
    }
}

// From a pipe that does not block, and is empty at first.
void PhotoInputTest::standardInputThatComesLater()
{
    const FedInput fed(O_NONBLOCK, [](int end) {
        for (int times = 0; times < 20;)
            times = mainThreadSleeps() ? times + 1 : 0;
        put(end, "a photo");
    });
    const photo::PhotoInput input("-", 100);
    QCOMPARE(input.buffered(), QByteArray("a photo"));
}

CRAYVELL_TEST_MAIN(PhotoInputTest)
#include "tst_photoinput.moc"
