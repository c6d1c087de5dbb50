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
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int photosPerRun = 4; // so that starting the process hardly counts
constexpr int photosForJobs = 16; // so that, too, one job waiting for the last hardly counts

struct Cost
{
    double processor = std::numeric_limits<double>::infinity(); // seconds a photo
    double clock = std::numeric_limits<double>::infinity();
    long kilobytes = 0; // the most memory at a time
    qint64 fileSize = 0; // bytes of one sketch
    bool measured = false;
};

struct Contender
{
    const char *name;
    QStringList command;
    QString sketch; // one of the files that it writes
    int photos = photosPerRun;
    Cost cost {};
    bool isSlow = false; // measured once only
};

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

// What waiting for a process tells about it, which QProcess does not.
bool measure(Contender &contender)
{
    Cost &cost = contender.cost;
    std::vector<QByteArray> words;
    for (const QString &word : contender.command)
        words.push_back(QFile::encodeName(word));
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    QElapsedTimer clock;
    clock.start();
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
        return false;
    const auto seconds = [](const timeval &time) { return time.tv_sec + time.tv_usec / 1e6; };
    const double processor = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    cost.processor = std::min(cost.processor, processor / contender.photos);
    cost.clock = std::min(cost.clock, clock.nsecsElapsed() / 1e9 / contender.photos);
    cost.kilobytes = std::max(cost.kilobytes, usage.ru_maxrss);
    cost.measured = true;
    return true;
}

// Mean difference of two sketches. The greys of the contenders differ by a level,
// which the division makes much of where a photo is dark.
double meanDifference(const QString &fileName, const QString &otherName)
{
    const QImage one = QImage(fileName).convertToFormat(QImage::Format_Grayscale8);
    const QImage other = QImage(otherName).convertToFormat(QImage::Format_Grayscale8);
    if (one.isNull() || one.size() != other.size())
        return 255;
    qint64 sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            sum += qAbs(one.constScanLine(y)[x] - other.constScanLine(y)[x]);
    }
    return double(sum) / (double(one.width()) * one.height());
}

class Comparison
{
public:
    Comparison(const QString &folder, QStringList photos)
        : m_folder(folder)
        , m_photos(std::move(photos))
    {
    }

    void addOurs(const char *name, const QString &suffix, const QStringList &options,
                 int photos = photosPerRun)
    {
        addOurs(name, suffix, options, m_photos.mid(0, photos));
    }
    void addOurs(const char *name, const QString &suffix, const QStringList &options,
                 const QStringList &photos)
    {
        const QString out = m_folder + "/" + QString(name).simplified().replace(' ', '_');
        m_contenders.push_back({name,
                                QStringList {QStringLiteral(CRAYVELL_BATCH), "--quiet",
                                             "--overwrite", "--output-dir", out}
                                    + options + photos,
                                out + "/" + QFileInfo(photos.first()).completeBaseName() + suffix,
                                static_cast<int>(photos.size())});
    }
    void addOpenCv(const char *name, const QString &suffix, const QString &quality)
    {
        if (!QFileInfo::exists(QStringLiteral(CRAYVELL_OPENCVSKETCH)))
            return;
        const QString ending = "." + quality + suffix;
        m_contenders.push_back({name,
                                QStringList {QStringLiteral(CRAYVELL_OPENCVSKETCH), ending, quality}
                                    + m_photos.mid(0, photosPerRun),
                                m_photos.first() + ending});
    }
    void addImageMagick(const char *name, const QString &quality)
    {
        const QString convert = QStandardPaths::findExecutable("convert");
        if (convert.isEmpty())
            return;
        QStringList command {convert, "-limit", "thread", "1"};
        const QString sketch = m_folder + "/magick" + quality + ".jpg";
        const QString work = " -colorspace Gray ( +clone -negate -morphology Erode Square:2 )"
                             " -compose ColorDodge -composite -quality ";
        for (int i = 0; i < photosPerRun; ++i) {
            command << "(" << m_photos.at(i) << (work + quality).simplified().split(' ') << "-write"
                    << sketch << ")";
            if (i > 0)
                command << "-delete"
                        << "0";
        }
        m_contenders.push_back({name, command << "null:", sketch});
        m_contenders.back().isSlow = true;
    }

    bool run(int rounds)
    {
        for (int round = 0; round < rounds; ++round) {
            for (Contender &contender : m_contenders) {
                if (contender.isSlow && round > 0)
                    continue;
                if (!measure(contender)) {
                    std::printf("%s failed\n", contender.name);
                    return false;
                }
            }
        }
        for (Contender &contender : m_contenders)
            contender.cost.fileSize = QFileInfo(contender.sketch).size();
        return true;
    }

    bool sketchesAgree() const
    {
        for (const Contender &contender : m_contenders) {
            const double difference = meanDifference(contender.sketch, m_contenders.front().sketch);
            if (difference > 10) {
                std::printf("%s draws something else: %.1f levels\n", contender.name, difference);
                return false;
            }
        }
        return true;
    }

    void print() const
    {
        std::printf("%-28s %10s %10s %10s %10s\n", "", "s/photo", "on clock", "MB/file",
                    "MB memory");
        for (const Contender &contender : m_contenders) {
            std::printf("%-28s %10.3f %10.3f %10.1f %10.1f\n", contender.name,
                        contender.cost.processor, contender.cost.clock,
                        double(contender.cost.fileSize) / 1e6, megabytes(contender));
        }
    }

    // A limit of 6 bytes a pixel and 40 MB.
    void printMemory(const char *format, const char *name, QSize size) const
    {
        const Contender *contender = find(name);
        if (!contender)
            return;
        const double limit = (6.0 * size.width() * size.height() + 40e6) / 1e6;
        std::printf("%-8s peak memory of a job: %.0f MB, limit %.0f MB%s\n", format,
                    megabytes(*contender), limit, megabytes(*contender) > limit ? " EXCEEDED" : "");
    }

    void ratio(const char *subject, const char *baseline, double Cost::*what) const
    {
        const Contender *ours = find(subject);
        const Contender *theirs = find(baseline);
        if (!ours || !theirs)
            return;
        std::printf("%s is %.2f times as fast as %s, files %+.1f %%\n", subject,
                    theirs->cost.*what / (ours->cost.*what), baseline,
                    (double(ours->cost.fileSize) / double(theirs->cost.fileSize) - 1) * 100);
    }

private:
    static double megabytes(const Contender &contender)
    {
        return double(contender.cost.kilobytes) * 1024 / 1e6;
    }
    const Contender *find(const char *name) const
    {
        const auto found = std::ranges::find_if(m_contenders, [&](const Contender &contender) {
            return !std::strcmp(contender.name, name) && contender.cost.measured;
        });
        return found == m_contenders.end() ? nullptr : &*found;
    }

    QString m_folder;
    QStringList m_photos;
    std::vector<Contender> m_contenders;
};

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
