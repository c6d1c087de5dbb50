// crayvell-batch against other ways to the same sketch, each in a process of its
// own, in turns: seconds a photo on one core, the size of the files, and memory.
//
//   bench_batch [--smoke] [PHOTO]
//
// Without a photo, one of 24 megapixels is made. The times are processor time,
// the least of all rounds, which other programs on the machine disturb the least;
// that of -j 2 against -j 1 is time on the clock. The same photo in other formats
// shows the peak memory of a job, beside the limit that it must keep.

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>
#include <optional>

#include "bench/batch/comparison.h"

namespace {

QImage madePhoto(QSize size)
{
    // Soft shades, texture and edges, enlarged, under the grain of a sensor.
    QRandomGenerator random(1);
    QImage small(size / 6, QImage::Format_RGB32);
    for (int y = 0; y < small.height(); ++y) {
        for (int x = 0; x < small.width(); ++x) {
            const int texture = static_cast<int>(random.bounded(40));
            const int wall = (x / 60 + y / 45) % 3 * 50;
            small.setPixel(x, y, qRgb(60 + wall + texture, 80 + wall / 2 + texture, 190 - wall));
        }
    }
    QImage photo = small.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    for (int y = 0; y < photo.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(photo.scanLine(y));
        for (int x = 0; x < photo.width(); ++x) {
            const int grain = static_cast<int>(random.generate() % 5);
            line[x] = qRgb(qRed(line[x]) + grain, qGreen(line[x]) + grain, qBlue(line[x]));
        }
    }
    return photo;
}

QStringList copies(const QTemporaryDir &folder, const QByteArray &photo)
{
    QStringList names;
    for (int i = 0; i < photosForJobs; ++i) {
        QFile file(folder.filePath(QString::number(i) + ".jpg"));
        if (!file.open(QIODevice::WriteOnly) || file.write(photo) != photo.size())
            return {};
        names << file.fileName();
    }
    return names;
}

QByteArray photoBytes(QString name, bool smoke)
{
    const QTemporaryDir folder;
    if (name.isEmpty()) {
        name = folder.filePath("photo.jpg");
        if (!madePhoto(smoke ? QSize(600, 400) : QSize(6000, 4000)).save(name, "jpg", 92))
            return {};
    }
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The picture in a file of the given suffix, written fast; empty on failure.
QStringList written(const QTemporaryDir &folder, const QImage &picture, const QString &fileName)
{
    const QString name = folder.filePath(fileName);
    QImageWriter writer(name);
    if (fileName.endsWith(".png"))
        writer.setQuality(80); // means a low compression
    return writer.write(picture) ? QStringList(name) : QStringList();
}

// The photo's pixels in other formats.
struct OtherFormats
{
    QSize size;
    QStringList png, deepPng, deepTiff;

    bool areComplete() const { return !png.isEmpty() && !deepPng.isEmpty() && !deepTiff.isEmpty(); }
};

// Pictures that this process still held when it starts another one would count as
// that one's memory: none is given out.
OtherFormats otherFormats(const QTemporaryDir &folder, const QString &photoName)
{
    const QImage photo(photoName);
    const QImage deep = photo.convertToFormat(QImage::Format_RGBX64);
    return {photo.size(), written(folder, photo, "png8.png"), written(folder, deep, "png16.png"),
            written(folder, deep, "tiff16.tif")};
}

void addContenders(Comparison &comparison, const OtherFormats &formats)
{
    comparison.addOurs("crayvell jpg", ".jpg", {"-j", "1"});
    comparison.addOpenCv("OpenCV jpg", ".jpg", "100");
    comparison.addOurs("crayvell jpg 95", ".jpg", {"-j", "1", "--quality", "95"});
    comparison.addOpenCv("OpenCV jpg 95", ".jpg", "95");
    comparison.addOurs("crayvell png", ".png", {"-j", "1", "--format", "png"});
    comparison.addOpenCv("OpenCV png", ".png", "100");
    comparison.addOurs("crayvell 16 jpg, -j 1", ".jpg", {"-j", "1"}, photosForJobs);
    comparison.addOurs("crayvell 16 jpg, -j 2", ".jpg", {"-j", "2"}, photosForJobs);
    comparison.addImageMagick("ImageMagick jpg", "100");
    comparison.addImageMagick("ImageMagick jpg 95", "95");
    comparison.addOurs("crayvell jpg of PNG 8", ".jpg", {"-j", "1"}, formats.png);
    comparison.addOurs("crayvell jpg of PNG 16", ".jpg", {"-j", "1"}, formats.deepPng);
    comparison.addOurs("crayvell jpg of TIFF 16", ".jpg", {"-j", "1"}, formats.deepTiff);
}

void printResults(const Comparison &comparison, QSize size)
{
    comparison.print();
    comparison.ratio("crayvell jpg", "OpenCV jpg", &Cost::processor);
    comparison.ratio("crayvell jpg 95", "OpenCV jpg 95", &Cost::processor);
    comparison.ratio("crayvell png", "OpenCV png", &Cost::processor);
    comparison.ratio("crayvell jpg", "ImageMagick jpg", &Cost::processor);
    comparison.ratio("crayvell jpg 95", "ImageMagick jpg 95", &Cost::processor);
    comparison.ratio("crayvell 16 jpg, -j 2", "crayvell 16 jpg, -j 1", &Cost::clock);
    comparison.printMemory("JPEG", "crayvell jpg", size);
    comparison.printMemory("PNG 8", "crayvell jpg of PNG 8", size);
    comparison.printMemory("PNG 16", "crayvell jpg of PNG 16", size);
    comparison.printMemory("TIFF 16", "crayvell jpg of TIFF 16", size);
}

struct Arguments
{
    bool smoke = false;
    bool help = false;
    QString photo;
};

// Nothing where they are wrong.
std::optional<Arguments> parsed(const QStringList &words)
{
    Arguments arguments;
    for (const QString &word : words) {
        if (word == "--smoke")
            arguments.smoke = true;
        else if (word == "--help" || word == "-h")
            arguments.help = true;
        else if (word.startsWith('-') || !arguments.photo.isEmpty())
            return {};
        else
            arguments.photo = word;
    }
    return arguments;
}

int compare(const Arguments &arguments)
{
    const QTemporaryDir folder;
    const QStringList photos = copies(folder, photoBytes(arguments.photo, arguments.smoke));
    if (photos.isEmpty()) {
        std::printf("no photo\n");
        return 1;
    }
    const OtherFormats formats = otherFormats(folder, photos.first());
    if (!formats.areComplete()) {
        std::printf("the photo cannot be read, or written in other formats\n");
        return 1;
    }
    Comparison comparison(folder.path(), photos);
    addContenders(comparison, formats);
    if (!comparison.run(arguments.smoke ? 1 : 5) || !comparison.sketchesAgree())
        return 1;
    printResults(comparison, formats.size);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const auto arguments = parsed(QCoreApplication::arguments().mid(1));
    if (!arguments || arguments->help) {
        std::fprintf(arguments ? stdout : stderr, "usage: bench_batch [--smoke] [PHOTO]\n");
        return arguments ? 0 : 2;
    }
    return compare(*arguments);
}
