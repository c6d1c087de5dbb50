#include "photo/announcedpicture.h"

#include "photo/largepages.h"
#include "photo/webpheader.h"

namespace photo {

QSize announcedSize(QIODevice &device, PhotoFormat format, const QImageReader &reader)
{
    // The reader makes an animation's canvas to tell its size.
    if (format == PhotoFormat::WebP)
        return readWebPHeader(device).size;
    const QSize size = reader.size();
    // A picture may be stored from its top, which BMP tells by a negative height.
    return format == PhotoFormat::Bmp ? QSize(size.width(), qAbs(size.height())) : size;
}

QImage pictureToDecodeInto(QSize size, PhotoFormat format, const QImageReader &reader)
{
    if (size.isEmpty() || format == PhotoFormat::WebP)
        return {};
    // Asked for in large pages, which the reader does not do by itself.
    QImage picture = largeImage(size, reader.imageFormat());
    if (format != PhotoFormat::Jpeg)
        picture.fill(0);
    return picture;
}

} // namespace photo
