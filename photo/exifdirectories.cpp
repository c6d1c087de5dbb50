#include "photo/exifdirectories.h"

#include <QtEndian>

#include <algorithm>
#include <optional>
#include <set>
#include <span>

namespace photo {

namespace {

constexpr std::size_t mostEntries = 1000;
// What the library that decodes the block takes.
constexpr uint64_t mostEntriesPerDirectory = 256;

// Values up to this size may lie on each other: some writers store one rational
// for two tags.
constexpr uint64_t smallValueBytes = 8;
// What larger ones may share in all. There are cameras whose values run a few
// bytes into what comes behind them.
constexpr uint64_t mostSharedBytes = 1024;

constexpr uint16_t photoPointer = 0x8769;
constexpr uint16_t gpsPointer = 0x8825;
constexpr uint16_t interoperabilityPointer = 0xa005;
constexpr uint16_t pointers[] = {photoPointer, gpsPointer, interoperabilityPointer};

// Layout of the pixels in a TIFF, which the photo's EXIF data share a directory
// with, and profiles and other blocks that belong to its colours.
constexpr uint16_t layoutTags[] = {
    0x00fe, 0x00ff, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x0107, 0x0108, 0x0109, 0x010a, 0x0111,
    0x0115, 0x0116, 0x0117, 0x011c, 0x0120, 0x0121, 0x0122, 0x0123, 0x0124, 0x0125, 0x0129, 0x012d,
    0x013d, 0x013e, 0x013f, 0x0140, 0x0141, 0x0142, 0x0143, 0x0144, 0x0145, 0x014a, 0x014c, 0x0151,
    0x0152, 0x0153, 0x0154, 0x0155, 0x0156, 0x015b, 0x0200, 0x0201, 0x0202, 0x0203, 0x0205, 0x0206,
    0x0207, 0x0208, 0x0209, 0x0211, 0x0212, 0x0213, 0x0214, 0x02bc, 0x83bb, 0x8649, 0x8773};

bool contains(std::span<const uint16_t> tags, uint16_t tag)
{
    return std::ranges::find(tags, tag) != tags.end();
}

// Unknown types count as bytes.
uint64_t elementBytes(uint16_t type)
{
    switch (type) {
    case 3:
    case 8: return 2;
    case 4:
    case 9:
    case 11:
    case 13: return 4;
    case 5:
    case 10:
    case 12:
    case 16:
    case 17:
    case 18: return 8;
    default: return 1;
    }
}

struct Range
{
    uint64_t begin;
    uint64_t end;

    bool operator<(const Range &other) const { return begin < other.begin; }
};

class Reader
{
public:
    explicit Reader(QIODevice &device)
        : m_device(device)
        , m_size(static_cast<uint64_t>(device.size()))
    {
    }

    ExifDirectories read()
    {
        const uint64_t first = readHeader();
        auto image = readDirectory(first);
        if (!image)
            throw ExifError("they are damaged");
        m_directories.image = std::move(*image);
        m_directories.photo = follow(m_directories.image, photoPointer);
        m_directories.gps = follow(m_directories.image, gpsPointer);
        m_directories.interoperability = follow(m_directories.photo, interoperabilityPointer);
        std::erase_if(m_directories.image,
                      [](const ExifEntry &entry) { return contains(layoutTags, entry.tag); });
        for (auto *entries : {&m_directories.image, &m_directories.photo, &m_directories.gps,
                              &m_directories.interoperability})
            checkEntries(*entries);
        checkOverlaps();
        return std::move(m_directories);
    }

private:
    template <typename Number> Number number(const char *bytes) const
    {
        return m_directories.isBigEndian ? qFromBigEndian<Number>(bytes)
                                         : qFromLittleEndian<Number>(bytes);
    }
    uint64_t offsetNumber(const char *bytes) const
    {
        return m_isBig ? number<quint64>(bytes) : number<quint32>(bytes);
    }
    std::size_t fieldBytes() const { return m_isBig ? 8 : 4; }
    std::size_t countBytes() const { return m_isBig ? 8 : 2; }
    std::size_t entryBytes() const { return m_isBig ? 20 : 12; }

    QByteArray bytesAt(uint64_t offset, uint64_t count)
    {
        if (offset > m_size || count > m_size - offset
            || !m_device.seek(static_cast<qint64>(offset)))
            return {};
        return m_device.read(static_cast<qint64>(count));
    }

    uint64_t readHeader()
    {
        const QByteArray head = bytesAt(0, std::min<uint64_t>(m_size, 16));
        m_directories.isBigEndian = head.startsWith("MM");
        const bool isKnown = head.size() >= 8 && (head.startsWith("MM") || head.startsWith("II"));
        const int version = isKnown ? number<quint16>(head.constData() + 2) : 0;
        m_isBig = version == 43 && head.size() == 16;
        if (version != 42 && !m_isBig)
            throw ExifError("they are damaged");
        m_taken.push_back({0, m_isBig ? 16U : 8U});
        return offsetNumber(head.constData() + (m_isBig ? 8 : 4));
    }

    // Nothing where there is no whole directory.
    std::optional<std::vector<ExifEntry>> readDirectory(uint64_t at)
    {
        if (!m_begun.insert(at).second)
            throw ExifError("they point to one directory twice");
        const QByteArray head = bytesAt(at, countBytes());
        if (head.size() < static_cast<qsizetype>(countBytes()))
            return {};
        const uint64_t count =
            m_isBig ? number<quint64>(head.constData()) : number<quint16>(head.constData());
        if (count > mostEntriesPerDirectory)
            return {};
        m_entries += count;
        if (m_entries > mostEntries)
            throw ExifError("they have too many entries");
        const QByteArray bytes = bytesAt(at + countBytes(), count * entryBytes());
        if (static_cast<uint64_t>(bytes.size()) < count * entryBytes())
            return {};
        m_taken.push_back({at, at + countBytes() + count * entryBytes()});
        std::vector<ExifEntry> entries;
        for (uint64_t i = 0; i < count; ++i)
            addEntry(entries, at + countBytes(), bytes, i * entryBytes());
        return entries;
    }

    void addEntry(std::vector<ExifEntry> &entries, uint64_t base, const QByteArray &bytes,
                  uint64_t at)
    {
        const char *const start = bytes.constData() + at;
        ExifEntry entry {};
        entry.tag = number<quint16>(start);
        entry.type = number<quint16>(start + 2);
        const uint64_t count = offsetNumber(start + 4);
        if (count > UINT32_MAX) {
            m_directories.isPartial |= !contains(layoutTags, entry.tag);
            return;
        }
        entry.count = static_cast<uint32_t>(count);
        entry.bytes = count * elementBytes(entry.type);
        const char *const field = start + 4 + fieldBytes();
        std::copy_n(field, fieldBytes(), entry.field.begin());
        const uint64_t fieldOffset = base + at + 4 + fieldBytes();
        entry.offset = entry.isInline(fieldBytes()) ? fieldOffset : offsetNumber(field);
        entries.push_back(entry);
    }

    // The directory that one of the entries points to, if any; takes these out.
    std::vector<ExifEntry> follow(std::vector<ExifEntry> &entries, uint16_t tag)
    {
        std::vector<ExifEntry> found;
        const auto isLink = [&](const ExifEntry &entry) { return entry.tag == tag; };
        if (std::ranges::count_if(entries, isLink) > 1)
            throw ExifError("they have one directory twice");
        const auto link = std::ranges::find_if(entries, isLink);
        if (link == entries.end())
            return found;
        const bool isPointer =
            link->count == 1 && elementBytes(link->type) >= 4 && link->isInline(fieldBytes());
        auto directory = isPointer ? readDirectory(pointer(*link)) : std::nullopt;
        if (directory)
            found = std::move(*directory);
        else
            m_directories.isPartial = true;
        entries.erase(link);
        return found;
    }

    uint64_t pointer(const ExifEntry &entry) const
    {
        return elementBytes(entry.type) == 8 ? number<quint64>(entry.field.data())
                                             : number<quint32>(entry.field.data());
    }

    bool isInside(uint64_t offset, uint64_t count) const
    {
        return offset <= m_size && count <= m_size - offset;
    }

    // A classic structure has no numbers of 64 bits.
    bool canKeep(const ExifEntry &entry) const
    {
        const bool isLong = entry.type >= 16 && entry.type <= 18;
        return !isLong && isInside(entry.offset, entry.bytes);
    }

    void checkEntries(std::vector<ExifEntry> &entries)
    {
        const std::size_t before = entries.size();
        std::erase_if(entries, [&](const ExifEntry &entry) {
            return contains(pointers, entry.tag) || !canKeep(entry);
        });
        m_directories.isPartial |= entries.size() < before;
        for (const ExifEntry &entry : entries) {
            if (entry.bytes > smallValueBytes)
                m_taken.push_back({entry.offset, entry.offset + entry.bytes});
        }
    }

    void checkOverlaps()
    {
        std::ranges::sort(m_taken, std::less<>());
        uint64_t shared = 0;
        uint64_t end = 0;
        for (const Range &range : m_taken) {
            if (range.begin < end)
                shared += std::min(end, range.end) - range.begin;
            end = std::max(end, range.end);
        }
        if (shared > mostSharedBytes)
            throw ExifError("they overlap");
    }

    QIODevice &m_device;
    uint64_t m_size;
    bool m_isBig = false;
    ExifDirectories m_directories;
    std::size_t m_entries = 0;
    std::set<uint64_t> m_begun; // where directories do
    std::vector<Range> m_taken; // by directories and large values
};

class Writer
{
public:
    Writer(ExifBlock &block, const ExifDirectories &directories)
        : m_block(block)
        , m_directories(directories)
    {
    }

    void write()
    {
        constexpr std::size_t entryBytes = 12;
        m_block.reserve(m_block.size() + (mostEntries + 8) * entryBytes);
        using Links = std::vector<std::pair<uint16_t, uint32_t>>;
        Links imageLinks;
        Links photoLinks;
        if (!m_directories.interoperability.empty()) {
            photoLinks.emplace_back(interoperabilityPointer,
                                    append(m_directories.interoperability, {}));
        }
        if (!m_directories.photo.empty() || !photoLinks.empty())
            imageLinks.emplace_back(photoPointer, append(m_directories.photo, photoLinks));
        if (!m_directories.gps.empty())
            imageLinks.emplace_back(gpsPointer, append(m_directories.gps, {}));
        put<quint32>(4, append(m_directories.image, imageLinks));
    }

private:
    template <typename Number> void put(std::size_t at, Number number)
    {
        if (m_directories.isBigEndian)
            qToBigEndian(number, m_block.data() + at);
        else
            qToLittleEndian(number, m_block.data() + at);
    }
    template <typename Number> void append(Number number)
    {
        m_block.resize(m_block.size() + sizeof(Number));
        put(m_block.size() - sizeof(Number), number);
    }

    uint32_t append(const std::vector<ExifEntry> &entries,
                    const std::vector<std::pair<uint16_t, uint32_t>> &links)
    {
        m_block.resize((m_block.size() + 1) & ~std::size_t(1));
        const auto begin = static_cast<uint32_t>(m_block.size());
        append(static_cast<quint16>(entries.size() + links.size()));
        for (const ExifEntry &entry : entries) {
            append(entry.tag, entry.type, entry.count);
            if (entry.isInline(4))
                m_block.insert(m_block.end(), entry.field.begin(), entry.field.begin() + 4);
            else
                append(static_cast<quint32>(entry.offset));
        }
        for (const auto &[tag, offset] : links) {
            append(tag, 4, 1);
            append<quint32>(offset);
        }
        append<quint32>(0);
        return begin;
    }
    void append(uint16_t tag, uint16_t type, uint32_t count)
    {
        append<quint16>(tag);
        append<quint16>(type);
        append<quint32>(count);
    }

    ExifBlock &m_block;
    const ExifDirectories &m_directories;
};

} // namespace

bool ExifDirectories::isEmpty() const
{
    return image.empty() && photo.empty() && gps.empty() && interoperability.empty();
}

ExifDirectories readExifDirectories(QIODevice &device)
{
    return Reader(device).read();
}

uint64_t valueBytes(const ExifDirectories &directories)
{
    uint64_t bytes = 0;
    for (const auto *entries : {&directories.image, &directories.photo, &directories.gps,
                                &directories.interoperability}) {
        for (const ExifEntry &entry : *entries)
            bytes += entry.bytes;
    }
    return bytes;
}

void appendExifDirectories(ExifBlock &block, const ExifDirectories &directories)
{
    Writer(block, directories).write();
}

bool isMakerNote(const ExifEntry &entry)
{
    constexpr uint16_t tags[] = {0x927c, 0xc634};
    return contains(tags, entry.tag);
}

} // namespace photo
