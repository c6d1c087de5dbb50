#include "photo/decode/truncation.h"

#include <QIODevice>
#include <QtEndian>

#include <array>

namespace photo {

namespace {

using Header = std::array<char, 38>; // as much as any format here needs

template <typename Number> Number number(const Header &header, std::size_t offset)
{
    return qFromLittleEndian<Number>(header.data() + offset);
}

// What a BMP says of itself. The oldest kind has a shorter header.
struct BmpHeader
{
    explicit BmpHeader(const Header &header)
        : isOld(number<quint32>(header, 14) == 12)
        , offset(number<quint32>(header, 10))
        , width(isOld ? number<quint16>(header, 18) : number<qint32>(header, 18))
        // Negative: stored from the top.
        , height(qAbs<qint64>(isOld ? number<qint16>(header, 20) : number<qint32>(header, 22)))
        , bits(isOld ? number<quint16>(header, 24) : number<quint16>(header, 28))
        , compression(isOld ? 0 : number<quint32>(header, 30))
    {
    }

    bool isOld;
    qint64 offset; // of the pixels
    qint64 width;
    qint64 height;
    qint64 bits;
    quint32 compression; // 1: run lengths of bytes, 2: of half bytes
};

// Walks over the run lengths of a BMP, as far as its last row or its end mark.
class RunLengthWalk
{
public:
    RunLengthWalk(QIODevice &device, const BmpHeader &header)
        : m_device(device)
        , m_rowsLeft(header.height)
        , m_valuesPerByte(header.compression == 1 ? 1 : 2)
    {
        m_device.seek(header.offset);
    }

    bool reachesEndOfPicture()
    {
        while (m_rowsLeft > 0 && !m_isAtEnd) {
            const int count = byte();
            const int value = byte();
            if (value < 0 || (count == 0 && !pass(value)))
                return false;
        }
        return true;
    }

private:
    int byte()
    {
        char read = 0;
        return m_device.getChar(&read) ? static_cast<uchar>(read) : -1;
    }

    // What begins with a count of zero. False where the file ends.
    bool pass(int code)
    {
        switch (code) {
        case 0: --m_rowsLeft; return true;
        case 1: m_isAtEnd = true; return true;
        case 2: { // so far to the right, so many rows on
            byte();
            const int rows = byte();
            m_rowsLeft -= rows;
            return rows >= 0;
        }
        default: { // so many values as they are, in an even number of bytes
            const int bytes = (code + m_valuesPerByte - 1) / m_valuesPerByte;
            const int padded = bytes + bytes % 2;
            return m_device.skip(padded) == padded;
        }
        }
    }

    QIODevice &m_device;
    qint64 m_rowsLeft;
    int m_valuesPerByte;
    bool m_isAtEnd = false;
};

bool isCutBmp(QIODevice &device)
{
    Header bytes {};
    const qint64 there = device.peek(bytes.data(), bytes.size());
    const BmpHeader header(bytes);
    // A whole picture of the oldest kind may be shorter than any newer header.
    constexpr qint64 oldHeaderBytes = 26;
    if (there < (header.isOld ? oldHeaderBytes : static_cast<qint64>(bytes.size())))
        return true;
    if (header.compression == 1 || header.compression == 2)
        return !RunLengthWalk(device, header).reachesEndOfPicture();
    if (header.width <= 0 || header.width > 0x7fffff || header.bits > 64)
        return false; // the reader refuses it
    const qint64 rowBytes = (header.width * header.bits + 31) / 32 * 4;
    return header.offset + rowBytes * header.height > device.size();
}

bool isCutWebP(QIODevice &device)
{
    constexpr qint64 frame = 8; // the tag and the number itself
    Header header {};
    device.peek(header.data(), frame);
    return number<quint32>(header, 4) + frame > device.size();
}

// The last byte of the last chunk must be there, too.
bool isCutPng(QIODevice &device)
{
    constexpr qint64 signature = 8;
    constexpr qint64 frame = 12; // length, type and checksum
    for (qint64 at = signature; at + frame <= device.size();) {
        device.seek(at);
        const QByteArray head = device.read(8);
        at += frame + qFromBigEndian<quint32>(head.constData());
        if (head.endsWith("IEND"))
            return at > device.size();
    }
    return true;
}

// Walks over the blocks of a GIF up to the end of its first picture.
class GifWalk
{
public:
    explicit GifWalk(QIODevice &device)
        : m_device(device)
    {
    }

    bool reachesEndOfPicture()
    {
        const QByteArray header = m_device.read(13);
        if (header.size() < 13 || !skip(tableBytes(header[10])))
            return false;
        for (int kind = byte(); kind == extension; kind = byte()) {
            if (byte() < 0 || !skipBlocks())
                return false;
        }
        // byte() has eaten what ended the loop; only a picture may follow.
        return m_last == picture && skipPicture();
    }

private:
    static constexpr int extension = 0x21;
    static constexpr int picture = 0x2c;

    static qint64 tableBytes(char flags) { return flags & 0x80 ? 3 * (2 << (flags & 7)) : 0; }

    int byte()
    {
        char read = 0;
        m_last = m_device.getChar(&read) ? static_cast<uchar>(read) : -1;
        return m_last;
    }
    bool skip(qint64 count) { return m_device.skip(count) == count; }
    bool skipBlocks()
    {
        int count = byte();
        while (count > 0 && skip(count))
            count = byte();
        return count == 0;
    }
    bool skipPicture()
    {
        const QByteArray frame = m_device.read(9);
        return frame.size() == 9 && skip(tableBytes(frame[8])) && byte() >= 0 && skipBlocks();
    }

    QIODevice &m_device;
    int m_last = -1;
};

bool endsTooEarly(QIODevice &device, PhotoFormat format)
{
    switch (format) {
    case PhotoFormat::Bmp: return isCutBmp(device);
    case PhotoFormat::Gif: return !GifWalk(device).reachesEndOfPicture();
    case PhotoFormat::Png: return isCutPng(device);
    case PhotoFormat::WebP: return isCutWebP(device);
    default: return false;
    }
}

} // namespace

bool isCutShort(QIODevice &device, PhotoFormat format)
{
    device.seek(0);
    const bool cut = endsTooEarly(device, format);
    device.seek(0);
    return cut;
}

} // namespace photo
