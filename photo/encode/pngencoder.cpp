#include "photo/encode/pngencoder.h"

#include <algorithm>
#include <array>

#include <isa-l/crc.h>

namespace photo {

namespace {

std::array<unsigned char, 4> bigEndian(std::size_t number)
{
    return {static_cast<unsigned char>(number >> 24), static_cast<unsigned char>(number >> 16),
            static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
}

void writeChunk(ByteSink &sink, const char (&type)[5], const unsigned char *bytes,
                std::size_t count)
{
    const auto *const name = reinterpret_cast<const unsigned char *>(type);
    sink.write(bigEndian(count).data(), 4);
    sink.write(name, 4);
    sink.write(bytes, count);
    const auto start = crc32_gzip_refl(0, name, 4);
    const auto sum = count ? crc32_gzip_refl(start, bytes, count) : start;
    sink.write(bigEndian(sum).data(), 4);
}

} // namespace

PngEncoder::PngEncoder(QSize size, const ExifBlock &exif, ByteSink &sink)
    : m_sink(sink)
    , m_chunks(sink)
    , m_rows(size, m_chunks)
{
    writeHeader(size);
    if (!exif.empty())
        writeChunk(sink, "eXIf", exif.data(), exif.size());
}

void PngEncoder::writeHeader(QSize size)
{
    constexpr unsigned char signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    m_sink.write(signature, sizeof signature);
    const auto width = bigEndian(static_cast<std::size_t>(size.width()));
    const auto height = bigEndian(static_cast<std::size_t>(size.height()));
    // 8 bits, grey, and the only compression, filtering and no interlacing.
    unsigned char header[13] = {0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0};
    std::ranges::copy(width, header);
    std::ranges::copy(height, header + 4);
    writeChunk(m_sink, "IHDR", header, sizeof header);
}

void PngEncoder::PixelChunks::write(const unsigned char *bytes, std::size_t count)
{
    writeChunk(m_sink, "IDAT", bytes, count);
}

void PngEncoder::write(const unsigned char *grey, int rows)
{
    m_rows.add(grey, rows);
}

void PngEncoder::finish()
{
    m_rows.finish();
    writeChunk(m_sink, "IEND", nullptr, 0);
}

qint64 PngEncoder::memoryNeed(QSize size)
{
    return PngRows::memoryNeed(size);
}

} // namespace photo
