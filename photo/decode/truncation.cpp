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

// Bytes of the pixels that a BMP's header announces; zero where it announces
// none, as a compressed one may.
qint64 bmpPixelBytes(const Header &header)
{
    const auto headerSize = number<quint32>(header, 14);
    const bool old = headerSize == 12;
    const qint64 width = old ? number<quint16>(header, 18) : number<qint32>(header, 18);
    const qint64 height = old ? number<quint16>(header, 20) : number<qint32>(header, 22);
    const qint64 bits = old ? number<quint16>(header, 24) : number<quint16>(header, 28);
    const quint32 compression = old ? 0 : number<quint32>(header, 30);
    if (compression == 1 || compression == 2) // run lengths
        return number<quint32>(header, 34);
    if (width <= 0 || width > 0x7fffff || bits > 64)
        return 0; // the reader refuses it
    return (width * bits + 31) / 32 * 4 * qAbs(height);
}

bool isCutBmp(QIODevice &device)
{
    Header header {};
    if (device.peek(header.data(), header.size()) < static_cast<qint64>(header.size()))
        return true;
    return number<quint32>(header, 10) + bmpPixelBytes(header) > device.size();
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
