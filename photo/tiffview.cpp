#include "photo/tiffview.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "photo/photoerror.h"

namespace photo {

namespace {

// Bytes of one value of each type; 0 for what is none.
constexpr std::array<int, 19> typeBytes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
constexpr quint16 byteType = 1;
constexpr quint64 mostEntries = 4096; // libraries take more for damage

// Where the strips and tiles are and how many bytes they have: as many values.
constexpr std::array<quint16, 4> placeTags = {273, 279, 324, 325};
constexpr qint64 mostPlaces = 1'000'000;
constexpr quint16 colourProfileTag = 34675;
constexpr qint64 longestColourProfile = 16 << 20;
constexpr qint64 longestValue = 1 << 20; // of the tags below

// What else may have a value beside its entry and be needed for a picture: bits, extent
// and meaning of samples (258, 280, 281, 338 to 341), resolution (282, 283), curves and
// colours (301, 318 to 320, 529, 530, 532), JPEG tables (347, 512 to 521).
bool isOfPicture(quint16 tag)
{
    constexpr std::array<quint16, 17> tags = {258, 280, 281, 282, 283, 301, 318, 319, 320,
                                              338, 339, 340, 341, 347, 529, 530, 532};
    return (tag >= 512 && tag <= 521) || std::ranges::find(tags, tag) != tags.end();
}

// The first directory's entries: what they announce, and how they are shown.
class Directory
{
public:
    explicit Directory(QIODevice &file)
        : m_file(file)
    {
        file.seek(0);
        const QByteArray head = file.read(16);
        m_isBigEndian = head.startsWith("MM");
        m_isBig = isTiff(head) && number<quint16>(head, 2) == 43;
        if (!isTiff(head) || head.size() < 16)
            return;
        const quint64 at = m_isBig ? number<quint64>(head, 8) : number<quint32>(head, 4);
        if (at < static_cast<quint64>(file.size()))
            readEntries(static_cast<qint64>(at));
    }

    qint64 at() const { return m_at; }

    QByteArray shown() const
    {
        QByteArray entries = m_entries;
        std::set<quint16> seen;
        for (qsizetype entry = 0; entry < entries.size(); entry += entryBytes()) {
            if (!isKept(entry) || !seen.insert(tag(entry)).second)
                hide(entries, entry);
        }
        return entries;
    }

private:
    template <typename Number> Number number(const QByteArray &bytes, qsizetype at) const
    {
        return m_isBigEndian ? qFromBigEndian<Number>(bytes.constData() + at)
                             : qFromLittleEndian<Number>(bytes.constData() + at);
    }
    template <typename Number> void put(QByteArray &bytes, qsizetype at, Number value) const
    {
        if (m_isBigEndian)
            qToBigEndian(value, bytes.data() + at);
        else
            qToLittleEndian(value, bytes.data() + at);
    }

    qsizetype entryBytes() const { return m_isBig ? 20 : 12; }
    qint64 bytesInside() const { return m_isBig ? 8 : 4; }
    quint16 tag(qsizetype entry) const { return number<quint16>(m_entries, entry); }

    void readEntries(qint64 at)
    {
        const int countBytes = m_isBig ? 8 : 2;
        m_file.seek(at);
        const QByteArray count = m_file.read(countBytes);
        if (count.size() < countBytes)
            return;
        const quint64 entries = m_isBig ? number<quint64>(count, 0) : number<quint16>(count, 0);
        if (entries > mostEntries)
            return;
        m_at = at + countBytes;
        m_entries = m_file.read(static_cast<qint64>(entries) * entryBytes());
        m_entries.chop(m_entries.size() % entryBytes());
    }

    // How many values an entry has and how many bytes these take; both 0 for what is
    // longer than the file, as whoever reads it notices, or of no type.
    struct Extent
    {
        qint64 count;
        qint64 bytes;
    };
    Extent extent(qsizetype entry) const
    {
        const auto type = number<quint16>(m_entries, entry + 2);
        const quint64 count =
            m_isBig ? number<quint64>(m_entries, entry + 4) : number<quint32>(m_entries, entry + 4);
        const quint64 width = type < typeBytes.size() ? typeBytes[type] : 0;
        if (width == 0 || count > static_cast<quint64>(m_file.size()) / width)
            return {0, 0};
        return {static_cast<qint64>(count), static_cast<qint64>(count * width)};
    }

    bool isKept(qsizetype entry) const
    {
        const quint16 its = tag(entry);
        const auto [count, bytes] = extent(entry);
        if (bytes <= bytesInside())
            return true;
        if (std::ranges::find(placeTags, its) != placeTags.end()) {
            if (count > mostPlaces) {
                throw PhotoError("has more than " + std::to_string(mostPlaces)
                                 + " strips or tiles");
            }
            return true;
        }
        return bytes <= (its == colourProfileTag ? longestColourProfile : longestValue)
            && (its == colourProfileTag || isOfPicture(its));
    }

    void hide(QByteArray &entries, qsizetype entry) const
    {
        put(entries, entry + 2, byteType);
        std::fill_n(entries.data() + entry + 4, entryBytes() - 4, '\0');
        if (m_isBig)
            put(entries, entry + 4, quint64(1));
        else
            put(entries, entry + 4, quint32(1));
    }

    QIODevice &m_file;
    bool m_isBigEndian = false;
    bool m_isBig = false;
    qint64 m_at = 0;
    QByteArray m_entries;
};

} // namespace

TiffView::TiffView(QIODevice &file)
    : m_file(file)
{
    const Directory directory(file);
    m_directoryAt = directory.at();
    m_directory = directory.shown();
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

bool TiffView::seek(qint64 position)
{
    m_position = position;
    return QIODevice::seek(position);
}

qint64 TiffView::readData(char *data, qint64 most)
{
    if (m_file.pos() != m_position && !m_file.seek(m_position))
        return -1;
    const qint64 count = m_file.read(data, most);
    if (count <= 0)
        return count;
    const qint64 first = std::max(m_position, m_directoryAt);
    const qint64 end = std::min(m_position + count, m_directoryAt + m_directory.size());
    if (first < end)
        std::copy_n(m_directory.constData() + (first - m_directoryAt), end - first,
                    data + (first - m_position));
    m_position += count;
    return count;
}

bool isTiff(const QByteArray &beginning)
{
    if (beginning.size() < 4)
        return false;
    const quint16 version = beginning.startsWith("MM")
        ? qFromBigEndian<quint16>(beginning.constData() + 2)
        : qFromLittleEndian<quint16>(beginning.constData() + 2);
    return (beginning.startsWith("MM") || beginning.startsWith("II"))
        && (version == 42 || version == 43);
}

} // namespace photo
