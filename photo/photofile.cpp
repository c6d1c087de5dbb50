#include "photo/photofile.h"

#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>

#include <algorithm>
#include <limits>

#include "photo/largepages.h"
#include "photo/memorybudget.h"
#include "photo/pngtexts.h"

namespace photo {

namespace {

constexpr int saveQuality = 100;

// Sets the toolkit's process-wide limit for one decoded picture and gives the
// former one back: a host may have its own.
class AllocationLimit
{
    Q_DISABLE_COPY_MOVE(AllocationLimit)

public:
    explicit AllocationLimit(qint64 bytes)
    {
        constexpr qint64 megabyte = 1024 * 1024;
        constexpr qint64 most = std::numeric_limits<int>::max();
        // Zero would mean no limit at all.
        const qint64 megabytes = std::clamp<qint64>(bytes / megabyte, 1, most);
        QImageReader::setAllocationLimit(static_cast<int>(megabytes));
    }
    ~AllocationLimit() { QImageReader::setAllocationLimit(former); }

private:
    const int former = QImageReader::allocationLimit();
};

bool hasTextBomb(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) && packedTextBytes(file) > mostPackedTextBytes;
}

} // namespace

Photo readPhoto(const QString &fileName)
{
    // A pipe or a device could keep the window waiting for ever.
    if (!QFileInfo(fileName).isFile() || hasTextBomb(fileName))
        return {};
    const qint64 available = availableMemory();
    QImageReader reader(fileName);
    reader.setAutoTransform(true);
    // A format that does not tell its size beforehand meets the limit alone.
    const QSize size = reader.size();
    if (photoMemoryNeed(size.width(), size.height()) > available)
        return {};
    const AllocationLimit limit(available / 3);
    // Where the size is known the decoder writes into memory that was asked for
    // in large pages; otherwise it takes its own.
    QImage image = size.isValid() ? largeImage(size, reader.imageFormat()) : QImage();
    if (!reader.read(&image))
        return {};
    if (photoMemoryNeed(image.width(), image.height()) > available)
        return {};
    const bool isOpaque = !image.hasAlphaChannel();
    image.setDevicePixelRatio(1); // a name that ends in "@2x" is no icon here
    image.convertTo(QImage::Format_ARGB32);
    return {image, isOpaque};
}

bool writeSketch(const QImage &sketch, const QString &fileName)
{
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // Without a format the suffix of the file's name decides. What is still
    // buffered is flushed here: commit() alone overlooks that it did not fit.
    return sketch.save(&file, nullptr, saveQuality) && file.flush() && file.commit();
}

QString canonicalDirectory(const QString &fileName)
{
    const QFileInfo file(fileName);
    return file.exists() ? file.canonicalPath() : QString();
}

} // namespace photo
