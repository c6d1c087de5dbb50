#include "photo/decode/tiffdecoder.h"

#include <QFloat16>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "photo/photoerror.h"

namespace photo {

namespace {

bool hasPlainCompression(TIFF *tiff)
{
    switch (tiffValue<uint16_t>(tiff, TIFFTAG_COMPRESSION)) {
    case COMPRESSION_NONE:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_LZW:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE: return true;
    default: return false;
    }
}

bool hasPlainLayout(TIFF *tiff)
{
    return !TIFFIsTiled(tiff) && hasPlainCompression(tiff)
        && tiffValue<uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG
        && tiffValue<uint16_t>(tiff, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_RGB;
}

struct RowLayout
{
    QImage::Format asRead; // by the toolkit
    int samples;
    int bits;
    QImage::Format inFile;
};

constexpr RowLayout layouts[] = {
    {QImage::Format_RGB32, 3, 8, QImage::Format_RGB888},
    {QImage::Format_ARGB32, 4, 8, QImage::Format_RGBA8888},
    {QImage::Format_ARGB32_Premultiplied, 4, 8, QImage::Format_RGBA8888_Premultiplied},
    {QImage::Format_RGBX64, 3, 16, QImage::Format_RGBX64},
    {QImage::Format_RGBA64, 4, 16, QImage::Format_RGBA64},
    {QImage::Format_RGBA64_Premultiplied, 4, 16, QImage::Format_RGBA64_Premultiplied},
    {QImage::Format_RGBX16FPx4, 3, 16, QImage::Format_RGBX16FPx4},
    {QImage::Format_RGBX32FPx4, 3, 32, QImage::Format_RGBX32FPx4}};

// The format of a file's rows for one that the toolkit reads as the given format;
// Format_Invalid where it is to be left to it.
QImage::Format rowFormat(TIFF *tiff, QImage::Format format)
{
    if (!hasPlainLayout(tiff))
        return QImage::Format_Invalid;
    const int samples = tiffValue<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
    const int bits = tiffValue<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
    if (bits == 8 && tiffValue<uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT) != SAMPLEFORMAT_UINT)
        return QImage::Format_Invalid;
    const auto *const known = std::ranges::find_if(layouts, [&](const RowLayout &row) {
        return row.asRead == format && row.samples == samples && row.bits == bits;
    });
    return known == std::end(layouts) ? QImage::Format_Invalid : known->inFile;
}

bool hasSeparateAlpha(TIFF *tiff)
{
    uint16_t count = 0;
    const uint16_t *meanings = nullptr;
    return TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &meanings) && count > 0
        && meanings[0] == EXTRASAMPLE_UNASSALPHA;
}

bool hasUsualSize(TIFF *tiff)
{
    constexpr uint32_t most = std::numeric_limits<int>::max() / 16; // bytes a pixel
    const auto width = tiffValue<uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
    const auto height = tiffValue<uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
    return width > 0 && height > 0 && width <= most && height <= most;
}

// Moves a row's triples apart, from the last to the first, for an opaque fourth.
template <typename Sample> void spread(uchar *row, int width, Sample opaque)
{
    constexpr std::size_t three = 3 * sizeof(Sample);
    constexpr std::size_t four = 4 * sizeof(Sample);
    for (int x = width - 1; x >= 0; --x) {
        std::memmove(row + four * x, row + three * x, three);
        std::memcpy(row + four * x + three, &opaque, sizeof(Sample));
    }
}

// With the rounding of the interface that the toolkit reads 8 bits through.
void multiplyByAlpha(uchar *row, int width)
{
    for (int x = 0; x < width; ++x, row += 4) {
        for (int channel = 0; channel < 3; ++channel)
            row[channel] = static_cast<uchar>((row[channel] * row[3] + 127) / 255);
    }
}

void addAlpha(uchar *row, int width, QImage::Format format)
{
    switch (format) {
    case QImage::Format_RGBX64: spread<quint16>(row, width, 0xffff); break;
    case QImage::Format_RGBX16FPx4: spread(row, width, qfloat16(1.0F)); break;
    case QImage::Format_RGBX32FPx4: spread(row, width, 1.0F); break;
    default: break;
    }
}

} // namespace

std::unique_ptr<TiffDecoder> TiffDecoder::make(QIODevice &device, QImage::Format format,
                                               const DecodingOptions &options)
{
    TiffFile file = openTiff(device);
    if (!file || !hasUsualSize(file.get()))
        return {};
    const QImage::Format rows = rowFormat(file.get(), format);
    if (rows == QImage::Format_Invalid)
        return {};
    return std::unique_ptr<TiffDecoder>(new TiffDecoder(std::move(file), rows, options));
}

TiffDecoder::TiffDecoder(TiffFile file, QImage::Format rowFormat, const DecodingOptions &options)
    : BandDecoder(options, QImage::Format_ARGB32)
    , m_file(std::move(file))
    , m_rowFormat(rowFormat)
    , m_hasSeparateAlpha(hasSeparateAlpha(m_file.get()))
    , m_size(static_cast<int>(tiffValue<uint32_t>(m_file.get(), TIFFTAG_IMAGEWIDTH)),
             static_cast<int>(tiffValue<uint32_t>(m_file.get(), TIFFTAG_IMAGELENGTH)))
{
}

qint64 TiffDecoder::memoryNeed() const
{
    // The band, and more room than a row as the file has it and its conversion take.
    const int bits = QImage::toPixelFormat(m_rowFormat).bitsPerPixel() + 0;
    const qint64 bands = 2 * bandNeed() + bandNeed() * bits / (8 * bytesPerPixel);
    // A strip is read as a whole, still compressed.
    return bands + heldValueBytes(m_file.get()) + largestStripInFile(m_file.get());
}

void TiffDecoder::decode(uchar *target, int count)
{
    // Row by row, in little memory that stays: pictures of a whole band would be mapped
    // anew each time.
    if (m_pixels.isNull())
        m_pixels = QImage(m_size.width(), 1, m_rowFormat);
    if (m_pixels.isNull())
        throw std::bad_alloc();
    for (int y = 0; y < count; ++y, ++m_row) {
        uchar *const row = m_pixels.bits();
        // Failing in the toolkit's words, as for every other TIFF.
        if (TIFFReadScanline(m_file.get(), row, m_row, 0) < 0)
            throw PhotoError("cannot be decoded: Unable to read image data");
        addAlpha(row, m_pixels.width(), m_rowFormat);
        if (m_rowFormat == QImage::Format_RGBA8888_Premultiplied && m_hasSeparateAlpha)
            multiplyByAlpha(row, m_pixels.width());
        const QImage converted = m_pixels.convertToFormat(QImage::Format_ARGB32);
        if (converted.isNull())
            throw std::bad_alloc();
        target = std::copy_n(converted.constBits(), converted.sizeInBytes(), target);
    }
}

} // namespace photo
