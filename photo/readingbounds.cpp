#include "photo/readingbounds.h"

#include "photo/photoerror.h"
#include "photo/pngtexts.h"

namespace photo {

namespace {

void checkTexts(QIODevice &device)
{
    const qint64 bytes = packedTextBytes(device);
    if (bytes > mostPackedTextBytes) {
        throw PhotoError("has texts that unpack to more than the "
                         + std::to_string(mostPackedTextBytes >> 20) + " MB that are read");
    }
}

void checkSegments(QIODevice &device, JpegReach reach)
{
    const JpegSegments found = countJpegSegments(device, reach);
    if (found.segments > mostJpegSegments)
        throw PhotoError("has more than " + std::to_string(mostJpegSegments) + " segments");
    if (found.later > mostLaterJpegSegments) {
        throw PhotoError("has more than " + std::to_string(mostLaterJpegSegments)
                         + " segments behind its first scan");
    }
    if (found.scans > mostJpegScans)
        throw PhotoError("has more than " + std::to_string(mostJpegScans) + " scans");
}

} // namespace

void checkReadingBounds(QIODevice &device, PhotoFormat format, JpegReach reach)
{
    if (format == PhotoFormat::Png)
        checkTexts(device);
    else if (format == PhotoFormat::Jpeg)
        checkSegments(device, reach);
}

} // namespace photo
