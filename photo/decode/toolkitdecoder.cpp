#include "photo/decode/toolkitdecoder.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <new>

#include "photo/announcedpicture.h"
#include "photo/decode/tifffile.h"
#include "photo/decode/truncation.h"
#include "photo/memorybudget.h"
#include "photo/photoerror.h"
#include "photo/webpheader.h"

namespace photo {

namespace {

// A GIF's first picture may be smaller than its screen, which the toolkit makes.
qint64 gifScreenBytes(QIODevice &device)
{
    std::array<char, 10> head {};
    device.peek(head.data(), head.size());
    return qint64(4) * qFromLittleEndian<quint16>(head.data() + 6)
        * qFromLittleEndian<quint16>(head.data() + 8);
}

// What decoding a TIFF takes beside its picture: the largest strip or tile as it is in
// the file, and unpacked; of one whose planes are apart, as many as there are planes;
// and where it holds a JPEG, which may be progressive, that one's coefficients.
qint64 tiffWorkBytes(QIODevice &device)
{
    const TiffFile file = openTiff(device);
    if (!file)
        return 0;
    TIFF *const tiff = file.get();
    const bool isTiled = TIFFIsTiled(tiff);
    qint64 planes = 1;
    if (tiffValue<uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE)
        planes = std::max<int>(tiffValue<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL), 4);
    qint64 unpacked = sizeProduct({isTiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff), planes});
    if (tiffValue<uint16_t>(tiff, TIFFTAG_COMPRESSION) == COMPRESSION_JPEG)
        unpacked += unpacked * 2;
    return largestStripInFile(tiff) + unpacked + heldValueBytes(tiff);
}

// What the reader takes beside the picture that it gives.
qint64 workBytes(QIODevice &device, PhotoFormat format)
{
    qint64 bytes = 0;
    if (format == PhotoFormat::Gif)
        bytes = gifScreenBytes(device);
    else if (format == PhotoFormat::Tiff)
        bytes = tiffWorkBytes(device);
    else if (format == PhotoFormat::WebP) // read as a whole
        bytes = device.size() + webPWorkBytes(readWebPHeader(device));
    device.seek(0);
    return bytes;
}

// A format whose plug-in is missing looks like a damaged file to the toolkit. Asking for
// all that are there opens them, so only a failure does.
std::string reasonFor(const QImageReader &reader, const ContentKind &kind,
                      const std::string &otherwise)
{
    if (QImageReader::supportedImageFormats().contains(reader.format()))
        return otherwise;
    const bool isExtra = kind.format == PhotoFormat::Tiff || kind.format == PhotoFormat::WebP;
    const char *const remedy = isExtra ? " (in Debian, the package qt6-image-formats-plugins)" : "";
    return "cannot be decoded: Qt's reader for " + kind.name + " is not installed" + remedy;
}

} // namespace

ToolkitDecoder::ToolkitDecoder(QIODevice &device, const ContentKind &kind, const char *format,
                               const DecodingOptions &options)
    : m_reader(&device, format)
    , m_kind(kind)
{
    m_reader.setDecideFormatFromContent(false);
    m_reader.setAutoTransform(false);
    if (!options.allowTruncated && isCutShort(device, kind.format))
        throw PhotoError("is truncated");
    m_besidePicture = workBytes(device, kind.format);
    m_size = announcedSize(device, kind.format, m_reader);
    if (m_size.isEmpty())
        throw PhotoError(reasonFor(m_reader, m_kind, "is a damaged " + m_kind.name));
}

qint64 ToolkitDecoder::memoryNeed() const
{
    // Formats that do not tell, and the indexed ones, have at most 32 bits.
    int bits = 32;
    if (m_kind.format != PhotoFormat::WebP)
        bits = std::max(bits, QImage::toPixelFormat(m_reader.imageFormat()).bitsPerPixel() + 0);
    return sizeProduct({m_size.width(), m_size.height(), bits / 8}) + m_besidePicture;
}

void ToolkitDecoder::decode()
{
    m_picture = pictureToDecodeInto(m_size, m_kind.format, m_reader);
    if (!m_reader.read(&m_picture) || m_picture.isNull())
        throw PhotoError(reasonFor(m_reader, m_kind,
                                   "cannot be decoded: " + m_reader.errorString().toStdString()));
    if (m_picture.size() != m_size)
        throw PhotoError("is a damaged " + m_kind.name);
}

QImage ToolkitDecoder::rows(int first, int count)
{
    if (m_picture.isNull())
        decode();
    const QImage view(m_picture.constScanLine(first), m_picture.width(), count,
                      m_picture.bytesPerLine(), m_picture.format());
    if (m_picture.format() == QImage::Format_RGB32 || m_picture.format() == QImage::Format_ARGB32)
        return view;
    QImage band = view;
    band.setColorTable(m_picture.colorTable());
    m_band = band.convertToFormat(QImage::Format_ARGB32);
    if (m_band.isNull())
        throw std::bad_alloc();
    return m_band;
}

} // namespace photo
