#include "photo/jpegorientation.h"

#include <QtEndian>

#include <array>
#include <optional>
#include <vector>

#include "photo/jpegsegments.h"

namespace photo {

namespace {

constexpr int application1 = 0xe1; // the kind of segment that carries EXIF data
constexpr qint64 introduction = 6; // "Exif" and two zeros

// The contents of several segments as one.
class JoinedSegments
{
public:
    JoinedSegments(QIODevice &device, std::vector<SegmentPlace> places)
        : m_device(device)
        , m_places(std::move(places))
    {
    }

    // False where there are not so many bytes.
    bool read(qint64 at, char *target, qint64 count) const
    {
        for (const SegmentPlace &place : m_places) {
            const qint64 here = std::min(count, place.length - at);
            if (here > 0) {
                if (!m_device.seek(place.offset + at) || m_device.read(target, here) != here)
                    return false;
                target += here;
                count -= here;
            }
            if (count == 0)
                return true;
            at = std::max<qint64>(at - place.length, 0);
        }
        return false;
    }

private:
    QIODevice &m_device;
    std::vector<SegmentPlace> m_places;
};

// Reads the directories of EXIF data as far as their first orientation.
class OrientationSearch
{
public:
    explicit OrientationSearch(const JoinedSegments &exif)
        : m_exif(exif)
    {
    }

    // 1 to 8; empty for none, or for data that make no sense up to there.
    std::optional<int> find()
    {
        if (!readByteOrder())
            return {};
        std::optional<qint64> directory = number<quint32>(introduction + 4);
        qint64 at = introduction + 8;
        while (directory && *directory != 0) {
            if (introduction + *directory < at)
                return {}; // backwards, which could go on for ever
            at = introduction + *directory;
            const std::optional<quint16> entries = number<quint16>(at);
            if (!entries)
                return {};
            at += 2;
            for (int i = 0; i < *entries; ++i, at += entryBytes) {
                if (const std::optional<quint16> tag = number<quint16>(at); !tag)
                    return {};
                else if (*tag == orientation)
                    return value(at);
            }
            directory = number<quint32>(at);
            at += 4;
        }
        return {};
    }

private:
    static constexpr qint64 entryBytes = 12;
    static constexpr quint16 orientation = 0x0112;
    static constexpr quint16 shortNumber = 3;

    bool readByteOrder()
    {
        std::array<char, introduction + 4> head {};
        if (!m_exif.read(0, head.data(), head.size()))
            return false;
        const QByteArrayView bytes(head.data(), head.size());
        m_isBigEndian = bytes.endsWith(QByteArrayView("MM\0*", 4));
        return bytes.startsWith(QByteArrayView("Exif\0\0", 6))
            && (m_isBigEndian || bytes.endsWith(QByteArrayView("II*\0", 4)));
    }

    template <typename Number> std::optional<Number> number(qint64 at) const
    {
        std::array<char, sizeof(Number)> bytes {};
        if (!m_exif.read(at, bytes.data(), bytes.size()))
            return {};
        return m_isBigEndian ? qFromBigEndian<Number>(bytes.data())
                             : qFromLittleEndian<Number>(bytes.data());
    }

    std::optional<int> value(qint64 entry) const
    {
        const auto type = number<quint16>(entry + 2);
        const auto count = number<quint32>(entry + 4);
        const auto code = number<quint16>(entry + 8);
        if (!code || type != shortNumber || count != 1U || *code < 1 || *code > 8)
            return {};
        return *code;
    }

    const JoinedSegments &m_exif;
    bool m_isBigEndian = false;
};

QImageIOHandler::Transformations transformationOf(int orientation)
{
    using Handler = QImageIOHandler;
    constexpr std::array transformations = {Handler::TransformationNone,
                                            Handler::TransformationMirror,
                                            Handler::TransformationRotate180,
                                            Handler::TransformationFlip,
                                            Handler::TransformationFlipAndRotate90,
                                            Handler::TransformationRotate90,
                                            Handler::TransformationMirrorAndRotate90,
                                            Handler::TransformationRotate270};
    return transformations[static_cast<std::size_t>(orientation - 1)];
}

} // namespace

QImageIOHandler::Transformations jpegOrientation(QIODevice &device)
{
    const JoinedSegments exif(device, jpegSegmentsOfKind(device, application1));
    const std::optional<int> orientation = OrientationSearch(exif).find();
    device.seek(0);
    return transformationOf(orientation.value_or(1));
}

} // namespace photo
