#include "photo/decode/photodecoder.h"

#include <QImageReader>

#include "photo/decode/jpegdecoder.h"
#include "photo/decode/pngdecoder.h"
#include "photo/decode/tiffdecoder.h"
#include "photo/decode/toolkitdecoder.h"
#include "photo/photoerror.h"
#include "photo/photoformat.h"
#include "photo/pngtexts.h"

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

void checkTexts(QIODevice &device)
{
    if (packedTextBytes(device) > mostPackedTextBytes) {
        throw PhotoError("has texts that unpack to more than the "
                         + std::to_string(mostPackedTextBytes >> 20) + " MB that are read");
    }
}

} // namespace

std::unique_ptr<PhotoDecoder> openPhoto(PhotoInput &input, const DecodingOptions &options,
                                        PhotoHeader &header)
{
    QIODevice &device = input.device();
    const QByteArray beginning = device.peek(contentProbe);
    const ContentKind kind = contentKind(beginning, input.name());
    if (kind.format == PhotoFormat::Unknown)
        refuse(kind, beginning.isEmpty());
    if (kind.format == PhotoFormat::Png) {
        // The toolkit knows no turned ones, and its reader would unpack all texts.
        checkTexts(device);
        return std::make_unique<PngDecoder>(device, options);
    }
    const char *const format = readerName(kind.format, beginning);
    header = readHeader(device, format);
    if (kind.format == PhotoFormat::Jpeg)
        return std::make_unique<JpegDecoder>(device, options);
    if (kind.format == PhotoFormat::Tiff) {
        if (auto decoder = TiffDecoder::make(device, header.pixels, options))
            return decoder;
        device.seek(0);
    }
    return std::make_unique<ToolkitDecoder>(device, kind, format, options);
}

} // namespace photo
