#include "photo/exifblock.h"

#include <QBuffer>
#include <QtEndian>

#include <algorithm>
#include <string_view>

#include "photo/exifpng.h"
#include "photo/jpegsegments.h"

namespace photo {

namespace {

using namespace std::string_view_literals;

constexpr auto introduction = "Exif\0\0"sv;

// A block as some formats have it, with an introduction or without.
ExifBlock withoutIntroduction(ExifBlock block)
{
    if (block.size() >= introduction.size()
        && std::equal(introduction.begin(), introduction.end(), block.begin()))
        block.erase(block.begin(), block.begin() + introduction.size());
    return block;
}

bool isIntroduced(const QByteArray &bytes)
{
    return bytes.startsWith(QByteArrayView(introduction.data(), introduction.size()));
}

ExifBlock findInJpeg(QIODevice &device)
{
    device.seek(0);
    constexpr int application1 = 0xe1;
    for (const SegmentPlace &place : jpegSegmentsOfKind(device, application1)) {
        device.seek(place.offset);
        if (isIntroduced(device.peek(std::min<qint64>(place.length, introduction.size()))))
            return withoutIntroduction(readBlock(device, place.length));
    }
    return {};
}

ExifBlock findInWebP(QIODevice &device)
{
    constexpr int mostChunks = 100'000;
    qint64 at = 12; // behind the file's own head
    for (int i = 0; i < mostChunks && device.seek(at); ++i) {
        const QByteArray head = device.read(8);
        if (head.size() < 8)
            break;
        const qint64 length = qFromLittleEndian<quint32>(head.constData() + 4);
        if (head.startsWith("EXIF"))
            return withoutIntroduction(readBlock(device, length));
        at += 8 + length + length % 2;
    }
    return {};
}

FoundExif checked(ExifBlock block)
{
    FoundExif found {std::move(block), {}, false};
    if (found.block.empty())
        return found;
    if (found.block.size() > mostExifBytes)
        throw ExifError("they have more than 4 MB");
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(found.block.data()),
                                static_cast<qsizetype>(found.block.size()));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    found.directories = readExifDirectories(buffer);
    return found;
}

// Copies what a TIFF has of EXIF data, without the pixels between them.
class TiffExtract
{
public:
    explicit TiffExtract(QIODevice &device)
        : m_device(device)
    {
    }

    FoundExif extract()
    {
        m_found.directories = readExifDirectories(m_device);
        if (valueBytes(m_found.directories) > mostExifBytes)
            throw ExifError("they have more than 4 MB");
        if (m_found.directories.isEmpty())
            return std::move(m_found);
        const auto head = m_found.directories.isBigEndian ? "MM\0*\0\0\0\0"sv : "II*\0\0\0\0\0"sv;
        m_found.block.assign(head.begin(), head.end());
        m_found.block.reserve(valueBytes(m_found.directories) + (1 << 16));
        copyMakerNote();
        for (auto *entries : {&m_found.directories.image, &m_found.directories.photo,
                              &m_found.directories.gps, &m_found.directories.interoperability})
            copyValues(*entries);
        return std::move(m_found);
    }

private:
    // A note's own offsets may count from the beginning of the file: it stays at
    // its distance from there.
    void copyMakerNote()
    {
        std::vector<ExifEntry> &entries = m_found.directories.photo;
        const auto note = std::ranges::find_if(entries, isMakerNote);
        if (note == entries.end() || note->isInline(8))
            return;
        if (note->offset + note->bytes > mostExifBytes) {
            m_found.lostMakerNote = true;
            entries.erase(note);
            return;
        }
        m_found.block.resize(std::max<uint64_t>(m_found.block.size(), note->offset));
        append(note->offset, note->bytes);
        m_note = note->offset;
    }

    void copyValues(std::vector<ExifEntry> &entries)
    {
        for (ExifEntry &entry : entries) {
            if (entry.isInline(4) || (isMakerNote(entry) && entry.offset == m_note))
                continue;
            m_found.block.resize((m_found.block.size() + 1) & ~std::size_t(1));
            const uint64_t offset = m_found.block.size();
            append(entry.offset, entry.bytes);
            entry.offset = offset;
        }
    }

    void append(uint64_t offset, uint64_t count)
    {
        ExifBlock &block = m_found.block;
        const std::size_t begin = block.size();
        block.resize(begin + count);
        const auto bytes = static_cast<qint64>(count);
        if (!m_device.seek(static_cast<qint64>(offset))
            || m_device.read(reinterpret_cast<char *>(block.data() + begin), bytes) != bytes)
            throw ExifError("they are cut short");
    }

    QIODevice &m_device;
    FoundExif m_found;
    uint64_t m_note = 0;
};

} // namespace

FoundExif findExif(QIODevice &device, PhotoFormat format)
{
    switch (format) {
    case PhotoFormat::Jpeg: return checked(findInJpeg(device));
    case PhotoFormat::Png: return checked(withoutIntroduction(findExifInPng(device)));
    case PhotoFormat::WebP: return checked(findInWebP(device));
    case PhotoFormat::Tiff: return TiffExtract(device).extract();
    default: return {};
    }
}

} // namespace photo
