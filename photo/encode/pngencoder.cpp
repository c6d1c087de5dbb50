#include "photo/encode/pngencoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <libdeflate.h>

namespace photo {

namespace {

// A sketch is flat paper with strokes on it, whose values compress as well as they
// are; the shades of a soft one compress better as differences.
enum Filter : unsigned char {
    None = 0,
    Sub = 1, // differences to the pixel on the left
};
// Of so many rows one tells which filter is the better one.
constexpr std::size_t rowsPerSample = 16;
// Higher levels take twice the time for less than one per cent.
constexpr int compressionLevel = 1;

struct Free
{
    void operator()(libdeflate_compressor *compressor) const
    {
        libdeflate_free_compressor(compressor);
    }
};
using Compressor = std::unique_ptr<libdeflate_compressor, Free>;

struct Packed
{
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t count;
};

Packed pack(const std::vector<unsigned char> &bytes)
{
    const Compressor compressor(libdeflate_alloc_compressor(compressionLevel));
    if (!compressor)
        throw std::bad_alloc();
    const std::size_t bound = libdeflate_zlib_compress_bound(compressor.get(), bytes.size());
    // Not a vector: its zeros would touch pages that the data never reach.
    std::unique_ptr<unsigned char[]> packed(new unsigned char[bound]);
    const std::size_t count =
        libdeflate_zlib_compress(compressor.get(), bytes.data(), bytes.size(), packed.get(), bound);
    return {std::move(packed), count};
}

// Rows of a filter's byte and the pixels each, from no filter to Sub.
void subtractLeft(std::vector<unsigned char> &rows, std::size_t rowBytes)
{
    for (std::size_t row = 0; row < rows.size(); row += rowBytes) {
        unsigned char *const pixels = rows.data() + row + 1;
        rows[row] = Sub;
        for (std::size_t x = rowBytes - 2; x > 0; --x)
            pixels[x] = static_cast<unsigned char>(pixels[x] - pixels[x - 1]);
    }
}

// Whether some of the rows compress better as differences.
bool isSoft(const std::vector<unsigned char> &rows, std::size_t rowBytes)
{
    std::vector<unsigned char> sample;
    for (std::size_t row = 0; row < rows.size(); row += rowsPerSample * rowBytes)
        sample.insert(sample.end(), rows.data() + row, rows.data() + row + rowBytes);
    const std::size_t asItIs = pack(sample).count;
    subtractLeft(sample, rowBytes);
    return pack(sample).count < asItIs;
}

std::array<unsigned char, 4> bigEndian(std::size_t number)
{
    return {static_cast<unsigned char>(number >> 24), static_cast<unsigned char>(number >> 16),
            static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
}

std::size_t rowBytes(QSize size)
{
    return 1 + static_cast<std::size_t>(size.width());
}

} // namespace

PngEncoder::PngEncoder(QSize size, const ExifBlock &exif, ByteSink &sink)
    : m_size(size)
    , m_exif(exif)
    , m_sink(sink)
    , m_rows(rowBytes(size) * static_cast<std::size_t>(size.height()))
{
}

void PngEncoder::write(const unsigned char *grey, int rows)
{
    const auto width = static_cast<std::size_t>(m_size.width());
    for (int y = 0; y < rows; ++y, grey += width) {
        m_rows[m_filled] = None;
        std::memcpy(m_rows.data() + m_filled + 1, grey, width);
        m_filled += rowBytes(m_size);
    }
}

void PngEncoder::finish()
{
    writeHeader();
    if (!m_exif.empty())
        writeChunk("eXIf", m_exif.data(), m_exif.size());
    writePixels();
    writeChunk("IEND", nullptr, 0);
}

void PngEncoder::writeHeader()
{
    constexpr unsigned char signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    m_sink.write(signature, sizeof signature);
    const auto width = bigEndian(static_cast<std::size_t>(m_size.width()));
    const auto height = bigEndian(static_cast<std::size_t>(m_size.height()));
    // 8 bits, grey, and the only compression, filtering and no interlacing.
    unsigned char header[13] = {0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0};
    std::ranges::copy(width, header);
    std::ranges::copy(height, header + 4);
    writeChunk("IHDR", header, sizeof header);
}

void PngEncoder::writeChunk(const char (&type)[5], const unsigned char *bytes, std::size_t count)
{
    m_sink.write(bigEndian(count).data(), 4);
    m_sink.write(reinterpret_cast<const unsigned char *>(type), 4);
    m_sink.write(bytes, count);
    const auto start = libdeflate_crc32(0, type, 4);
    const auto sum = count ? libdeflate_crc32(start, bytes, count) : start;
    m_sink.write(bigEndian(sum).data(), 4);
}

void PngEncoder::writePixels()
{
    if (isSoft(m_rows, rowBytes(m_size)))
        subtractLeft(m_rows, rowBytes(m_size));
    const Packed packed = pack(m_rows);
    constexpr std::size_t mostBytes = 1 << 30; // a chunk's length has 31 bits
    for (std::size_t at = 0; at < packed.count; at += mostBytes)
        writeChunk("IDAT", packed.bytes.get() + at, std::min(mostBytes, packed.count - at));
}

qint64 PngEncoder::memoryNeed(QSize size)
{
    constexpr qint64 compressorBytes = 4 << 20;
    const qint64 rows = static_cast<qint64>(rowBytes(size)) * size.height();
    return 2 * rows + 4 * rows / qint64(rowsPerSample) + compressorBytes;
}

} // namespace photo
