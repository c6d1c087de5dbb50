#pragma once

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QRandomGenerator>

// Photos made for the tests: soft colours, edges and some noise, the same every
// time.
namespace testphotos {

inline QImage scene(int width, int height, quint32 seed = 1)
{
    QRandomGenerator random(seed);
    QImage picture(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool inside = (x / 17 + y / 13) % 3 == 0;
            const int noise = static_cast<int>(random.bounded(24));
            picture.setPixel(x, y,
                             qRgb((inside ? 200 : 60) + noise, (x * 255 / width + noise) & 255,
                                  (y * 255 / height) ^ (inside ? 64 : 0)));
        }
    }
    return picture;
}

inline QByteArray encoded(const QImage &picture, const char *format,
                          QImageIOHandler::Transformations transformation = {}, int quality = 90)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setTransformation(transformation);
    return writer.write(picture) ? buffer.data() : QByteArray();
}

inline QByteArray jpeg(int width = 64, int height = 48, quint32 seed = 1)
{
    return encoded(scene(width, height, seed), "jpeg");
}

inline QByteArray progressiveJpeg(const QImage &picture)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setProgressiveScanWrite(true);
    return writer.write(picture) ? buffer.data() : QByteArray();
}

// A GIF whose codes are the pixels themselves: after a clear code the codes have
// eight bits, and stay so for the next 126 pixels. Greys of 7 bits.
inline QByteArray gif(const QImage &picture)
{
    const auto number = [](int value) {
        return QByteArray().append(char(value & 255)).append(char(value >> 8));
    };
    const QByteArray size = number(picture.width()) + number(picture.height());
    QByteArray file = "GIF89a" + size + QByteArray("\xf6\0\0", 3);
    for (int i = 0; i < 128; ++i)
        file += QByteArray(3, char(i * 2));
    file += QByteArray(",\0\0\0\0", 5) + size + QByteArray("\0\7", 2);
    QByteArray codes;
    for (int i = 0; i < picture.width() * picture.height(); ++i) {
        if (i % 100 == 0)
            codes += char(128);
        codes += char(qGray(picture.pixel(i % picture.width(), i / picture.width())) / 2);
    }
    codes += char(129);
    for (qsizetype at = 0; at < codes.size(); at += 255) {
        const QByteArray block = codes.mid(at, 255);
        file += char(block.size()) + block;
    }
    return file + QByteArray("\0;", 2);
}

} // namespace testphotos
