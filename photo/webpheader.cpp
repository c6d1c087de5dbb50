#include "photo/webpheader.h"

#include <QByteArray>

namespace photo {

namespace {

constexpr qsizetype firstChunk = 12; // behind the container's name, length and kind
constexpr qsizetype content = firstChunk + 8; // behind the chunk's name and length

// A little-endian number of so many bytes.
quint32 number(const QByteArray &bytes, qsizetype at, int count)
{
    quint32 value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = value << 8 | static_cast<uchar>(bytes[at + i]);
    return value;
}

} // namespace

WebPHeader readWebPHeader(QIODevice &device)
{
    const QByteArray bytes = device.peek(content + 10);
    if (bytes.size() < content + 10 || !bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WEBP")
        return {};
    const QByteArray chunk = bytes.mid(firstChunk, 4);
    WebPHeader header;
    if (chunk == "VP8X") { // the canvas of a picture with parts
        constexpr int animation = 2;
        header.isAnimated = bytes[content] & animation;
        header.size = QSize(static_cast<int>(number(bytes, content + 4, 3)) + 1,
                            static_cast<int>(number(bytes, content + 7, 3)) + 1);
    } else if (chunk == "VP8 ") { // behind three bytes for the frame, three of signature
        constexpr quint32 mask = 0x3fff;
        header.isLossy = true;
        header.size = QSize(static_cast<int>(number(bytes, content + 6, 2) & mask),
                            static_cast<int>(number(bytes, content + 8, 2) & mask));
    } else if (chunk == "VP8L") { // behind one of signature, 14 bits each, less one
        const quint32 bits = number(bytes, content + 1, 4);
        header.size =
            QSize(static_cast<int>(bits & 0x3fff) + 1, static_cast<int>(bits >> 14 & 0x3fff) + 1);
    }
    return header;
}

qint64 webPWorkBytes(const WebPHeader &header)
{
    const int bytesPerPixel = header.isAnimated ? 8 : header.isLossy ? 0 : 4;
    return qint64(header.size.width()) * header.size.height() * bytesPerPixel;
}

} // namespace photo
