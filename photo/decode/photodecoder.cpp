#include "photo/decode/photodecoder.h"

#include <QImageReader>

#include "photo/decode/jpegdecoder.h"
#include "photo/decode/pngdecoder.h"
#include "photo/decode/tiffdecoder.h"
#include "photo/decode/toolkitdecoder.h"
#include "photo/jpegorientation.h"
#include "photo/photoerror.h"
#include "photo/photoformat.h"
#include "photo/readingbounds.h"

namespace photo {

namespace {

PhotoHeader readHeader(QIODevice &device, const char *format)
{
    QImageReader reader(&device, format);
    reader.setDecideFormatFromContent(false);
    PhotoHeader header;
    header.knowsOrientation = reader.supportsOption(QImageIOHandler::ImageTransformation);
    header.transformation = reader.transformation();
    header.pixels = reader.imageFormat();
    device.seek(0);
    return header;
}

[[noreturn]] void refuse(const ContentKind &kind, bool isEmpty)
{
    if (isEmpty)
        throw PhotoError("is empty");
    if (kind.name.empty())
        throw PhotoError("is no picture of a known format");
    throw PhotoError("is of the format " + kind.name + ", which is not read");
}

} // namespace

std::unique_ptr<PhotoDecoder> openPhoto(PhotoInput &input, const DecodingOptions &options,
                                        PhotoHeader &header)
{
    QIODevice &device = input.pictureDevice();
    const QByteArray beginning = device.peek(contentProbe);
    const ContentKind kind = contentKind(beginning, input.name());
    if (kind.format == PhotoFormat::Unknown)
        refuse(kind, beginning.isEmpty());
    // A scan too many is noticed when it comes; what stands before the first one must
    // be bounded before the toolkit looks there for an orientation.
    checkReadingBounds(device, kind.format, JpegReach::FirstScan);
    // The toolkit knows no turned PNG or WebP, and its readers would unpack all texts
    // of the one and make the whole picture of the other to say so.
    if (kind.format == PhotoFormat::Png)
        return std::make_unique<PngDecoder>(device, options);
    const char *const format = readerName(kind.format, beginning);
    if (kind.format == PhotoFormat::Jpeg) {
        header.knowsOrientation = true;
        header.transformation = jpegOrientation(device);
        return std::make_unique<JpegDecoder>(device, options);
    }
    if (kind.format != PhotoFormat::WebP)
        header = readHeader(device, format);
    if (kind.format == PhotoFormat::Tiff) {
        if (auto decoder = TiffDecoder::make(device, header.pixels, options))
            return decoder;
        device.seek(0);
    }
    return std::make_unique<ToolkitDecoder>(device, kind, format, options);
}

} // namespace photo
