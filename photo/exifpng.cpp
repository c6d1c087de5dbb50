#include "photo/exifpng.h"

#include <QtEndian>

#include <algorithm>
#include <string_view>

#include <zlib.h>

namespace photo {

namespace {

using namespace std::string_view_literals;

// Two digits a byte, and line ends.
constexpr std::size_t mostTextBytes = 2 * mostExifBytes + mostExifBytes / 8;

// A packed text may grow so much: a few bytes must not make many megabytes.
constexpr std::size_t mostGrowth = 64;
constexpr std::size_t anyGrowth = 1 << 18;

std::string_view asText(const ExifBlock &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

ExifBlock unpacked(std::string_view bytes)
{
    const std::size_t limit = std::min(mostTextBytes, anyGrowth + mostGrowth * bytes.size());
    ExifBlock text;
    z_stream stream {};
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    int status = inflateInit(&stream);
    while (status == Z_OK && text.size() <= limit) {
        constexpr std::size_t step = 1 << 16;
        const std::size_t begin = text.size();
        text.resize(begin + step);
        stream.next_out = text.data() + begin;
        stream.avail_out = step;
        status = inflate(&stream, Z_NO_FLUSH);
        text.resize(begin + step - stream.avail_out);
    }
    inflateEnd(&stream);
    if (text.size() > limit)
        throw ExifError("they unpack to too many bytes");
    if (status != Z_STREAM_END)
        throw ExifError("they are damaged");
    return text;
}

// Takes a string and the zero at its end away from the front.
void skipString(std::string_view &bytes)
{
    bytes.remove_prefix(std::min(bytes.find('\0'), bytes.size() - 1) + 1);
}

// The text of one of the three kinds of chunks, behind its keyword.
ExifBlock text(const QByteArray &type, std::string_view data)
{
    const auto copied = [](std::string_view bytes) {
        return ExifBlock(bytes.begin(), bytes.end());
    };
    if (type == "tEXt")
        return copied(data);
    if (data.size() < (type == "iTXt" ? 4 : 1))
        return {};
    const bool isPacked = type == "zTXt" || data[0] != 0;
    data.remove_prefix(type == "iTXt" ? 2 : 1);
    for (int i = 0; type == "iTXt" && i < 2 && !data.empty(); ++i)
        skipString(data); // language and translated keyword
    return isPacked ? unpacked(data) : copied(data);
}

int digit(char letter)
{
    if (letter >= '0' && letter <= '9')
        return letter - '0';
    if (letter >= 'a' && letter <= 'f')
        return letter - 'a' + 10;
    return letter >= 'A' && letter <= 'F' ? letter - 'A' + 10 : -1;
}

// A line feed, a name, a line feed, the count of bytes, and these as digits.
ExifBlock profile(std::string_view text)
{
    for (int line = 0; line < 3; ++line) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos)
            throw ExifError("they are damaged");
        text.remove_prefix(end + 1);
    }
    ExifBlock bytes;
    bytes.reserve(text.size() / 2);
    int high = -1;
    for (const char letter : text) {
        const int value = digit(letter);
        if (value < 0)
            continue;
        if (high >= 0)
            bytes.push_back(static_cast<unsigned char>(16 * high + value));
        high = high >= 0 ? -1 : value;
    }
    return bytes;
}

// Empty for a text about anything else.
ExifBlock exifOfText(const QByteArray &type, QIODevice &device, qint64 length)
{
    constexpr auto exifKeyword = "Raw profile type exif\0"sv;
    constexpr auto segmentKeyword = "Raw profile type APP1\0"sv;
    const QByteArray keyword = device.peek(std::min<qint64>(length, exifKeyword.size()));
    const bool isSegment = keyword == QByteArrayView(segmentKeyword.data(), segmentKeyword.size());
    if (!isSegment && keyword != QByteArrayView(exifKeyword.data(), exifKeyword.size()))
        return {};
    const ExifBlock data = readBlock(device, length, mostTextBytes);
    ExifBlock bytes = profile(asText(text(type, asText(data).substr(exifKeyword.size()))));
    // Such a segment may hold something else, as it may in a JPEG.
    const bool isOther = isSegment && !asText(bytes).starts_with("Exif\0\0"sv);
    return isOther ? ExifBlock() : bytes;
}

} // namespace

ExifBlock readBlock(QIODevice &device, qint64 length, qint64 most)
{
    if (length > most)
        throw ExifError("they have more than 4 MB");
    if (length > device.size() - device.pos())
        throw ExifError("they are cut short");
    ExifBlock block(static_cast<std::size_t>(length));
    if (device.read(reinterpret_cast<char *>(block.data()), length) != length)
        throw ExifError("they are cut short");
    return block;
}

ExifBlock findExifInPng(QIODevice &device)
{
    constexpr qint64 signatureBytes = 8;
    ExifBlock found;
    for (qint64 at = signatureBytes; device.seek(at);) {
        const QByteArray head = device.read(8); // length and type
        const QByteArray type = head.mid(4);
        if (head.size() < 8 || type == "IEND")
            break;
        const qint64 length = qFromBigEndian<quint32>(head.constData());
        if (type == "eXIf")
            return readBlock(device, length);
        if (found.empty() && (type == "tEXt" || type == "zTXt" || type == "iTXt"))
            found = exifOfText(type, device, length);
        at += 12 + length; // with the checksum
    }
    return found;
}

} // namespace photo
