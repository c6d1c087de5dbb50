#include "tests/support/pngfile.h"

#include <QtEndian>

namespace {

QByteArray bigEndian(quint32 number)
{
    number = qToBigEndian(number);
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

// The CRC-32 of a chunk's type and data, as PNG files have it.
quint32 crc(const QByteArray &bytes)
{
    quint32 sum = 0xffffffffU;
    for (const char byte : bytes) {
        sum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1U) ? 0xedb88320U : 0U);
    }
    return sum ^ 0xffffffffU;
}

QByteArray chunk(const QByteArray &type, const QByteArray &data)
{
    return bigEndian(static_cast<quint32>(data.size())) + type + data + bigEndian(crc(type + data));
}

QByteArray beginning(quint32 width, quint32 height, quint8 depth, quint8 colourType)
{
    QByteArray header = bigEndian(width) + bigEndian(height);
    header += static_cast<char>(depth);
    header += static_cast<char>(colourType);
    header += QByteArray(3, '\0');
    return QByteArray("\x89PNG\r\n\x1a\n") + chunk("IHDR", header);
}

QByteArray packed(const QByteArray &bytes)
{
    return qCompress(bytes).mid(4); // without the size in front
}

QByteArray textChunk(PngText kind, const QByteArray &text)
{
    const QByteArray keyword("Comment\0", 8);
    switch (kind) {
    case PngText::Packed: return chunk("zTXt", keyword + '\0' + packed(text));
    case PngText::International:
        return chunk("iTXt", keyword + QByteArray("\0\0en\0Comment\0", 13) + text);
    case PngText::InternationalPacked: break;
    }
    return chunk("iTXt", keyword + QByteArray("\1\0en\0Comment\0", 13) + packed(text));
}

QByteArray whitePixel()
{
    return chunk("IDAT", packed(QByteArray("\0\xff", 2))) + chunk("IEND", {});
}

} // namespace

QByteArray pngChunk(const QByteArray &type, const QByteArray &data)
{
    return chunk(type, data);
}

QByteArray pngHeader(quint32 width, quint32 height, quint8 depth, quint8 colourType)
{
    return beginning(width, height, depth, colourType) + chunk("IDAT", "\x78\x9c");
}

QByteArray pngWithTexts(int count, PngText kind, const QByteArray &text)
{
    return beginning(1, 1, 8, 0) + textChunk(kind, text).repeated(count) + whitePixel();
}

QByteArray pngWithTexts(int count, PngText kind)
{
    return pngWithTexts(count, kind, QByteArray(7'900'000, 'a'));
}

QByteArray pngFollowedBy(const QByteArray &rest)
{
    return beginning(1, 1, 8, 0) + whitePixel() + rest;
}
