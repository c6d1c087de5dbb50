// The frei0r filter in the programs that load it: ffmpeg and melt.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

constexpr int frames = 3;

QImage frameOf(QSize size, int number)
{
    return pictures::noise(size.width(), size.height(), static_cast<quint32>(number));
}

// A raw film of one frame after another, as pictures.
QList<QImage> rawFrames(const QString &fileName, QSize size, QImage::Format format, int depth)
{
    QFile file(fileName);
    QList<QImage> pictures;
    if (!file.open(QIODevice::ReadOnly))
        return pictures;
    const QByteArray bytes = file.readAll();
    const qsizetype length = qsizetype(size.width()) * size.height() * depth;
    for (qsizetype at = 0; at + length <= bytes.size(); at += length) {
        const auto *pixels = reinterpret_cast<const uchar *>(bytes.constData()) + at;
        pictures +=
            QImage(pixels, size.width(), size.height(), size.width() * depth, format).copy();
    }
    return pictures;
}

// What differs between the frames of a sketched film and the reference.
QString difference(const QList<QImage> &film, QSize size, int black, int white)
{
    if (film.size() != frames)
        return QStringLiteral("%1 frames").arg(film.size());
    for (int i = 0; i < frames; ++i) {
        const QString fault =
            pictures::difference(film[i], pictures::expectedSketch(frameOf(size, i), black, white));
        if (!fault.isEmpty())
            return QStringLiteral("frame %1: %2").arg(i).arg(fault);
    }
    return {};
}

double meanDifference(const QImage &one, const QImage &other)
{
    double sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            sum += qAbs(qGreen(one.pixel(x, y)) - qGreen(other.pixel(x, y)));
    }
    return sum / (double(one.width()) * one.height());
}

} // namespace

class FilmHostsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void ffmpegFrames_data() { sizes(); }
    void ffmpegFrames();
    void meltFrames_data() { sizes(); }
    void meltFrames();
    void sixteenAtOnce();
    void aMinuteWithoutGrowth();
    void recipe();
    void wrongParameterIsTold();

private:
    static void sizes();
    static QString ffmpegFilter(QSize size);
    static bool isMissing(const QString &program)
    {
        return QStandardPaths::findExecutable(program).isEmpty();
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    void writeFrames(QSize size) const;
    bool writeProfile(QSize size) const;
    // True where the program ended well; what it said is in m_said.
    bool run(const QString &program, const QStringList &arguments, int patience = 600'000);
    qint64 peakOf(const QString &seconds);

    QTemporaryDir m_folder;
    QByteArray m_said;
    bool m_hangs = false;
};

#define NEEDS(program) \
    if (isMissing(QStringLiteral(program))) \
    QSKIP(program " is not installed")

void FilmHostsTest::init()
{
    QVERIFY(m_folder.isValid());
    const QDir folder(m_folder.path());
    for (const QString &name : folder.entryList(QDir::Files))
        QFile::remove(folder.filePath(name));
}

void FilmHostsTest::sizes()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(64, 48), QSize(640, 360), QSize(644, 66), QSize(1080, 48),
                             QSize(157, 61), QSize(33, 17), QSize(6, 7), QSize(5, 3)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
}

void FilmHostsTest::writeFrames(QSize size) const
{
    for (int i = 0; i < frames; ++i)
        QVERIFY(frameOf(size, i).save(path(QStringLiteral("photo%1.png").arg(i))));
}

bool FilmHostsTest::writeProfile(QSize size) const
{
    QFile file(path("profile"));
    const QString text = QStringLiteral("description=test\nframe_rate_num=25\nframe_rate_den=1\n"
                                        "width=%1\nheight=%2\nprogressive=1\n"
                                        "sample_aspect_num=1\nsample_aspect_den=1\n"
                                        "display_aspect_num=%1\ndisplay_aspect_den=%2\n"
                                        "colorspace=709\n");
    return file.open(QIODevice::WriteOnly)
        && file.write(text.arg(size.width()).arg(size.height()).toUtf8()) > 0;
}

// False where it fails, and where it is not done in so many milliseconds, which m_hangs tells.
bool FilmHostsTest::run(const QString &program, const QStringList &arguments, int patience)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("FREI0R_PATH", CRAYVELL_FREI0R_FOLDER);
    // Where the plug-in is sanitized its host has to begin with the sanitizer.
    environment.insert("LD_PRELOAD", CRAYVELL_HOST_PRELOAD);
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    m_hangs = !process.waitForFinished(patience);
    if (m_hangs) {
        process.kill();
        process.waitForFinished();
    }
    m_said = process.readAll();
    return !m_hangs && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// Before its version 6 ffmpeg hands a plug-in lines that are padded to 16 pixels, or as
// they come, and says nothing of it. What to do with other widths is told in
// docs/plugins.md.
QString FilmHostsTest::ffmpegFilter(QSize size)
{
    const QString filter = QStringLiteral("frei0r=crayvell:0.2|0.9");
    if (size.width() % 16 == 0)
        return "format=bgra," + filter;
    return QStringLiteral("format=bgra,pad=ceil(iw/16)*16:ih,%1,crop=%2:ih:0:0,"
                          "drawbox=iw-2:0:2:ih:white:fill")
        .arg(filter)
        .arg(size.width());
}

void FilmHostsTest::ffmpegFrames()
{
    NEEDS("ffmpeg");
    QFETCH(QSize, size);
    writeFrames(size);
    const QStringList input {"-v", "error", "-i", "photo%d.png", "-vf"};
    const QStringList output {"-f", "rawvideo", "-pix_fmt", "bgra", "-y", "sketch.raw"};
    QVERIFY2(run("ffmpeg", input + QStringList {"format=bgra,frei0r=crayvell:0.2|0.9"} + output),
             m_said);
    QCOMPARE(rawFrames(path("sketch.raw"), size, QImage::Format_ARGB32, 4).size(), frames);
    QVERIFY2(run("ffmpeg", input + QStringList {ffmpegFilter(size)} + output), m_said);
    QCOMPARE(
        difference(rawFrames(path("sketch.raw"), size, QImage::Format_ARGB32, 4), size, 51, 230),
        QString());
}

void FilmHostsTest::meltFrames()
{
    NEEDS("melt");
    QFETCH(QSize, size);
    writeFrames(size);
    QVERIFY(writeProfile(size));
    // Where the machine has much else to do, melt 7.12 may end well without a single frame, or
    // never, with its own filters and without any: on one core that another program uses, too,
    // 10 of 25 plain runs hung.
    constexpr int attempts = 20;
    constexpr int patience = 12'000; // of all, below the time limit of a test
    for (int i = 0; i < attempts && QFileInfo(path("sketch.raw")).size() == 0; ++i) {
        const bool isWell = run("melt",
                                {"-profile", "./profile", "avformat:photo%d.png", "-filter",
                                 "frei0r.crayvell", "black=0.2", "white=0.9", "-consumer",
                                 "avformat:sketch.raw", "f=rawvideo", "vcodec=rawvideo",
                                 "pix_fmt=rgb24", "mlt_image_format=rgb", "an=1", "real_time=-1"},
                                patience);
        QVERIFY2(isWell || m_hangs, m_said);
        if (m_hangs)
            QFile::remove(path("sketch.raw"));
    }
    QCOMPARE(
        difference(rawFrames(path("sketch.raw"), size, QImage::Format_RGB888, 3), size, 51, 230),
        QString());
}

// Sixteen instances in one process, each with levels of its own.
void FilmHostsTest::sixteenAtOnce()
{
    NEEDS("ffmpeg");
    constexpr int count = 16;
    const QSize size(160, 61);
    writeFrames(size);
    QString graph = QStringLiteral("format=bgra,split=%1").arg(count);
    for (int i = 0; i < count; ++i)
        graph += QStringLiteral("[in%1]").arg(i);
    for (int i = 0; i < count; ++i) {
        graph += QStringLiteral(";[in%1]frei0r=crayvell:%2|1[out%1]")
                     .arg(i)
                     .arg(10 * i / 255.0, 0, 'f', 6);
    }
    QStringList arguments {"-v", "error", "-i", "photo%d.png", "-filter_complex", graph};
    for (int i = 0; i < count; ++i) {
        arguments += {"-map", QStringLiteral("[out%1]").arg(i),     "-f", "rawvideo", "-pix_fmt",
                      "bgra", QStringLiteral("sketch%1.raw").arg(i)};
    }
    QVERIFY2(run("ffmpeg", arguments), m_said);
    for (int i = 0; i < count; ++i) {
        const QString film = path(QStringLiteral("sketch%1.raw").arg(i));
        QCOMPARE(difference(rawFrames(film, size, QImage::Format_ARGB32, 4), size, 10 * i, 255),
                 QString());
    }
}

qint64 FilmHostsTest::peakOf(const QString &seconds)
{
    const QString film = "testsrc2=size=640x360:rate=25:duration=" + seconds;
    const bool isWell =
        run(CRAYVELL_PEAK_MEMORY,
            {QStandardPaths::findExecutable("ffmpeg"), "-v", "error", "-threads", "1", "-f",
             "lavfi", "-i", film, "-vf", "format=bgra,frei0r=crayvell:0.2|0.9", "-f", "null", "-"});
    return isWell ? m_said.toLongLong() : 0;
}

void FilmHostsTest::aMinuteWithoutGrowth()
{
    NEEDS("ffmpeg");
    if (process::isSanitized())
        QSKIP("the sanitizer keeps what was freed");
    const qint64 fiveSeconds = peakOf("5");
    const qint64 minute = peakOf("60");
    QVERIFY2(fiveSeconds > 1'000'000, m_said);
    QVERIFY2(minute > 1'000'000, m_said);
    // 1375 frames more: a kilobyte kept of each, or a few frames, would be seen.
    QVERIFY2(minute - fiveSeconds < 1'000'000,
             qPrintable(QStringLiteral("%1 and %2").arg(fiveSeconds).arg(minute)));
}

// The film of docs/plugins.md: its sound is the same stream, its white is white.
void FilmHostsTest::recipe()
{
    NEEDS("ffmpeg");
    const QSize size(320, 180);
    QVERIFY2(run("ffmpeg",
                 {"-v", "error", "-f", "lavfi", "-i", "testsrc2=size=320x180:rate=25:duration=2",
                  "-f", "lavfi", "-i", "sine=frequency=440:duration=2", "-pix_fmt", "yuv420p",
                  "-c:v", "libx264", "-c:a", "aac", "in.mp4"}),
             m_said);
    QVERIFY2(run("ffmpeg",
                 {"-v", "error", "-i", "in.mp4", "-vf", "format=bgra,frei0r=crayvell:0.2|0.9",
                  "-pix_fmt", "yuv420p", "-crf", "10", "-c:a", "copy", "out.mp4"}),
             m_said);
    QList<QByteArray> sounds;
    for (const QString film : {"in", "out"}) {
        QVERIFY2(run("ffmpeg",
                     {"-v", "error", "-i", film + ".mp4", "-map", "0:a", "-c", "copy", "-f", "md5",
                      "-"}),
                 m_said);
        sounds += m_said;
        QVERIFY2(run("ffmpeg",
                     {"-v", "error", "-i", film + ".mp4", "-f", "rawvideo", "-pix_fmt", "bgra",
                      film + ".raw"}),
                 m_said);
    }
    QVERIFY(sounds[0].contains("MD5="));
    QCOMPARE(sounds[1], sounds[0]);
    const QList<QImage> photos = rawFrames(path("in.raw"), size, QImage::Format_ARGB32, 4);
    const QList<QImage> sketches = rawFrames(path("out.raw"), size, QImage::Format_ARGB32, 4);
    QCOMPARE(photos.size(), 50);
    QCOMPARE(sketches.size(), 50);
    for (const int i : {0, 25, 49}) {
        const double levels =
            meanDifference(sketches[i], pictures::expectedSketch(photos[i], 51, 230));
        QVERIFY2(levels < 2, QByteArray::number(levels)); // of the codec
    }
}

void FilmHostsTest::wrongParameterIsTold()
{
    NEEDS("ffmpeg");
    writeFrames({8, 8});
    QVERIFY(!run("ffmpeg",
                 {"-v", "error", "-i", "photo%d.png", "-vf", "format=bgra,frei0r=crayvell:dark|0.9",
                  "-f", "null", "-"}));
    QVERIFY2(m_said.contains("Invalid value 'dark' for parameter 'black'"), m_said);
}

CRAYVELL_TEST_MAIN(FilmHostsTest)
#include "tst_filmhosts.moc"
