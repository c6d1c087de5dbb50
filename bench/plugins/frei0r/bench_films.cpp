// The plug-in for films in ffmpeg, set against ffmpeg's own edge detector.
//
//     bench_films [--smoke]
//
// Both filters get one decoded frame again and again, in the pixel format that they work
// in, and what they make is thrown away; processor time on one thread. What the same
// frames take without a filter, the program's start and the decoding above all, is
// subtracted. The contenders take turns, and the best of the rounds counts.

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "sketch/reference/edgebuffer.h"
#include "sketch/reference/levels.h"

namespace {

const QString sketchFilter = QStringLiteral("frei0r=crayvell:0.2|0.9");

struct Contender
{
    const char *name;
    QString format;
    QString filter;
    int frames;
    double best = std::numeric_limits<double>::infinity(); // ms of processor time a frame
};

std::optional<QByteArray> ffmpeg(const QString &folder, const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("ffmpeg", QStringList {"-hide_banner", "-nostdin", "-y"} + arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0) {
        std::fputs(process.readAll().constData(), stderr);
        return std::nullopt;
    }
    return process.readAll();
}

// Seconds of processor time for so many frames; negative where that failed.
double processorTime(const QString &folder, const Contender &contender, const QString &filter)
{
    const QString graph = QStringLiteral("format=%1,loop=loop=%2:size=1:start=0,%3")
                              .arg(contender.format)
                              .arg(contender.frames - 1)
                              .arg(filter);
    const auto told = ffmpeg(folder,
                             {"-benchmark", "-threads", "1", "-filter_threads", "1", "-i",
                              "photo.png", "-vf", graph, "-threads", "1", "-f", "null", "-"});
    static const QRegularExpression times("utime=([0-9.]+)s stime=([0-9.]+)s");
    const QRegularExpressionMatch match = times.match(told.value_or(QByteArray()));
    return match.hasMatch() ? match.captured(1).toDouble() + match.captured(2).toDouble() : -1;
}

bool measure(const QString &folder, Contender &contender)
{
    const double without = processorTime(folder, contender, "null");
    const double with = processorTime(folder, contender, contender.filter);
    if (without < 0 || with < 0)
        return false;
    contender.best = std::min(contender.best, (with - without) * 1000 / contender.frames);
    return true;
}

// Whether what is timed is right.
bool isExact(const QString &folder)
{
    const QString graph = "format=bgra," + sketchFilter;
    if (!ffmpeg(folder,
                {"-v", "error", "-i", "photo.png", "-vf", graph, "-f", "rawvideo", "-pix_fmt",
                 "bgra", "sketch.raw"}))
        return false;
    QImage expected = QImage(folder + "/photo.png").convertToFormat(QImage::Format_ARGB32);
    std::vector<unsigned char> edges(static_cast<std::size_t>(expected.sizeInBytes()) / 4);
    sketch::reference::edgeBuffer(expected, edges.data());
    sketch::reference::updatePenLevels(expected, edges.data(), 51, 230);
    QFile file(folder + "/sketch.raw");
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray sketch = file.readAll();
    return sketch.size() == expected.sizeInBytes()
        && std::memcmp(sketch.constData(), expected.constBits(), sketch.size()) == 0;
}

bool compare(const QString &folder, QSize size, int rounds, int frames)
{
    const QString scale = QStringLiteral("scale=%1:%2").arg(size.width()).arg(size.height());
    if (!ffmpeg(folder, {"-v", "error", "-i", CRAYVELL_EXAMPLE, "-vf", scale, "photo.png"}))
        return false;
    if (!isExact(folder)) {
        std::printf("the film's frame is not the sketch\n");
        return false;
    }
    Contender ours {"Crayvell", "bgra", sketchFilter, 16 * frames};
    Contender theirs {"edgedetect", "gray", "edgedetect", frames};
    for (int round = 0; round < rounds; ++round) {
        if (!measure(folder, ours) || !measure(folder, theirs))
            return false;
    }
    std::printf("| %d×%d | %.2f | %.0f | %.1f | %.1f |\n", size.width(), size.height(), ours.best,
                1000 / ours.best, theirs.best, theirs.best / ours.best);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const bool isSmoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    if (QStandardPaths::findExecutable("ffmpeg").isEmpty()) {
        std::printf("ffmpeg is not installed: nothing measured\n");
        return 0;
    }
    const QTemporaryDir folder;
    qputenv("FREI0R_PATH", CRAYVELL_FREI0R_FOLDER);
    std::printf("| Film | Crayvell, ms a frame | frames a second | edgedetect, ms a frame "
                "| times as fast |\n|---|--:|--:|--:|--:|\n");
    const QSize hd(1920, 1080);
    const QSize uhd(3840, 2160);
    if (isSmoke)
        return compare(folder.path(), {320, 180}, 1, 2) ? 0 : 1;
    return compare(folder.path(), hd, 5, 20) && compare(folder.path(), uhd, 5, 8) ? 0 : 1;
}
