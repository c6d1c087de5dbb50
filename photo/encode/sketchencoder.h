#pragma once

#include <QSize>

#include <memory>

#include "photo/encode/bytesink.h"
#include "photo/exif.h"

namespace photo {

enum class SketchFormat { Jpeg, Png };

// Writes a one-channel picture of 8 bits into a sink.
class SketchEncoder
{
public:
    virtual ~SketchEncoder() = default;

    // The next rows, without padding. Throws what the sink throws.
    virtual void write(const unsigned char *grey, int rows) = 0;
    // To be called once, after the last row.
    virtual void finish() = 0;
};

// Throws PhotoError where the format has no room for such a picture.
std::unique_ptr<SketchEncoder> makeEncoder(SketchFormat format, int quality, QSize size,
                                           const ExifBlock &exif, ByteSink &sink);

// Bytes that an encoder takes.
qint64 encoderNeed(SketchFormat format, QSize size);

// The most EXIF bytes that a format can carry.
std::size_t exifCapacity(SketchFormat format);

} // namespace photo
