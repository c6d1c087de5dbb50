#include "app/sketchpictures.h"

#include <algorithm>

#include "photo/argb32.h"
#include "photo/largepages.h"

namespace {

void deleteImage(void *image)
{
    delete static_cast<QImage *>(image);
}

} // namespace

QImage SketchPictures::next(const QImage &photo)
{
    if (photo.isNull())
        return {};
    const auto isUsable = [&](const QImage &memory) {
        return memory.isDetached() && memory.size() == photo.size();
    };
    auto memory = std::find_if(m_memory.begin(), m_memory.end(), isUsable);
    if (memory == m_memory.end()) {
        const auto isFree = [](const QImage &image) {
            return image.isNull() || image.isDetached();
        };
        memory = std::find_if(m_memory.begin(), m_memory.end(), isFree);
        if (memory == m_memory.end())
            memory = m_memory.begin(); // somebody keeps both; this one is theirs now
        *memory = photo::largeImage(photo.size(), QImage::Format_ARGB32);
    }
    if (memory->isNull())
        return {};
    // The picture has a count of references of its own, so that writing to it
    // does not copy; it keeps the memory in use through the image it owns.
    uchar *const bits = memory->bits();
    QImage picture(bits, memory->width(), memory->height(), memory->bytesPerLine(),
                   QImage::Format_ARGB32, deleteImage, new QImage(*memory));
    photo::copyMetadata(photo, picture);
    return picture;
}

void SketchPictures::release()
{
    m_memory.fill(QImage());
}

QPixmap opaquePixmap(const QImage &picture)
{
    if (picture.isNull())
        return {};
    // Format_RGB32 spares the toolkit the search for transparent pixels and the
    // conversion of what it would find opaque.
    QImage opaque(picture.constBits(), picture.width(), picture.height(), picture.bytesPerLine(),
                  QImage::Format_RGB32, deleteImage, new QImage(picture));
    photo::copyMetadata(picture, opaque);
    return QPixmap::fromImage(opaque);
}

QImage emptyOverlay(const QImage &photo)
{
    QImage overlay = photo::largeImage(photo.size(), QImage::Format_ARGB32_Premultiplied);
    if (overlay.isNull())
        return overlay;
    overlay.fill(Qt::transparent);
    photo::copyMetadata(photo, overlay);
    return overlay;
}
