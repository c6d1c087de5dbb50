#include "tests/support/exiffile.h"

#include <QtEndian>

#include <algorithm>

#include "tests/support/pngfile.h"
#include "tests/support/testphotos.h"

namespace exiffile {

namespace {

template <typename Number> QByteArray raw(Number value, bool isBigEndian)
{
    value = isBigEndian ? qToBigEndian(value) : qToLittleEndian(value);
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

int elementBytes(quint16 type)
{
    switch (type) {
    case 3:
    case 8: return 2;
    case 4:
    case 9:
    case 11: return 4;
    case 5:
    case 10:
    case 12: return 8;
    default: return 1;
    }
}

// Numbers are given little-endian.
QByteArray ordered(const Entry &entry, bool isBigEndian)
{
    QByteArray value = entry.value;
    const bool isRatio = entry.type == 5 || entry.type == 10;
    const int size = isRatio ? 4 : elementBytes(entry.type);
    for (qsizetype at = 0; isBigEndian && at < value.size(); at += size)
        std::reverse(value.begin() + at, value.begin() + at + size);
    return value;
}

// A directory and, behind it, values; both of one width of numbers.
class Layout
{
public:
    Layout(bool isBigEndian, bool isBig)
        : m_isBigEndian(isBigEndian)
        , m_isBig(isBig)
    {
    }

    qsizetype directoryBytes(qsizetype entries) const
    {
        return m_isBig ? 8 + 20 * entries + 8 : 2 + 12 * entries + 4;
    }
    QByteArray offset(quint64 value) const
    {
        return m_isBig ? raw<quint64>(value, m_isBigEndian)
                       : raw<quint32>(quint32(value), m_isBigEndian);
    }
    QByteArray shortNumber(int value) const { return raw<quint16>(quint16(value), m_isBigEndian); }
    QByteArray directory(const QList<Entry> &entries, qsizetype valuesBegin,
                         QByteArray &values) const
    {
        QByteArray bytes =
            m_isBig ? offset(quint64(entries.size())) : shortNumber(int(entries.size()));
        quint64 last = 0;
        for (const Entry &entry : entries) {
            bytes += shortNumber(entry.tag) + shortNumber(entry.type)
                + offset(quint64(entry.value.size() / elementBytes(entry.type)));
            QByteArray field = ordered(entry, m_isBigEndian);
            if (const int room = m_isBig ? 8 : 4; field.size() <= room) {
                bytes += field.leftJustified(room, '\0');
                continue;
            }
            if (!entry.isShared) {
                last = quint64(valuesBegin + values.size());
                values += field + QByteArray(field.size() % 2, '\0');
            }
            bytes += offset(last);
        }
        return bytes + offset(0);
    }

private:
    bool m_isBigEndian;
    bool m_isBig;
};

QList<Entry> withPointer(const Data &data, qsizetype directory)
{
    QList<Entry> entries = data.image;
    if (!data.photo.isEmpty())
        entries << exiffile::number(0x8769, quint32(directory));
    return entries;
}

// How it is wrapped in a JPEG or a PNG's text.
const QByteArray introduction("Exif\0\0", 6);

} // namespace

Entry text(quint16 tag, const QByteArray &letters)
{
    return {tag, 2, letters + '\0'};
}

Entry number(quint16 tag, quint32 value)
{
    return {tag, 4, raw<quint32>(value, false)};
}

Entry bytes(quint16 tag, const QByteArray &value)
{
    return {tag, 7, value};
}

qsizetype directoriesEnd(const Data &data)
{
    const Layout layout(data.isBigEndian, data.isBigTiff);
    const qsizetype header = data.isBigTiff ? 16 : 8;
    const qsizetype photo = data.photo.isEmpty() ? 0 : layout.directoryBytes(data.photo.size());
    return header + layout.directoryBytes(withPointer(data, 0).size()) + photo;
}

QByteArray block(const Data &data)
{
    const Layout layout(data.isBigEndian, data.isBigTiff);
    QByteArray bytes = data.isBigEndian ? "MM" : "II";
    bytes += layout.shortNumber(data.isBigTiff ? 43 : 42);
    if (data.isBigTiff)
        bytes += layout.shortNumber(8) + layout.shortNumber(0);
    bytes += layout.offset(data.isBigTiff ? 16 : 8);
    const qsizetype photo = bytes.size() + layout.directoryBytes(withPointer(data, 0).size());
    const qsizetype valuesBegin = directoriesEnd(data) + data.gap;
    QByteArray values;
    bytes += layout.directory(withPointer(data, photo), valuesBegin, values);
    if (!data.photo.isEmpty())
        bytes += layout.directory(data.photo, valuesBegin, values);
    return bytes + QByteArray(data.gap, 'p') + values;
}

QByteArray directory(const QList<Entry> &entries, quint32 begin, bool isBigEndian)
{
    const Layout layout(isBigEndian, false);
    QByteArray values;
    const QByteArray bytes =
        layout.directory(entries, begin + layout.directoryBytes(entries.size()), values);
    return bytes + values;
}

Data dated(const QByteArray &date)
{
    return {{text(0x010f, "Tester")}, {text(0x9003, date)}};
}

Data overlapping(int entries, int valueBytes)
{
    Data data = dated("2021:06:05 04:03:02");
    data.photo << bytes(0xc000, QByteArray(valueBytes, 'x'));
    for (int i = 1; i < entries; ++i)
        data.photo << Entry {quint16(0xc000 + i), 7, QByteArray(valueBytes, 'x'), true};
    return data;
}

QByteArray jpeg(const QByteArray &block)
{
    QByteArray file = testphotos::jpeg();
    const QByteArray segment = introduction + block;
    file.insert(2, "\xff\xe1" + raw(quint16(segment.size() + 2), true) + segment);
    return file;
}

QByteArray png(const QByteArray &block)
{
    return pngWithChunk("eXIf", block);
}

QByteArray pngWithChunk(const QByteArray &type, const QByteArray &data)
{
    constexpr qsizetype header = 8 + 25; // signature and first chunk
    return testphotos::encoded(testphotos::scene(64, 48), "png")
        .insert(header, pngChunk(type, data));
}

QByteArray webp(const QByteArray &block)
{
    // Behind the file's own head: an extended one, which announces EXIF data, with
    // the size less one.
    const QByteArray pixels =
        testphotos::encoded(testphotos::scene(64, 48), "webp", {}, 100).mid(12);
    const QByteArray head = QByteArray("VP8X\x0a\0\0\0\x08\0\0\0\x3f\0\0\x2f\0\0", 18);
    const QByteArray chunk =
        "EXIF" + raw(quint32(block.size()), false) + block + QByteArray(block.size() % 2, '\0');
    const QByteArray content = "WEBP" + head + pixels + chunk;
    return "RIFF" + raw(quint32(content.size()), false) + content;
}

QByteArray tiff(Data data, int width, int height)
{
    const auto shortEntry = [](quint16 tag, int value) {
        return Entry {tag, 3, raw<quint16>(quint16(value), false)};
    };
    const auto pixelBytes = quint32(width) * quint32(height);
    data.image << number(0x100, quint32(width)) << number(0x101, quint32(height))
               << shortEntry(0x102, 8) << shortEntry(0x103, 1) << shortEntry(0x106, 1)
               << number(0x115, 1) << number(0x116, quint32(height)) << number(0x117, pixelBytes)
               << number(0x111, 0);
    const auto byTag = [](const Entry &first, const Entry &second) {
        return first.tag < second.tag;
    };
    std::sort(data.image.begin(), data.image.end(), byTag);
    const auto strips = std::find_if(data.image.begin(), data.image.end(),
                                     [](const Entry &entry) { return entry.tag == 0x111; });
    *strips = number(0x111, quint32(directoriesEnd(data)));
    data.gap = pixelBytes;
    return block(data);
}

QByteArray profileText(const QByteArray &bytes)
{
    QByteArray digits;
    for (qsizetype at = 0; at < bytes.size(); at += 36)
        digits += bytes.mid(at, 36).toHex() + '\n';
    return "\nexif\n" + QByteArray::number(bytes.size()).rightJustified(8) + '\n' + digits;
}

QByteArray packed(const QByteArray &bytes)
{
    return qCompress(bytes).mid(4); // without the size in front
}

} // namespace exiffile
