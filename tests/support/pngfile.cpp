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

} // namespace

QByteArray pngHeader(quint32 width, quint32 height, quint8 depth, quint8 colourType)
{
    return beginning(width, height, depth, colourType) + chunk("IDAT", "\x78\x9c");
}

QByteArray pngWithTexts(int count)
{
    const QByteArray text =
        chunk("zTXt", QByteArray("Comment\0\0", 9) + packed(QByteArray(7'900'000, 'a')));
    return beginning(1, 1, 8, 0) + text.repeated(count)
        + chunk("IDAT", packed(QByteArray("\0\xff", 2))) + chunk("IEND", {});
}
