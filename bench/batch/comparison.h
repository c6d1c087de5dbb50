#pragma once

#include <QFileInfo>
#include <QSize>
#include <QStandardPaths>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

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

// Runs the contender's command once and keeps the least of each cost. False where
// it fails.
bool measure(Contender &contender);

// Mean difference of two sketches in levels, 255 where they cannot be compared. The
// greys of the contenders differ by a level, which the division makes much of where
// a photo is dark.
double meanDifference(const QString &fileName, const QString &otherName);

// The contenders of one run and what they cost.
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
