#include "photo/argb32.h"

#include <QColorSpace>

#include <algorithm>

#include "photo/largepages.h"

namespace photo {

namespace {

// What is written lies before what is still to be read, or apart from it.
void expandGrey(const uchar *levels, qsizetype stride, QImage &colours)
{
    for (int y = 0; y < colours.height(); ++y, levels += stride) {
        auto *const pixels = reinterpret_cast<QRgb *>(colours.scanLine(y));
        std::transform(levels, levels + colours.width(), pixels,
                       [](QRgb level) { return 0xff000000 | level << 16 | level << 8 | level; });
    }
}

bool isWithin(const QImage &grey, const QImage &colours)
{
    return !colours.isNull()
        && grey.constBits() + grey.sizeInBytes() == colours.constBits() + colours.sizeInBytes();
}

QImage greyToArgb32(const QImage &grey, QImage colours)
{
    if (!isWithin(grey, colours))
        colours = largeImage(grey.size(), QImage::Format_ARGB32);
    if (colours.isNull())
        return colours;
    expandGrey(grey.constBits(), grey.bytesPerLine(), colours);
    copyMetadata(grey, colours);
    return colours;
}

} // namespace

QImage greyWithin(QImage &colours)
{
    constexpr qsizetype alignment = 4; // of the rows, as the toolkit wants it
    const qsizetype stride = (colours.width() + alignment - 1) / alignment * alignment;
    uchar *const end = colours.bits() + colours.sizeInBytes();
    return QImage(end - stride * colours.height(), colours.width(), colours.height(), stride,
                  QImage::Format_Grayscale8);
}

QImage toArgb32(QImage picture, UnusedAlpha alpha, QImage colours)
{
    if (picture.format() == QImage::Format_Grayscale8)
        return greyToArgb32(picture, std::move(colours));
    if (picture.format() == QImage::Format_RGB32 && alpha == UnusedAlpha::Opaque)
        picture.reinterpretAsFormat(QImage::Format_ARGB32);
    else
        picture.convertTo(QImage::Format_ARGB32);
    return picture;
}

void copyMetadata(const QImage &from, QImage &to)
{
    to.setDevicePixelRatio(from.devicePixelRatio());
    to.setOffset(from.offset());
    to.setDotsPerMeterX(from.dotsPerMeterX());
    to.setDotsPerMeterY(from.dotsPerMeterY());
    to.setColorSpace(from.colorSpace());
    for (const QString &key : from.textKeys())
        to.setText(key, from.text(key));
}

} // namespace photo
