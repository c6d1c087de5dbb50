#include "photo/pngtexts.h"

#include <QtEndian>

#include <algorithm>

namespace photo {

namespace {

constexpr qint64 signatureBytes = 8;
constexpr qint64 headBytes = 8; // length and type
constexpr qint64 checksumBytes = 4;

// What a chunk of so many bytes, compressed, may become: deflate makes at most
// 1032 bytes of one, and the PNG library takes no more than 8 million a chunk.
qint64 unpacked(qint64 length)
{
    constexpr qint64 mostPerByte = 1032;
    constexpr qint64 mostPerChunk = 8'000'000;
    return std::min(length * mostPerByte, mostPerChunk);
}

bool isPacked(const QByteArray &type)
{
    return type == "zTXt" || type == "iTXt" || type == "iCCP";
}

} // namespace

qint64 packedTextBytes(QIODevice &device)
{
    if (device.peek(signatureBytes) != "\x89PNG\r\n\x1a\n")
        return 0;
    qint64 bytes = 0;
    for (qint64 at = signatureBytes; device.seek(at);) {
        const QByteArray head = device.read(headBytes);
        if (head.size() < headBytes)
            break;
        const qint64 length = qFromBigEndian<quint32>(head.constData());
        if (isPacked(head.last(4)))
            bytes += unpacked(length);
        at += headBytes + length + checksumBytes;
    }
    device.seek(0);
    return bytes;
}

} // namespace photo
