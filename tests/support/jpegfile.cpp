#include "tests/support/jpegfile.h"

#include <QBuffer>

namespace {

// An APP1 segment with a TIFF directory of one entry, the orientation.
QByteArray exifSegment(int orientation)
{
    static constexpr char head[] = "\xff\xe1\x00\x22" // marker, 34 bytes follow
                                   "Exif\0\0"
                                   "MM\x00\x2a\x00\x00\x00\x08" // big-endian, directory at 8
                                   "\x00\x01" // one entry:
                                   "\x01\x12\x00\x03\x00\x00\x00\x01"; // orientation, one short
    QByteArray segment(head, sizeof head - 1);
    segment += '\0';
    segment += static_cast<char>(orientation);
    segment += QByteArray(6, '\0'); // fills the value, no further directory
    return segment;
}

} // namespace

QByteArray jpegFile(const QImage &image, int orientation)
{
    QByteArray file;
    QBuffer buffer(&file);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "jpg", 100);
    if (orientation != 0)
        file.insert(2, exifSegment(orientation)); // behind the start-of-image marker
    return file;
}
