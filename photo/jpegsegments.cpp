#include "photo/jpegsegments.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace photo {

namespace {

constexpr int stuffing = 0x00; // behind an 0xff that belongs to the pixels
constexpr int temporary = 0x01;
constexpr int firstRestart = 0xd0;
constexpr int startOfImage = 0xd8;
constexpr int endOfImage = 0xd9;
constexpr int startOfScan = 0xda;
constexpr int escape = 0xff;
constexpr int atEnd = -1;

// A file's bytes, one after the other.
class Bytes
{
public:
    explicit Bytes(QIODevice &device)
        : m_device(device)
        , m_buffer(1 << 16)
    {
    }

    int next()
    {
        if (m_at == m_end && !refill())
            return atEnd;
        return static_cast<unsigned char>(m_buffer[m_at++]);
    }
    qint64 position() const { return m_device.pos() - (m_end - m_at); }
    void skip(qint64 count)
    {
        const qint64 here = std::min<qint64>(count, m_end - m_at);
        m_at += here;
        if (here < count)
            m_device.skip(count - here);
    }
    // Behind the next 0xff; false at the end of the file.
    bool findEscape()
    {
        while (m_at < m_end || refill()) {
            const void *const found = std::memchr(m_buffer.data() + m_at, escape, m_end - m_at);
            if (found) {
                m_at = static_cast<const char *>(found) - m_buffer.data() + 1;
                return true;
            }
            m_at = m_end;
        }
        return false;
    }

private:
    bool refill()
    {
        m_at = 0;
        m_end = std::max<qint64>(
            m_device.read(m_buffer.data(), static_cast<qint64>(m_buffer.size())), 0);
        return m_end > 0;
    }

    QIODevice &m_device;
    std::vector<char> m_buffer;
    qint64 m_at = 0;
    qint64 m_end = 0;
};

// The code of the next marker, past whatever is none; also through a scan's pixels.
int nextMarker(Bytes &bytes)
{
    while (bytes.findEscape()) {
        int code = bytes.next();
        while (code == escape)
            code = bytes.next();
        if (code != stuffing)
            return code;
    }
    return atEnd;
}

bool hasContent(int marker)
{
    return marker != temporary && (marker < firstRestart || marker > startOfImage);
}

// Reads a content's length and passes over it.
SegmentPlace passContent(Bytes &bytes)
{
    const int high = bytes.next();
    const int low = bytes.next();
    if (high < 0 || low < 0)
        return {};
    const SegmentPlace place {bytes.position(), std::max(high * 256 + low - 2, 0)};
    bytes.skip(place.length);
    return place;
}

// Visits each segment with content, until the visitor says that it is enough.
template <typename Visit> void walk(QIODevice &device, Visit visit)
{
    Bytes bytes(device);
    for (;;) {
        const int marker = nextMarker(bytes);
        if (marker == atEnd || marker == endOfImage)
            break;
        if (!hasContent(marker))
            continue; // restarts above all, of which a picture may have millions
        if (!visit(marker, passContent(bytes)))
            break;
    }
    device.seek(0);
}

} // namespace

namespace {

// Whether a scan's head follows, as every decoder wants it: its length fits the number
// of its channels, one to four.
bool isScanHead(Bytes &bytes)
{
    const int high = bytes.next();
    const int low = bytes.next();
    const int channels = bytes.next();
    return high == 0 && channels >= 1 && channels <= 4 && low == 6 + 2 * channels;
}

// Those whose contents the toolkit's reader collects: EXIF data, profiles, comments.
bool isKept(int marker)
{
    return marker == 0xe1 || marker == 0xe2 || marker == 0xfe;
}

// From the first scan's own head on.
void countBehindFirstScan(QIODevice &device, qint64 head, JpegSegments &found)
{
    device.seek(head);
    Bytes bytes(device);
    while (found.scans <= mostJpegScans && found.later <= mostLaterJpegSegments) {
        const int marker = nextMarker(bytes);
        if (marker == atEnd)
            break;
        if (marker == startOfScan && isScanHead(bytes))
            ++found.scans;
        found.later += isKept(marker) ? 1 : 0;
    }
}

} // namespace

JpegSegments countJpegSegments(QIODevice &device, JpegReach reach)
{
    JpegSegments found;
    qint64 firstScan = 0;
    walk(device, [&](int marker, SegmentPlace place) {
        ++found.segments;
        if (marker == startOfScan)
            firstScan = place.offset;
        return marker != startOfScan && found.segments <= mostJpegSegments;
    });
    if (firstScan > 0) {
        found.scans = 1;
        if (reach == JpegReach::WholeFile)
            countBehindFirstScan(device, firstScan, found);
    }
    device.seek(0);
    return found;
}

std::vector<SegmentPlace> jpegSegmentsOfKind(QIODevice &device, int marker)
{
    std::vector<SegmentPlace> places;
    walk(device, [&](int found, SegmentPlace place) {
        if (found == marker && place.length > 0)
            places.push_back(place);
        return found != startOfScan;
    });
    return places;
}

} // namespace photo
