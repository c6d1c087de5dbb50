#include "photo/encode/sketchencoder.h"

#include "photo/encode/jpegencoder.h"
#include "photo/encode/pngencoder.h"

namespace photo {

std::unique_ptr<SketchEncoder> makeEncoder(SketchFormat format, int quality, QSize size,
                                           const ExifBlock &exif, ByteSink &sink)
{
    if (format == SketchFormat::Png)
        return std::make_unique<PngEncoder>(size, exif, sink);
    return std::make_unique<JpegEncoder>(size, quality, exif, sink);
}

qint64 encoderNeed(SketchFormat format, QSize size)
{
    return format == SketchFormat::Png ? PngEncoder::memoryNeed(size)
                                       : JpegEncoder::memoryNeed(size);
}

std::size_t exifCapacity(SketchFormat format)
{
    return format == SketchFormat::Png ? PngEncoder::exifCapacity : JpegEncoder::exifCapacity;
}

} // namespace photo
