#include "photo/makernote.h"

#include <QtEndian>

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <vector>

namespace photo {

namespace {

using namespace std::string_view_literals;

// A JPEG has room for half as many. What these hold may become an object for each
// byte, some hundred times as large.
constexpr uint64_t mostValueBytes = 128 << 10;
constexpr int mostEntries = 4096;
constexpr int mostEntriesPerDirectory = 256;
constexpr uint32_t mostPointers = 9; // that one entry holds
constexpr uint32_t entryBytes = 12;
constexpr uint32_t mostElements = 0x10000000;

uint32_t elementBytes(uint16_t type)
{
    constexpr uint32_t sizes[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 1, 1, 8, 8, 8};
    return type < std::size(sizes) ? sizes[type] : 1;
}

// Reads a note in one of the ways. Offsets count round, as 32-bit numbers do.
class NoteReading
{
public:
    NoteReading(std::span<const unsigned char> block, bool isBigEndian, uint32_t base)
        : m_block(block)
        , m_isBigEndian(isBigEndian)
        , m_base(base)
    {
    }

    bool isCheap(uint32_t directory)
    {
        m_waiting.push_back(directory);
        while (!m_waiting.empty() && m_entries <= mostEntries && m_bytes <= mostValueBytes) {
            const uint32_t next = m_waiting.back();
            m_waiting.pop_back();
            if (m_read.insert(next).second)
                readDirectory(next);
        }
        return m_waiting.empty() && m_entries <= mostEntries && m_bytes <= mostValueBytes;
    }

private:
    bool isInside(uint32_t offset, uint64_t count) const
    {
        return offset <= m_block.size() && count <= m_block.size() - offset;
    }
    template <typename Number> Number number(uint32_t offset) const
    {
        const void *const bytes = m_block.data() + offset;
        return m_isBigEndian ? qFromBigEndian<Number>(bytes) : qFromLittleEndian<Number>(bytes);
    }

    void readDirectory(uint32_t at)
    {
        if (!isInside(at, 2))
            return;
        const int count = number<quint16>(at);
        if (count > mostEntriesPerDirectory)
            return;
        at += 2;
        for (int i = 0; i < count && isInside(at, entryBytes); ++i, at += entryBytes)
            readEntry(at);
    }

    void readEntry(uint32_t at)
    {
        ++m_entries;
        const auto type = number<quint16>(at + 2);
        const auto count = number<quint32>(at + 4);
        const uint64_t bytes = uint64_t(count) * elementBytes(type);
        uint32_t value = at + 8;
        if (bytes > 4)
            value = m_base + number<quint32>(value);
        if (count >= mostElements || !isInside(value, bytes))
            return;
        m_bytes += bytes;
        const bool canPoint = type == 4 || type == 9 || type == 13;
        for (uint32_t i = 0; canPoint && i < std::min(count, mostPointers); ++i)
            m_waiting.push_back(m_base + number<quint32>(value + 4 * i));
    }

    std::span<const unsigned char> m_block;
    bool m_isBigEndian;
    uint32_t m_base;
    uint64_t m_bytes = 0;
    int m_entries = 0;
    std::set<uint32_t> m_read;
    std::vector<uint32_t> m_waiting;
};

enum class Base { Block, Note };

// What a note begins with, where its directory does, and from where its offsets
// count. Where more than one holds for a name, the others are tried anyway.
struct Maker
{
    std::string_view name;
    uint32_t begin;
    Base base;
};

constexpr Maker makers[] = {
    {"OLYMPUS\0"sv, 12, Base::Note},   {"OLYMP\0"sv, 8, Base::Block},
    {"OM SYSTEM\0"sv, 16, Base::Note}, {"FUJIFILM"sv, 12, Base::Note},
    {"Nikon\0"sv, 8, Base::Block},     {"Panasonic"sv, 12, Base::Block},
    {"PENTAX \0"sv, 10, Base::Note},   {"AOC\0"sv, 6, Base::Block},
    {"SIGMA\0"sv, 10, Base::Block},    {"FOVEON"sv, 10, Base::Block},
    {"SONY"sv, 12, Base::Block},       {"QVC\0"sv, 6, Base::Block},
};

class NoteCheck
{
public:
    NoteCheck(std::span<const unsigned char> block, uint32_t offset, uint32_t bytes)
        : m_block(block)
        , m_note(block.subspan(offset, bytes))
        , m_offset(offset)
    {
    }

    bool isCheap() const
    {
        // Some makers begin with the directory, whatever that looks like.
        if (!isCheapFrom(0, 0) || !isCheapFrom(0, m_offset))
            return false;
        const std::string_view bytes(reinterpret_cast<const char *>(m_note.data()), m_note.size());
        const auto *const maker = std::ranges::find_if(
            makers, [&](const Maker &candidate) { return bytes.starts_with(candidate.name); });
        if (maker == std::end(makers))
            return beginsWithDirectory() || isCheapAnyhow();
        const bool countsFromNote = maker->base == Base::Note;
        return isCheapFrom(maker->begin, countsFromNote ? m_offset : 0) && isCheapFromHeader(10)
            && isCheapFromPointer();
    }

private:
    // With a directory at a distance from the note's beginning.
    bool isCheapFrom(uint32_t begin, uint32_t base) const
    {
        const auto isCheap = [&](bool isBigEndian) {
            return NoteReading(m_block, isBigEndian, base).isCheap(m_offset + begin);
        };
        return isCheap(false) && isCheap(true);
    }

    // Whatever else such a note may be read as, it would be by mistake.
    bool beginsWithDirectory() const
    {
        constexpr uint32_t head = 6; // as far as the first entry's type
        const auto begins = [&](bool isBigEndian) {
            const auto number = [&](uint32_t at) {
                return isBigEndian ? qFromBigEndian<quint16>(m_note.data() + at)
                                   : qFromLittleEndian<quint16>(m_note.data() + at);
            };
            const int count = number(0);
            const int type = number(4);
            return count >= 1 && count <= mostEntriesPerDirectory && type >= 1 && type <= 13;
        };
        return m_note.size() >= head && (begins(false) || begins(true));
    }

    // Of a maker who is not known.
    bool isCheapAnyhow() const
    {
        constexpr uint32_t lastBegin = 32;
        for (uint32_t begin = 0; begin < lastBegin; begin += 2) {
            for (const uint32_t base : {0U, m_offset, m_offset + begin}) {
                if (!isCheapFrom(begin, base))
                    return false;
            }
            if (!isCheapFromHeader(begin))
                return false;
        }
        return isCheapFromPointer();
    }

    // With a pointer to the directory behind a name of eight letters.
    bool isCheapFromPointer() const
    {
        constexpr uint32_t nameBytes = 8;
        return m_note.size() < nameBytes + 4
            || isCheapFrom(qFromLittleEndian<quint32>(m_note.data() + nameBytes), m_offset);
    }

    // With the head of a TIFF within the note.
    bool isCheapFromHeader(uint32_t at) const
    {
        constexpr uint32_t headBytes = 8;
        if (m_note.size() < at + headBytes)
            return true;
        const unsigned char *const head = m_note.data() + at;
        const std::string_view magic(reinterpret_cast<const char *>(head), 4);
        if (magic == "II*\0"sv)
            return isCheapFrom(at + qFromLittleEndian<quint32>(head + 4), m_offset + at);
        if (magic == "MM\0*"sv)
            return isCheapFrom(at + qFromBigEndian<quint32>(head + 4), m_offset + at);
        return true;
    }

    std::span<const unsigned char> m_block;
    std::span<const unsigned char> m_note;
    uint32_t m_offset;
};

} // namespace

bool isCheapMakerNote(std::span<const unsigned char> block, uint32_t offset, uint32_t bytes)
{
    return NoteCheck(block, offset, bytes).isCheap();
}

} // namespace photo
