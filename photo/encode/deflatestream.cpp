#include "photo/encode/deflatestream.h"

#include <algorithm>

#include "photo/photoerror.h"

namespace photo {

namespace {

// The least and the most that the library offers.
constexpr std::uint32_t quickLevel = 1;
constexpr std::uint32_t thoroughLevel = 3;
// Room for either level.
constexpr std::size_t tokenBytes =
    std::max<std::size_t>(ISAL_DEF_LVL1_DEFAULT, ISAL_DEF_LVL3_DEFAULT);
// How far back the same is looked for. A run repeats the last byte only; what is farther
// away than 8 kB costs a sketch more bits than it saves.
constexpr std::uint16_t runBits = 1;
constexpr std::uint16_t matchBits = 13;
// The library counts the bytes of a segment with 32 bits.
constexpr std::size_t segmentLimit = 1 << 30;
// Deflate with a window of 32 kB, the fastest way.
constexpr unsigned char zlibHeader[] = {0x78, 0x01};

void choose(isal_zstream &stream, Packing packing, std::vector<std::uint8_t> &tokens)
{
    stream.level = packing.isThorough ? thoroughLevel : quickLevel;
    stream.level_buf = tokens.data();
    stream.level_buf_size = static_cast<std::uint32_t>(tokens.size());
    stream.hist_bits = packing.search == Packing::Runs ? runBits : matchBits;
}

// The library reads what it is not told is constant.
std::uint8_t *input(const unsigned char *bytes)
{
    return const_cast<std::uint8_t *>(bytes);
}

void check(int result)
{
    if (result != COMP_OK)
        throw PhotoError("cannot be encoded: compressing it failed");
}

// More than bytes that do not compress become.
constexpr std::size_t packedBound(std::size_t bytes)
{
    return bytes + bytes / 8 + 1024;
}

} // namespace

DeflateStream::DeflateStream(ByteSink &sink)
    : m_sink(sink)
    , m_stream(std::make_unique<isal_zstream>())
    , m_tokens(tokenBytes)
    , m_piece(pieceBytes)
{
    m_filled =
        std::copy(std::begin(zlibHeader), std::end(zlibHeader), m_piece.data()) - m_piece.data();
    start(m_packing);
}

void DeflateStream::start(Packing packing)
{
    isal_deflate_init(m_stream.get());
    choose(*m_stream, packing, m_tokens);
    m_packing = packing;
    m_segmentBytes = 0;
}

void DeflateStream::add(const unsigned char *bytes, std::size_t count, Packing packing)
{
    m_checksum = isal_adler32(m_checksum, bytes, count);
    if (m_packing != packing) {
        // Ends at a whole byte, and nothing that follows looks back beyond it.
        compress(nullptr, 0, FULL_FLUSH, false);
        start(packing);
    }
    while (count > 0) {
        const std::size_t part = std::min(count, segmentLimit);
        put(bytes, part);
        bytes += part;
        count -= part;
    }
}

void DeflateStream::put(const unsigned char *bytes, std::size_t count)
{
    if (m_segmentBytes + count > segmentLimit) {
        compress(nullptr, 0, FULL_FLUSH, false);
        start(m_packing);
    }
    m_segmentBytes += count;
    compress(bytes, count, NO_FLUSH, false);
}

void DeflateStream::compress(const unsigned char *bytes, std::size_t count, int flush, bool isLast)
{
    m_stream->next_in = input(bytes);
    m_stream->avail_in = static_cast<std::uint32_t>(count);
    m_stream->flush = static_cast<std::uint16_t>(flush);
    m_stream->end_of_stream = isLast;
    do {
        const std::size_t room = pieceBytes - m_filled;
        m_stream->next_out = m_piece.data() + m_filled;
        m_stream->avail_out = static_cast<std::uint32_t>(room);
        check(isal_deflate(m_stream.get()));
        m_filled += room - m_stream->avail_out;
        passFullPiece();
    } while (m_stream->avail_out == 0);
}

void DeflateStream::passFullPiece()
{
    if (m_filled < pieceBytes)
        return;
    m_sink.write(m_piece.data(), m_filled);
    m_filled = 0;
}

void DeflateStream::finish()
{
    compress(nullptr, 0, NO_FLUSH, true);
    for (int shift = 24; shift >= 0; shift -= 8) {
        m_piece[m_filled++] = static_cast<unsigned char>(m_checksum >> shift);
        passFullPiece();
    }
    if (m_filled > 0)
        m_sink.write(m_piece.data(), m_filled);
}

PackingEstimate::PackingEstimate()
    : m_stream(std::make_unique<isal_zstream>())
    , m_tokens(tokenBytes)
{
}

std::size_t PackingEstimate::packedBytes(const std::vector<unsigned char> &sample, Packing packing)
{
    m_packed.resize(packedBound(sample.size()));
    isal_deflate_stateless_init(m_stream.get());
    choose(*m_stream, packing, m_tokens);
    m_stream->end_of_stream = 1;
    m_stream->next_in = input(sample.data());
    m_stream->avail_in = static_cast<std::uint32_t>(sample.size());
    m_stream->next_out = m_packed.data();
    m_stream->avail_out = static_cast<std::uint32_t>(m_packed.size());
    check(isal_deflate_stateless(m_stream.get()));
    return m_packed.size() - m_stream->avail_out;
}

std::size_t deflateMemory(std::size_t sampleBytes)
{
    return 2 * (sizeof(isal_zstream) + tokenBytes) + DeflateStream::pieceBytes
        + packedBound(sampleBytes);
}

} // namespace photo
