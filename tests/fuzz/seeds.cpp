#include <QDir>
#include <QFile>
#include <QImage>
#include <QRandomGenerator>
#include <QSet>

#include <cstdio>

#include "tests/fuzz/application.h"
#include "tests/fuzz/seeds.h"
#include "tests/support/exiffile.h"

// Writes the inputs that fuzzing begins with into folders of the targets' names: every
// kind of file that is accepted, small, and what is known to be hard.

namespace {

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

// Empty where the toolkit lacks a format: one that is missing would never be fuzzed.
QString faultOf(const Seeds &seeds)
{
    QSet<QByteArray> known;
    for (auto seed = seeds.begin(); seed != seeds.end(); ++seed) {
        if (seed.value().isEmpty())
            return seed.key() + " could not be made";
        if (known.contains(seed.value()))
            return seed.key() + " is the same as another one";
        known.insert(seed.value());
    }
    return {};
}

// What cannot be read at all begins nowhere behind the file's beginning.
QString faultOfPictures(const Seeds &seeds)
{
    for (auto seed = seeds.begin(); seed != seeds.end(); ++seed) {
        if (QImage::fromData(seed.value()).isNull())
            return seed.key() + " cannot be read";
    }
    return {};
}

// Without those of a former version.
bool writeAll(const QString &folder, const Seeds &seeds)
{
    if (!QDir(folder).removeRecursively() || !QDir().mkpath(folder))
        return false;
    for (auto seed = seeds.begin(); seed != seeds.end(); ++seed) {
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
    Seeds files = writtenPhotos();
    files.insert(otherPhotos());
    files.insert(metadata());
    QString fault = faultOfPictures(files);
    files.insert(refusedPhotos());
    const std::pair<const char *, Seeds> folders[] = {
        {"album", files},           {"window", files},     {"metadata", files},
        {"canvas", strokes()},      {"engine", numbers()},
#ifdef CRAYVELL_FUZZ_OPTIONS
        {"options", optionSeeds()},
#endif
    };
    for (const auto &[name, seeds] : folders) {
        if (fault.isEmpty())
            fault = faultOf(seeds);
        if (fault.isEmpty() && !writeAll(top + u'/' + name, seeds))
            fault = QLatin1String(name) + " cannot be written";
    }
    if (!fault.isEmpty())
        std::fprintf(stderr, "%s\n", qPrintable(fault));
    return fault.isEmpty() ? 0 : 1;
}
