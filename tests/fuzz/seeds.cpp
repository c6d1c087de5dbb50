#include <QDir>
#include <QFile>

#include "tests/fuzz/application.h"
#include "tests/support/exiffile.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/testphotos.h"

// Writes the inputs that fuzzing begins with into folders of the targets' names: every
// kind of file that is accepted, small, and what is known to be hard.

namespace {

using Seeds = QMap<QString, QByteArray>;

Seeds photos()
{
    const QImage scene = testphotos::scene(24, 18);
    Seeds seeds {{"progressive.jpg", testphotos::progressiveJpeg(scene)},
                 {"a.gif", testphotos::gif(scene)},
                 {"segments.jpg", hostilephotos::jpegWithSegments(3, 3)},
                 {"scans.jpg", hostilephotos::jpegWithScans(2, QSize(16, 16))},
                 {"plain.ppm", "P3\n2 2\n255\n1 2 3 4 5 6 7 8 9 10 11 12\n"}};
    for (const char *format : {"jpeg", "png", "tiff", "webp", "bmp", "ppm", "pgm"})
        seeds[QStringLiteral("colour.") + format] = testphotos::encoded(scene, format);
    const std::pair<const char *, QImage::Format> kinds[] = {
        {"deep", QImage::Format_RGBX64},     {"clear", QImage::Format_ARGB32},
        {"grey", QImage::Format_Grayscale8}, {"indexed", QImage::Format_Indexed8},
        {"mono", QImage::Format_Mono},
    };
    for (const auto &[name, kind] : kinds) {
        for (const char *format : {"png", "tiff", "bmp", "jpeg"})
            seeds[QLatin1String(name) + u'.' + format] =
                testphotos::encoded(scene.convertToFormat(kind), format);
    }
    return seeds;
}

Seeds metadata()
{
    exiffile::Data data;
    data.image = {exiffile::text(0x0110, "a camera"), exiffile::number(0x0112, 6)};
    data.photo = {exiffile::text(0x9003, "2020:01:01 00:00:00"),
                  exiffile::bytes(0x927c, QByteArray(40, 'n'))};
    Seeds seeds;
    for (const bool isBigEndian : {false, true}) {
        data.isBigEndian = isBigEndian;
        const QByteArray block = exiffile::block(data);
        const QString order = isBigEndian ? "big." : "little.";
        seeds[order + "jpg"] = exiffile::jpeg(block);
        seeds[order + "png"] = exiffile::png(block);
        seeds[order + "webp"] = exiffile::webp(block);
        seeds[order + "tif"] = exiffile::tiff(data, 8, 8);
    }
    seeds["overlapping.jpg"] = exiffile::jpeg(exiffile::block(exiffile::overlapping(9, 30)));
    return seeds;
}

Seeds options()
{
    return {{"list", "--output-dir\nout\n-j\n2\n\na.jpg\nb.jpg\na.jpg\n"},
            {"zeros", QByteArray("--null\n--quality=80\n--overwrite\n\na.jpg\0b\nc.jpg\0", 48)},
            {"levels", "--black\n10\n--white=200\n--format\npng\n--max-memory\n1G\n\nx\n"},
            {"help", "--help\n"},
            {"wrong", "--outputdir\n--\n-\n\n"},
            {"letters", "-qrvo-\n\n.\n..\n"}};
}

// Numbers for both: events of every kind, sizes and levels.
Seeds numbers()
{
    Seeds seeds;
    for (quint32 seed = 1; seed <= 12; ++seed) {
        QRandomGenerator random(seed);
        QByteArray bytes;
        for (int i = 0; i < 30 + 20 * static_cast<int>(seed); ++i)
            bytes += static_cast<char>(random.bounded(256));
        seeds[QString::number(seed)] = bytes;
    }
    return seeds;
}

// One tool after the other: chosen, pressed, dragged, let go, left.
Seeds strokes()
{
    Seeds seeds = numbers();
    for (char tool = 0; tool < 12; ++tool) {
        QByteArray bytes;
        bytes += QByteArray("\7\12\12\12\12\12\12\5", 8) + QByteArray("\6", 1) + tool;
        bytes += QByteArray("\0\0\1\1\50\50", 6);
        for (char at = 41; at < 60; at += 3)
            bytes += QByteArray("\1\1", 2) + at + at;
        bytes += QByteArray("\2\0\1\74\74\13", 6);
        seeds[QStringLiteral("tool%1").arg(int(tool))] = bytes;
    }
    return seeds;
}

bool writeAll(const QString &folder, const Seeds &seeds)
{
    QDir().mkpath(folder);
    for (auto seed = seeds.begin(); seed != seeds.end(); ++seed) {
        if (seed.value().isEmpty())
            continue; // a kind that this format does not know
        QFile file(folder + u'/' + seed.key());
        if (!file.open(QIODevice::WriteOnly) || file.write(seed.value()) != seed.value().size())
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    startApplication();
    const QString top = QFile::decodeName(argv[1]);
    Seeds files = photos();
    files.insert(metadata());
    const std::pair<const char *, Seeds> folders[] = {
        {"album", files},       {"window", files},     {"metadata", files},
        {"options", options()}, {"canvas", strokes()}, {"engine", numbers()},
    };
    for (const auto &[name, seeds] : folders) {
        if (!writeAll(top + u'/' + name, seeds))
            return 1;
    }
    return 0;
}
