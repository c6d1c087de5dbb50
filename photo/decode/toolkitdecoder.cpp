#include "photo/decode/toolkitdecoder.h"

#include <QtEndian>

#include <array>
#include <new>

#include "photo/decode/tifffile.h"
#include "photo/decode/truncation.h"
#include "photo/photoerror.h"

namespace photo {

namespace {

// Any other is lossless, or may be: then it is decoded into a picture of 32 bits
// of its own before it is given out.
bool isLossyWebP(QIODevice &device)
{
    return device.peek(16).endsWith("VP8 ");
}

// A GIF's first picture may be smaller than its screen, which the toolkit makes.
qint64 gifScreenBytes(QIODevice &device)
{
    std::array<char, 10> head {};
    device.peek(head.data(), head.size());
    return qint64(4) * qFromLittleEndian<quint16>(head.data() + 6)
        * qFromLittleEndian<quint16>(head.data() + 8);
}

// The largest strip or tile, packed and unpacked.
qint64 tiffStripBytes(QIODevice &device)
{
    const TiffFile file = openTiff(device);
    if (!file)
        return 0;
    const bool isTiled = TIFFIsTiled(file.get());
    const qint64 unpacked = isTiled ? TIFFTileSize(file.get()) : TIFFStripSize(file.get());
    return largestStripInFile(file.get()) + unpacked;
}

} // namespace

ToolkitDecoder::ToolkitDecoder(QIODevice &device, const ContentKind &kind, const char *format,
                               const DecodingOptions &options)
    : m_reader(&device, format)
    , m_format(kind.name)
{
    m_reader.setDecideFormatFromContent(false);
    m_reader.setAutoTransform(false);
    if (!options.allowTruncated && isCutShort(device, kind.format))
        throw PhotoError("is truncated");
    if (kind.format == PhotoFormat::Gif)
        m_besidePicture = gifScreenBytes(device);
    if (kind.format == PhotoFormat::Tiff) {
        m_besidePicture = tiffStripBytes(device);
        device.seek(0);
    }
    const bool isDecodedTwice = kind.format == PhotoFormat::WebP && !isLossyWebP(device);
    m_size = m_reader.size();
    if (m_size.isEmpty())
        throw PhotoError("is a damaged " + m_format);
    if (kind.format == PhotoFormat::WebP) // read as a whole
        m_besidePicture = device.size();
    if (isDecodedTwice)
        m_besidePicture += qint64(m_size.width()) * m_size.height() * 4;
}

qint64 ToolkitDecoder::memoryNeed() const
{
    // Formats that do not tell, and the indexed ones, have at most 32 bits.
    const QImage::Format format = m_reader.imageFormat();
    const int bits = std::max(32, QImage::toPixelFormat(format).bitsPerPixel() + 0);
    return qint64(m_size.width()) * m_size.height() * (bits / 8) + m_besidePicture;
}

void ToolkitDecoder::decode()
{
    m_picture = m_reader.read();
    if (m_picture.isNull())
        throw PhotoError("cannot be decoded: " + m_reader.errorString().toStdString());
    if (m_picture.size() != m_size)
        throw PhotoError("is a damaged " + m_format);
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
