#pragma once

#include <QByteArray>
#include <QtEndian>

#include <algorithm>
#include <array>

#include "tests/support/testphotos.h"

// Small files that cost much, or leave pixels out.
namespace hostilephotos {

template <typename Number> QByteArray littleEndian(Number number)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

// A JPEG with so many segments without content before its pixels, or behind them.
inline QByteArray jpegWithSegments(int before, int behind = 0)
{
    const QByteArray photo = testphotos::jpeg();
    const QByteArray segment = QByteArray::fromHex("ffe10002");
    return photo.left(2) + segment.repeated(before) + photo.mid(2).chopped(2)
        + segment.repeated(behind) + photo.right(2);
}

// A progressive JPEG whose last scan, of one coefficient's last bit, is repeated.
inline QByteArray jpegWithScans(int more, QSize size = QSize(120, 100))
{
    const QByteArray photo =
        testphotos::progressiveJpeg(testphotos::scene(size.width(), size.height()));
    const qsizetype last = photo.lastIndexOf("\xff\xda");
    const QByteArray scan = photo.mid(last).chopped(2);
    return photo.left(last) + scan.repeated(more) + "\xff\xd9";
}

// The same scans within segments of no kind that is known: a decoder that looks for a
// restart among the pixels goes on there.
inline QByteArray jpegWithHiddenScans(int hidden)
{
    const QByteArray photo = jpegWithScans(0);
    const QByteArray restarts = QByteArray::fromHex("ffdd00040001");
    const QByteArray scan = QByteArray::fromHex("ffda0008010100013f00");
    const qsizetype first = photo.indexOf("\xff\xda");
    QByteArray file = photo.left(first) + restarts + photo.mid(first).chopped(2);
    constexpr int mostInOne = 5000;
    for (; hidden > 0; hidden -= mostInOne) {
        const QByteArray content = scan.repeated(std::min(hidden, mostInOne));
        QByteArray length(2, '\0');
        qToBigEndian(quint16(content.size() + 2), length.data());
        file += QByteArray::fromHex("00ff02") + length + content;
    }
    return file + "\xff\xd9";
}

// A TIFF of 8 bits a channel that says it were so large, and holds no more than 100 bytes.
inline QByteArray tiffOfSize(quint32 width, quint32 height)
{
    constexpr quint32 pixels = 100;
    const std::array<std::array<quint32, 2>, 9> tags {{{256, width},
                                                       {257, height},
                                                       {258, 8},
                                                       {259, 1}, // not packed
                                                       {262, 1}, // black is 0
                                                       {273, 8}, // where the pixels are
                                                       {277, 1},
                                                       {278, height},
                                                       {279, pixels}}};
    QByteArray file =
        "II*" + QByteArray(1, '\0') + littleEndian(8 + pixels) + QByteArray(pixels, '\x55');
    file += littleEndian(quint16(tags.size()));
    constexpr quint16 longNumber = 4;
    for (const auto &[tag, value] : tags)
        file += littleEndian(quint16(tag)) + littleEndian(longNumber) + littleEndian(quint32(1))
            + littleEndian(value);
    return file + littleEndian(quint32(0));
}

// A grey TIFF of 16 x 16 pixels with so many more tags (unknown ones), all of which
// have the same bytes for a value.
inline QByteArray tiffWithSharedValues(int tags, bool isBig, int valueBytes = 1'000'000,
                                       int firstTag = 40000)
{
    QByteArray file = isBig ? QByteArray("II+\0\10\0\0\0", 8) : QByteArray("II*\0", 4);
    const auto offset = [&](quint64 number) {
        return isBig ? littleEndian(number) : littleEndian(quint32(number));
    };
    const int entries = tags + 7;
    const quint64 directory = isBig ? 16 : 8;
    const quint64 pixels = directory + (isBig ? 8 + 20 * entries + 8 : 2 + 12 * entries + 4);
    const auto entry = [&](quint16 tag, quint16 type, quint64 count, quint64 value) {
        return littleEndian(tag) + littleEndian(type) + offset(count) + offset(value);
    };
    file += offset(directory)
        + (isBig ? littleEndian(quint64(entries)) : littleEndian(quint16(entries)));
    file += entry(256, 4, 1, 16) + entry(257, 4, 1, 16) + entry(258, 4, 1, 8) + entry(262, 4, 1, 1)
        + entry(273, 4, 1, pixels) + entry(278, 4, 1, 16) + entry(279, 4, 1, 256);
    for (int i = 0; i < tags; ++i)
        file += entry(quint16(firstTag + i), 1, quint64(valueBytes), pixels);
    return file + offset(0) + QByteArray(valueBytes, '\x40');
}

inline QByteArray webPChunk(const char *name, const QByteArray &content)
{
    return name + littleEndian(quint32(content.size())) + content
        + QByteArray(content.size() % 2, '\0');
}

// An animation of one pixel on a canvas of any size.
inline QByteArray animatedWebP(int width, int height)
{
    const QByteArray still = testphotos::encoded(testphotos::scene(1, 1), "webp", {}, 100);
    const auto three = [](int number) { return littleEndian(quint32(number)).left(3); };
    const QByteArray canvas = QByteArray("\2\0\0\0", 4) + three(width - 1) + three(height - 1);
    const QByteArray frame = QByteArray(12, '\0') + three(100) + '\0' + still.mid(12);
    const QByteArray chunks = "WEBP" + webPChunk("VP8X", canvas)
        + webPChunk("ANIM", QByteArray(6, '\0')) + webPChunk("ANMF", frame);
    return webPChunk("RIFF", chunks);
}

// A BMP of one byte a pixel with a palette of greys; without compression stored from
// the top when height is negative.
inline QByteArray bmp(int width, int height, quint32 compression, const QByteArray &pixels,
                      quint32 announcedBytes)
{
    constexpr quint32 paletteEntries = 256;
    constexpr quint32 offset = 14 + 40 + 4 * paletteEntries;
    QByteArray file = "BM" + littleEndian(quint32(offset + pixels.size())) + QByteArray(4, '\0')
        + littleEndian(offset) + littleEndian(quint32(40)) + littleEndian(qint32(width))
        + littleEndian(qint32(height)) + littleEndian(quint16(1)) + littleEndian(quint16(8))
        + littleEndian(compression) + littleEndian(announcedBytes) + QByteArray(8, '\0')
        + littleEndian(paletteEntries) + littleEndian(quint32(0));
    for (quint32 i = 0; i < paletteEntries; ++i)
        file += QByteArray(3, char(i)) + '\0';
    return file + pixels;
}

// Run lengths that leave out most of a picture: four pixels in each row's beginning.
inline QByteArray bmpWithSkippedPixels(int width, int height)
{
    const QByteArray row("\4\200\0\0", 4);
    return bmp(width, height, 1, row.repeated(height) + QByteArray("\0\1", 2),
               quint32(4 * height + 2));
}

} // namespace hostilephotos
