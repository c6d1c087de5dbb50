#include "tests/fuzz/seeds.h"
#include "tests/support/exiffile.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/pngfile.h"
#include "tests/support/testphotos.h"

namespace {

using hostilephotos::littleEndian;

constexpr int width = 24;
constexpr int height = 18;

QByteArray pngOf(quint8 colourType, bool isInterlaced, const QByteArray &rows)
{
    QByteArray header = QByteArray("\0\0\0\x18\0\0\0\x12\x08", 9); // width, height, depth
    header += char(colourType);
    header += QByteArray("\0\0", 2) + char(isInterlaced);
    return QByteArray("\x89PNG\r\n\x1a\n") + pngChunk("IHDR", header)
        + pngChunk("IDAT", exiffile::packed(rows)) + pngChunk("IEND", {});
}

// A row without a filter of pixels that become brighter.
QByteArray pngRow(int pixels, int channels)
{
    QByteArray row(1, '\0');
    for (int i = 0; i < pixels * channels; ++i)
        row += char(i * 3);
    return row;
}

QByteArray interlacedPng(quint8 colourType, int channels)
{
    const struct
    {
        int firstColumn, columnStep, firstRow, rowStep;
    } passes[] = {
        {0, 8, 0, 8}, {4, 8, 0, 8}, {0, 4, 4, 8}, {2, 4, 0, 4},
        {0, 2, 2, 4}, {1, 2, 0, 2}, {0, 1, 1, 2},
    };
    QByteArray rows;
    for (const auto &pass : passes) {
        const int pixels = (width - pass.firstColumn + pass.columnStep - 1) / pass.columnStep;
        const int count = (height - pass.firstRow + pass.rowStep - 1) / pass.rowStep;
        rows += pngRow(pixels, channels).repeated(count);
    }
    return pngOf(colourType, true, rows);
}

QByteArray jpegSegment(char marker, const QByteArray &content)
{
    QByteArray length(2, '\0');
    qToBigEndian(quint16(content.size() + 2), length.data());
    return QByteArray("\xff") + marker + length + content;
}

// Four inks of 16 x 16 pixels. The codes of the first coefficients' sizes are 0 for none
// and 10 for three bits, that of a block's end is 0: the bits of 0xaa are blocks of one
// coefficient each.
QByteArray jpegOfInks(char transform)
{
    const auto codes = [](const QByteArray &name, const char *lengths, const QByteArray &values) {
        return jpegSegment('\xc4', name + QByteArray(lengths, 2) + QByteArray(14, '\0') + values);
    };
    QByteArray frame = QByteArray("\x08\0\x10\0\x10\4", 6);
    QByteArray scan(1, '\4');
    for (char ink = 1; ink <= 4; ++ink) {
        frame += QByteArray(1, ink) + QByteArray("\x11\0", 2);
        scan += QByteArray(1, ink) + '\0';
    }
    return "\xff\xd8" + jpegSegment('\xee', QByteArray("Adobe\0\x64\0\0\0\0", 11) + transform)
        + jpegSegment('\xdb', '\0' + QByteArray(64, '\x10')) + jpegSegment('\xc0', frame)
        + codes(QByteArray(1, '\0'), "\1\1", QByteArray("\0\3", 2))
        + codes(QByteArray(1, '\x10'), "\1\0", QByteArray(1, '\0'))
        + jpegSegment('\xda', scan + QByteArray("\0\x3f\0", 3)) + QByteArray(12, '\xaa')
        + "\xff\xd9";
}

enum class TiffLayout { Strip, Tiles };

// Greys or colours of 24 x 18 pixels in one strip, or in two tiles of 16 x 32.
QByteArray tiffOf(int compression, TiffLayout layout, quint32 samples, const QByteArray &part)
{
    using exiffile::number;
    const bool isTiled = layout == TiffLayout::Tiles;
    const auto size = quint32(part.size());
    exiffile::Data data;
    data.image = {number(256, width),
                  number(257, height),
                  number(258, 8),
                  number(259, compression),
                  number(262, samples == 3 ? 2 : 1),
                  number(277, samples)};
    if (isTiled)
        data.image << number(322, 16) << number(323, 32) << number(324, 0) << number(325, size);
    else
        data.image.insert(5, number(273, 0));
    if (!isTiled)
        data.image << number(278, height) << number(279, size);
    data.gap = isTiled ? 2 * part.size() : part.size();
    const auto begin = quint32(exiffile::directoriesEnd(data));
    if (isTiled) {
        data.image[8].value = littleEndian(begin) + littleEndian(begin + size);
        data.image[9].value = littleEndian(size) + littleEndian(size);
    } else {
        data.image[5] = number(273, begin);
    }
    return exiffile::block(data).replace(begin, data.gap, part.repeated(isTiled ? 2 : 1));
}

// Of each row the one half is a run, the other as it is.
QByteArray packedRuns(int rowBytes, int rows)
{
    QByteArray packed;
    const int half = rowBytes / 2;
    for (int row = 0; row < rows; ++row) {
        packed += QByteArray(1, char(1 - half)) + char(row);
        packed += char(half - 1) + pngRow(half / 3, 3).mid(1);
    }
    return packed;
}

Seeds tiffs()
{
    const QByteArray strip = pngRow(width * height, 3).mid(1);
    Seeds seeds {
        {"deflated.tiff", tiffOf(8, TiffLayout::Strip, 3, exiffile::packed(strip))},
        {"runs.tiff", tiffOf(32773, TiffLayout::Strip, 3, packedRuns(3 * width, height))},
        {"shared.tiff", hostilephotos::tiffWithSharedValues(2, true, 300)},
    };
    for (const bool isBigEndian : {false, true}) {
        exiffile::Data data;
        data.isBigEndian = isBigEndian;
        data.isBigTiff = true;
        seeds[isBigEndian ? "bigmotorola.tiff" : "bigintel.tiff"] = exiffile::tiff(data, 8, 8);
    }
    return seeds;
}

// The oldest header has numbers of two bytes; those from 52 bytes on have masks.
QByteArray bmpOf(quint32 headerBytes)
{
    const bool hasMasks = headerBytes != 12 && headerBytes != 64;
    const quint16 depth = hasMasks ? 32 : 24;
    QByteArray header = littleEndian(headerBytes);
    if (headerBytes == 12)
        header += littleEndian(quint16(width)) + littleEndian(quint16(height));
    else
        header += littleEndian(quint32(width)) + littleEndian(quint32(height));
    header += littleEndian(quint16(1)) + littleEndian(depth);
    if (headerBytes != 12)
        header += littleEndian(quint32(hasMasks ? 3 : 0)) + QByteArray(20, '\0');
    for (const quint32 mask : {0xff0000U, 0xff00U, 0xffU, 0xff000000U}) {
        if (hasMasks && header.size() < qsizetype(headerBytes))
            header += littleEndian(mask);
    }
    header += QByteArray(qsizetype(headerBytes) - header.size(), '\0');
    const QByteArray pixels = pngRow(width * height, depth / 8).mid(1);
    const auto begin = quint32(14 + header.size());
    return "BM" + littleEndian(quint32(begin + pixels.size())) + QByteArray(4, '\0')
        + littleEndian(begin) + header + pixels;
}

} // namespace

Seeds otherPhotos()
{
    const QByteArray gif = testphotos::gif(testphotos::scene(width, height));
    Seeds seeds {
        {"new.gif", gif},
        {"old.gif", QByteArray(gif).replace("GIF89a", "GIF87a")},
        {"plain.ppm", "P3\n2 2\n255\n1 2 3 4 5 6 7 8 9 10 11 12\n"},
        {"plain.pgm", "P2\n3 2\n255\n1 20 40 80 160 255\n"},
        {"interlaced.png", interlacedPng(2, 3)},
        {"interlacedgrey.png", interlacedPng(0, 1)},
        {"greyalpha.png", pngOf(4, false, pngRow(width, 2).repeated(height))},
        {"interlacedgreyalpha.png", interlacedPng(4, 2)},
        {"cmyk.jpeg", jpegOfInks(0)},
        {"ycck.jpeg", jpegOfInks(2)},
        {"runs.bmp", hostilephotos::bmpWithSkippedPixels(16, 12)},
    };
    for (const quint32 headerBytes : {12, 64, 108, 124})
        seeds[QStringLiteral("header%1.bmp").arg(headerBytes)] = bmpOf(headerBytes);
    seeds.insert(tiffs());
    return seeds;
}

Seeds refusedPhotos()
{
    const QByteArray greys = pngRow(16 * 32, 1).mid(1);
    const QByteArray colours = pngRow(16 * 32, 3).mid(1);
    return {{"header52.bmp", bmpOf(52)},
            {"header56.bmp", bmpOf(56)},
            {"scans.jpeg", hostilephotos::jpegWithScans(2, QSize(16, 16))},
            {"colourtiles.tiff", tiffOf(1, TiffLayout::Tiles, 3, colours)},
            {"tiles.tiff", tiffOf(1, TiffLayout::Tiles, 1, greys)},
            {"deflatedtiles.tiff", tiffOf(8, TiffLayout::Tiles, 1, exiffile::packed(greys))}};
}
