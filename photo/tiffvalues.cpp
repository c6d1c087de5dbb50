#include "photo/tiffvalues.h"

#include <QtEndian>

#include <array>

namespace photo {

namespace {

// Bytes of one value of each type; 0 for what is none.
constexpr std::array<int, 19> typeBytes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};

// Adds up what the entries of a directory announce.
class ValueSum
{
public:
    explicit ValueSum(QIODevice &device)
        : m_device(device)
    {
    }

    qint64 bytes()
    {
        const QByteArray head = m_device.read(16);
        m_isBigEndian = head.startsWith("MM");
        if (head.size() < 8 || (!m_isBigEndian && !head.startsWith("II")))
            return 0;
        const auto version = number<quint16>(head, 2);
        m_isBig = version == 43;
        if ((version != 42 && !m_isBig) || (m_isBig && head.size() < 16))
            return 0;
        const quint64 directory = m_isBig ? number<quint64>(head, 8) : number<quint32>(head, 4);
        return directory < static_cast<quint64>(m_device.size())
            ? sum(static_cast<qint64>(directory))
            : 0;
    }

private:
    template <typename Number> Number number(const QByteArray &bytes, qsizetype at) const
    {
        return m_isBigEndian ? qFromBigEndian<Number>(bytes.constData() + at)
                             : qFromLittleEndian<Number>(bytes.constData() + at);
    }

    qint64 sum(qint64 directory)
    {
        const int countBytes = m_isBig ? 8 : 2;
        const int entryBytes = m_isBig ? 20 : 12;
        m_device.seek(directory);
        const QByteArray count = m_device.read(countBytes);
        if (count.size() < countBytes)
            return 0;
        quint64 left = m_isBig ? number<quint64>(count, 0) : number<quint16>(count, 0);
        qint64 total = 0;
        for (; left > 0; --left) {
            const QByteArray entry = m_device.read(entryBytes);
            // A sum that is too large already is told soon.
            if (entry.size() < entryBytes || total > m_device.size())
                break;
            total += valueBytes(entry);
        }
        return total;
    }

    qint64 valueBytes(const QByteArray &entry) const
    {
        const auto type = number<quint16>(entry, 2);
        const quint64 count = m_isBig ? number<quint64>(entry, 4) : number<quint32>(entry, 4);
        const auto fileBytes = static_cast<quint64>(m_device.size());
        const quint64 width = type < typeBytes.size() ? typeBytes[type] : 0;
        const quint64 inside = m_isBig ? 8 : 4;
        // Whoever reads it notices that a value is longer than the file.
        if (width == 0 || count > fileBytes / width || count * width <= inside)
            return 0;
        return static_cast<qint64>(count * width);
    }

    QIODevice &m_device;
    bool m_isBigEndian = false;
    bool m_isBig = false;
};

} // namespace

qint64 tiffValueBytes(QIODevice &device)
{
    const qint64 bytes = ValueSum(device).bytes();
    device.seek(0);
    return bytes;
}

} // namespace photo
