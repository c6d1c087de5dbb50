#include "photo/directwrite.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "photo/photofile.h"
#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

// More than a pipe holds.
const QImage large = pictures::noise(400, 300);
const QImage small = pictures::noise(8, 8);

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

mode_t kindOf(const QString &path)
{
    struct stat status
    {
    };
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

QByteArray readSome(int descriptor)
{
    std::array<char, 4096> piece {};
    const ssize_t bytes = read(descriptor, piece.data(), piece.size());
    return {piece.data(), static_cast<qsizetype>(std::max<ssize_t>(bytes, 0))};
}

// Reads what is written to a pipe until its writer closes it, or the first piece only.
class PipeReader
{
    Q_DISABLE_COPY_MOVE(PipeReader)

public:
    enum Patience { ToTheEnd, OnePiece };

    PipeReader(const QString &path, Patience patience)
        : m_descriptor(open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK))
    {
        fcntl(m_descriptor, F_SETFL, 0); // was to come back without a writer
        m_thread = std::thread([this, patience] {
            // Before a writer comes, reading would find the end at once.
            pollfd writer {m_descriptor, POLLIN, 0};
            poll(&writer, 1, 20'000);
            QByteArray piece;
            do {
                piece = readSome(m_descriptor);
                content += piece;
            } while (!piece.isEmpty() && patience == ToTheEnd);
            close(m_descriptor);
        });
    }
    ~PipeReader() { finish(); }
    void finish()
    {
        if (m_thread.joinable())
            m_thread.join();
    }

    QByteArray content;

private:
    int m_descriptor;
    std::thread m_thread;
};

// Runs a program as root, who may need no password for that.
bool asRoot(const QStringList &command)
{
    QStringList words = command;
    if (geteuid() != 0)
        words = QStringList {QStringLiteral("sudo"), QStringLiteral("-n")} + words;
    QProcess process;
    process.start(words.takeFirst(), words);
    return process.waitForFinished() && process.exitCode() == 0;
}

// A terminal without a screen: a device to which everybody may write and whose
// text can be read back.
class Terminal
{
    Q_DISABLE_COPY_MOVE(Terminal)

public:
    Terminal()
        : m_screen(posix_openpt(O_RDWR | O_NOCTTY))
    {
        grantpt(m_screen);
        unlockpt(m_screen);
        device = QFile::decodeName(ptsname(m_screen));
        m_line = open(ptsname(m_screen), O_RDWR | O_NOCTTY);
        termios settings {};
        tcgetattr(m_line, &settings);
        cfmakeraw(&settings);
        tcsetattr(m_line, TCSANOW, &settings);
    }
    ~Terminal()
    {
        close(m_line);
        close(m_screen);
    }
    QByteArray text() const { return readSome(m_screen); }

    QString device;

private:
    int m_screen;
    int m_line = -1;
};

} // namespace

// Sketches that are written where no new file can take the former one's place.
class DirectWriteTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void closedFolder_data();
    void closedFolder();
    void fullDiskKeepsTheFormerFile();
    void nobodysBusinessInASharedFolder();
    void pipeGetsThePicture();
    void pipeThatNobodyReads();
    void pipeWhoseReaderLeaves();
    void pipeWhoseReaderSleeps();
    void unknownSuffixWritesNothing();
    void terminalGetsThePicture();
    void deviceStays();
    void missingFileStaysMissing();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString makePipe()
    {
        const QString name = path(QStringLiteral("pipe.png"));
        if (mkfifo(QFile::encodeName(name).constData(), 0666) != 0)
            qFatal("cannot make a pipe");
        return name;
    }
    void setMode(const QString &file, mode_t mode)
    {
        QCOMPARE(chmod(QFile::encodeName(file).constData(), mode), 0);
    }
    void put(const QString &file, const QByteArray &content)
    {
        QFile writer(file);
        QVERIFY(writer.open(QIODevice::WriteOnly));
        QCOMPARE(writer.write(content), content.size());
    }

    static qsizetype openFiles()
    {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System | QDir::Files).size();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    qsizetype m_openFiles = 0;
};

void DirectWriteTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_openFiles = openFiles();
}

void DirectWriteTest::cleanup()
{
    QCOMPARE(openFiles(), m_openFiles);
}

void DirectWriteTest::closedFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("former");
    QTest::addColumn<mode_t>("mode");
    QTest::addColumn<bool>("written");
    const QString png = QStringLiteral("sketch.png");
    const mode_t writable = 0666, readable = 0444;
    QTest::newRow("a shorter file") << png << QByteArray("former") << writable << true;
    QTest::newRow("a longer file") << png << QByteArray(1'000'000, 'x') << writable << true;
    QTest::newRow("a file to be read") << png << QByteArray("former") << readable << false;
    QTest::newRow("an unknown suffix")
        << QStringLiteral("sketch.xyz") << QByteArray("former") << writable << false;
    QTest::newRow("no suffix") << QStringLiteral("sketch") << QByteArray("former") << writable
                               << false;
}

void DirectWriteTest::closedFolder()
{
    if (!process::OrdinaryUser::reaches(m_folder->path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    QFETCH(QString, name);
    QFETCH(QByteArray, former);
    QFETCH(mode_t, mode);
    QFETCH(bool, written);
    put(path(name), former);
    setMode(path(name), mode);
    setMode(m_folder->path(), 0555);
    bool claimed = false;
    {
        const process::OrdinaryUser user;
        claimed = photo::writeSketch(large, path(name));
    }
    setMode(m_folder->path(), 0700);
    QCOMPARE(claimed, written);
    if (written) {
        QVERIFY(photo::writeSketch(large, path(QStringLiteral("new.png"))));
        QCOMPARE(contentOf(path(name)), contentOf(path(QStringLiteral("new.png"))));
        QCOMPARE(pictures::difference(QImage(path(name)), large), QString());
    } else {
        QCOMPARE(contentOf(path(name)), former);
    }
}

// A limit on the size of files stands in for the full disk.
void DirectWriteTest::fullDiskKeepsTheFormerFile()
{
    if (!process::OrdinaryUser::reaches(m_folder->path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    const QString target = path(QStringLiteral("sketch.png"));
    put(target, "former");
    setMode(target, 0666);
    setMode(m_folder->path(), 0555);
    {
        const process::OrdinaryUser user;
        const process::ResourceLimit limit(RLIMIT_FSIZE, 1000);
        QVERIFY(!photo::writeSketch(large, target));
    }
    setMode(m_folder->path(), 0700);
    QCOMPARE(contentOf(target), QByteArray("former"));
}

// In a folder like /tmp everybody makes files and nobody replaces another's.
void DirectWriteTest::nobodysBusinessInASharedFolder()
{
    if (!process::OrdinaryUser::reaches(m_folder->path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    const QString target = path(QStringLiteral("sketch.png"));
    put(target, "former");
    setMode(target, 0666);
    setMode(m_folder->path(), 01777);
    const QStringList both {m_folder->path(), target};
    if (!asRoot(QStringList {QStringLiteral("chown"), QStringLiteral("0")} + both))
        QSKIP("only root can make another user's file, and sudo asks for a password or is missing");
    bool isWritten = false;
    {
        const process::OrdinaryUser user;
        isWritten = photo::writeSketch(large, target);
    }
    const QString owner = QString::number(getuid());
    QVERIFY(asRoot(QStringList {QStringLiteral("chown"), owner} + both)); // to be removed
    QVERIFY(isWritten);
    QCOMPARE(pictures::difference(QImage(target), large), QString());
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void DirectWriteTest::pipeGetsThePicture()
{
    const QString pipe = makePipe();
    PipeReader reader(pipe, PipeReader::ToTheEnd);
    QVERIFY(photo::writeSketch(large, pipe));
    reader.finish();
    QCOMPARE(pictures::difference(QImage::fromData(reader.content), large), QString());
    QCOMPARE(kindOf(pipe), mode_t(S_IFIFO));
}

void DirectWriteTest::pipeThatNobodyReads()
{
    const QString pipe = makePipe();
    QVERIFY(!photo::writeSketch(large, pipe));
    QCOMPARE(kindOf(pipe), mode_t(S_IFIFO));
}

// Writing on would end the program by a signal.
void DirectWriteTest::pipeWhoseReaderLeaves()
{
    const QString pipe = makePipe();
    const PipeReader reader(pipe, PipeReader::OnePiece);
    QVERIFY(!photo::writeSketch(large, pipe));
    QCOMPARE(kindOf(pipe), mode_t(S_IFIFO));
}

void DirectWriteTest::pipeWhoseReaderSleeps()
{
    const QString pipe = makePipe();
    const int reader = open(QFile::encodeName(pipe).constData(), O_RDONLY | O_NONBLOCK);
    QVERIFY(!photo::writeSketch(large, pipe));
    close(reader);
}

void DirectWriteTest::unknownSuffixWritesNothing()
{
    const QString pipe = makePipe();
    const QString other = path(QStringLiteral("pipe.xyz"));
    QVERIFY(QFile::rename(pipe, other));
    const int reader = open(QFile::encodeName(other).constData(), O_RDONLY | O_NONBLOCK);
    QVERIFY(!photo::writeSketch(small, other));
    QCOMPARE(readSome(reader), QByteArray());
    close(reader);
    QCOMPARE(kindOf(other), mode_t(S_IFIFO));
}

void DirectWriteTest::terminalGetsThePicture()
{
    const Terminal terminal;
    const QString link = path(QStringLiteral("terminal.png"));
    QVERIFY(QFile::link(terminal.device, link));
    QVERIFY(photo::writeSketch(small, link));
    QCOMPARE(pictures::difference(QImage::fromData(terminal.text()), small), QString());
    QCOMPARE(kindOf(link), mode_t(S_IFCHR));
}

void DirectWriteTest::deviceStays()
{
    if (!process::OrdinaryUser::reaches(m_folder->path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    const QString link = path(QStringLiteral("null.png"));
    QVERIFY(QFile::link(QStringLiteral("/dev/null"), link));
    setMode(m_folder->path(), 0755);
    const process::OrdinaryUser user; // root could put a file in the device's place
    QVERIFY(photo::writeSketch(large, link));
    QCOMPARE(kindOf(link), mode_t(S_IFCHR));
}

void DirectWriteTest::missingFileStaysMissing()
{
    const QString target = path(QStringLiteral("sketch.png"));
    QVERIFY(!photo::writeDirectly(target, "content"));
    QVERIFY(!QFile::exists(target));
    QVERIFY(!photo::writeDirectly(m_folder->path(), "content"));
}

CRAYVELL_TEST_MAIN(DirectWriteTest)
#include "tst_directwrite.moc"
