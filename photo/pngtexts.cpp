#include "photo/pngtexts.h"

#include <QtEndian>

#include <algorithm>
#include <array>

#include <zlib.h>

namespace photo {

namespace {

constexpr qint64 signatureBytes = 8;
constexpr qint64 headBytes = 8; // length and type
constexpr qint64 checksumBytes = 4;

// The PNG library takes no more of one chunk.
constexpr qint64 mostPerChunk = 8'000'000;

// The data of the chunk that the device stands in, from its beginning to its end.
class ChunkData
{
public:
    ChunkData(QIODevice &device, qint64 length)
        : m_device(device)
        , m_left(length)
    {
    }

    qint64 read(char *bytes, qint64 most)
    {
        const qint64 count = m_device.read(bytes, std::min(most, m_left));
        m_left -= std::max<qint64>(count, 0);
        return count;
    }

    // The next byte; -1 at the end.
    int next()
    {
        char byte = 0;
        return read(&byte, 1) == 1 ? static_cast<unsigned char>(byte) : -1;
    }

    // Skips a string and the zero at its end.
    void skipString()
    {
        for (int byte = next(); byte > 0;)
            byte = next();
    }

private:
    QIODevice &m_device;
    qint64 m_left;
};

// What the rest of a chunk unpacks to, into memory that each piece uses anew. A
// damaged stream counts as far as it goes.
qint64 unpackedBytes(ChunkData &data)
{
    // Left undefined: clearing them for each of many small texts would take longer
    // than unpacking those.
    std::array<char, 4096> packed;
    std::array<char, 65536> unpacked;
    z_stream stream {};
    int status = inflateInit(&stream);
    while (status == Z_OK && static_cast<qint64>(stream.total_out) < mostPerChunk) {
        if (stream.avail_in == 0) {
            const qint64 count = data.read(packed.data(), packed.size());
            if (count <= 0)
                break;
            stream.next_in = reinterpret_cast<Bytef *>(packed.data());
            stream.avail_in = static_cast<uInt>(count);
        }
        stream.next_out = reinterpret_cast<Bytef *>(unpacked.data());
        stream.avail_out = unpacked.size();
        status = inflate(&stream, Z_NO_FLUSH);
    }
    inflateEnd(&stream);
    return std::min<qint64>(static_cast<qint64>(stream.total_out), mostPerChunk);
}

// Of a compressed text or profile: a name, and how it is packed.
qint64 packedBytes(ChunkData &data)
{
    data.skipString();
    data.next();
    return unpackedBytes(data);
}

// Of an international text: a name, whether and how it is packed, its language and
// the translated name.
qint64 internationalBytes(ChunkData &data, qint64 length)
{
    data.skipString();
    const bool isPacked = data.next() > 0;
    if (!isPacked)
        return length;
    data.next();
    data.skipString();
    data.skipString();
    return unpackedBytes(data);
}

qint64 textBytes(const QByteArray &type, QIODevice &device, qint64 length)
{
    ChunkData data(device, length);
    if (type == "zTXt" || type == "iCCP")
        return packedBytes(data);
    return type == "iTXt" ? internationalBytes(data, length) : 0;
}

} // namespace

qint64 packedTextBytes(QIODevice &device)
{
    if (device.peek(signatureBytes) != "\x89PNG\r\n\x1a\n")
        return 0;
    qint64 bytes = 0;
    for (qint64 at = signatureBytes; bytes <= mostPackedTextBytes && device.seek(at);) {
        const QByteArray head = device.read(headBytes);
        const QByteArray type = head.mid(4);
        if (head.size() < headBytes || type == "IEND")
            break;
        const qint64 length = qFromBigEndian<quint32>(head.constData());
        bytes += textBytes(type, device, length);
        at += headBytes + length + checksumBytes;
    }
    device.seek(0);
    return bytes;
}

} // namespace photo
