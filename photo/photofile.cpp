#include "photo/photofile.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>

#include <algorithm>
#include <limits>
#include <new>

#include "photo/announcedpicture.h"
#include "photo/argb32.h"
#include "photo/directwrite.h"
#include "photo/largepages.h"
#include "photo/memorybudget.h"
#include "photo/photoerror.h"
#include "photo/photoformat.h"
#include "photo/photoinput.h"
#include "photo/readingbounds.h"
#include "photo/unfinishedsave.h"

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

// Only this one is known to write there: readers of other formats may leave what
// the file holds.
UnusedAlpha alphaOf(PhotoFormat format)
{
    return format == PhotoFormat::Jpeg ? UnusedAlpha::Opaque : UnusedAlpha::Undefined;
}

// The memory that a grey JPEG takes in the end, for decoding it there too; else null.
QImage memoryForGrey(QSize size, PhotoFormat format, const QImageReader &reader)
{
    const bool isGrey =
        format == PhotoFormat::Jpeg && reader.imageFormat() == QImage::Format_Grayscale8;
    return isGrey ? largeImage(size, QImage::Format_ARGB32) : QImage();
}

// A picture of the announced size, if there is one, upright.
Photo decode(PhotoInput &input, QImageReader &reader, QSize size, PhotoFormat format)
{
    const qint64 available = availableMemory();
    if (photoMemoryNeed(size.width(), size.height()) > available)
        return {};
    const AllocationLimit limit(available / 3);
    QImage colours = memoryForGrey(size, format, reader);
    QImage picture =
        colours.isNull() ? pictureToDecodeInto(size, format, reader) : greyWithin(colours);
    if (!reader.read(&picture))
        return {};
    input.checkUnchanged();
    // A format that does not tell its size beforehand meets the limit alone.
    if (photoMemoryNeed(picture.width(), picture.height()) > available)
        return {};
    const bool isOpaque = !picture.hasAlphaChannel();
    return {toArgb32(std::move(picture), alphaOf(format), std::move(colours)), isOpaque};
}

Photo readUpright(PhotoInput &input)
{
    QIODevice &device = input.pictureDevice();
    const PhotoFormat format = contentKind(device.peek(contentProbe), {}).format;
    checkReadingBounds(device, format, JpegReach::WholeFile);
    QImageReader reader(&device);
    reader.setAutoTransform(true);
    const QSize size = announcedSize(device, format, reader);
    if (format == PhotoFormat::WebP && size.isEmpty())
        return {}; // not to be asked of the reader
    return decode(input, reader, size, format);
}

enum class Replacement {
    Done,
    Failed, // what was there is unchanged
    Impossible, // the same, because no new file can take its place
};

// Writes a new file and gives it the name in one step.
Replacement replaceBySketch(const QImage &sketch, const QString &fileName, const QByteArray &format)
{
    // A new file in place of a pipe or a device would take it from others.
    const QFileInfo target(fileName);
    if (target.exists() && !target.isFile())
        return Replacement::Impossible;
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return Replacement::Impossible;
    // What is still buffered is flushed here, and brought to the disk: commit() alone
    // overlooks that it did not fit.
    if (!sketch.save(&file, format.constData(), saveQuality) || !file.flush()
        || !synchronise(file.handle()))
        return Replacement::Failed;
    const UnfinishedSave unfinished(file, fileName);
    try {
        // In a shared folder a new file can be made, and yet replace nothing.
        return file.commit() ? Replacement::Done : Replacement::Impossible;
    } catch (const std::bad_alloc &) {
        unfinished.remove();
        throw;
    }
}

bool write(const QImage &sketch, const QString &fileName)
{
    const QByteArray format = QFileInfo(fileName).suffix().toLatin1();
    if (format.isEmpty())
        return false;
    switch (replaceBySketch(sketch, fileName, format)) {
    case Replacement::Done: return true;
    case Replacement::Failed: return false;
    case Replacement::Impossible: break;
    }
    QBuffer encoded;
    return encoded.open(QIODevice::WriteOnly)
        && sketch.save(&encoded, format.constData(), saveQuality)
        && writeDirectly(fileName, encoded.data());
}

} // namespace

Photo readPhoto(const QString &fileName)
{
    try {
        // A file of this name is no standard input.
        const QString path = fileName == QLatin1String("-") ? QStringLiteral("./-") : fileName;
        PhotoInput input(QFile::encodeName(path).toStdString(), 0);
        return readUpright(input);
    } catch (const PhotoError &) {
        return {};
    }
}

bool writeSketch(const QImage &sketch, const QString &fileName)
{
    try {
        return write(sketch, fileName);
    } catch (const std::bad_alloc &) {
        return false; // the window and its sketch stay
    }
}

QString canonicalDirectory(const QString &fileName)
{
    const QFileInfo file(fileName);
    return file.exists() ? file.canonicalPath() : QString();
}

} // namespace photo
