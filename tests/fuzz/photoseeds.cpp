#include "tests/fuzz/seeds.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/testphotos.h"

namespace {

const QImage &scene()
{
    static const QImage picture = testphotos::scene(24, 18);
    return picture;
}

QImage translucent()
{
    QImage picture = scene().convertToFormat(QImage::Format_ARGB32);
    for (int x = 0; x < picture.width(); ++x)
        picture.setPixel(x, 9, qRgba(10, 200, 30, x * 10));
    return picture;
}

QByteArray tiffOfLzw()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "tiff");
    writer.setCompression(1);
    return writer.write(scene()) ? buffer.data() : QByteArray();
}

} // namespace

// Each format with those kinds only that it keeps apart: others would be one file.
Seeds writtenPhotos()
{
    Seeds seeds {{"progressive.jpeg", testphotos::progressiveJpeg(scene())},
                 {"segments.jpeg", hostilephotos::jpegWithSegments(3, 3)},
                 {"lossless.webp", testphotos::encoded(scene(), "webp", {}, 100)},
                 {"lzw.tiff", tiffOfLzw()}};
    const struct
    {
        const char *name;
        QImage picture;
        QList<const char *> formats;
    } kinds[] = {
        {"colour", scene(), {"jpeg", "png", "tiff", "webp", "bmp", "ppm", "pgm"}},
        {"grey",
         scene().convertToFormat(QImage::Format_Grayscale8),
         {"jpeg", "png", "tiff", "bmp"}},
        {"clear", translucent(), {"png", "tiff", "webp"}},
        {"deep", scene().convertToFormat(QImage::Format_RGBX64), {"png", "tiff"}},
        {"deepgrey", scene().convertToFormat(QImage::Format_Grayscale16), {"png", "tiff"}},
        {"indexed", scene().convertToFormat(QImage::Format_Indexed8), {"png", "tiff", "bmp"}},
        {"mono", scene().convertToFormat(QImage::Format_Mono), {"png", "tiff", "bmp"}},
    };
    for (const auto &[name, picture, formats] : kinds) {
        for (const char *format : formats)
            seeds[QLatin1String(name) + u'.' + format] = testphotos::encoded(picture, format);
    }
    return seeds;
}
