#include "photo/encode/deflatestream.h"

#include <algorithm>
#include <array>
#include <new>

#include "photo/photoerror.h"

namespace photo {

namespace {

constexpr std::uint32_t quickLevel = 1;
constexpr std::size_t tokenBytes = ISAL_DEF_LVL1_DEFAULT;
// The least that looks whether the next byte begins a longer match.
constexpr int patientLevel = 4;
// As the library says of its states: 2^(15 + 2) + 2^(8 + 9) bytes, and a little.
constexpr std::size_t patientBytes = 272 << 10;
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
    stream.level = quickLevel;
    stream.level_buf = tokens.data();
    stream.level_buf_size = static_cast<std::uint32_t>(tokens.size());
    stream.hist_bits = packing == Packing::Runs ? runBits : matchBits;
}

// The library reads what it is not told is constant.
std::uint8_t *input(const unsigned char *bytes)
{
    return const_cast<std::uint8_t *>(bytes);
}

void check(bool isDone)
{
    if (!isDone)
        throw PhotoError("cannot be encoded: compressing it failed");
}

// Prepares a state for the bytes behind the given one. Where nothing has come before, the
// library's first steps look up a string by a register that nobody has set: it holds the
// state's address, and by that a stream would be some bytes longer or shorter.
void beginBehind(unsigned char first, isal_zstream &stream, Packing packing,
                 std::vector<std::uint8_t> &tokens)
{
    isal_deflate_init(&stream);
    choose(stream, packing, tokens);
    check(isal_deflate_set_dict(&stream, &first, 1) == COMP_OK);
}

// A block of one byte, not compressed and not the last.
std::array<unsigned char, 6> storedBlock(unsigned char byte)
{
    return {0, 1, 0, 0xfe, 0xff, byte};
}

// More than bytes that do not compress become.
constexpr std::size_t packedBound(std::size_t bytes)
{
    return bytes + bytes / 8 + 1024;
}

} // namespace

PatientCompressor::~PatientCompressor()
{
    if (m_isReady)
        deflateEnd(&m_stream);
}

z_stream &PatientCompressor::begin()
{
    constexpr int rawWindowBits = -15;
    constexpr int usualMemory = 8;
    const int result = m_isReady ? deflateReset(&m_stream)
                                 : deflateInit2(&m_stream, patientLevel, Z_DEFLATED, rawWindowBits,
                                                usualMemory, Z_DEFAULT_STRATEGY);
    if (result == Z_MEM_ERROR)
        throw std::bad_alloc();
    check(result == Z_OK);
    m_isReady = true;
    return m_stream;
}

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
    m_packing = packing;
    m_segmentBytes = 0;
    if (packing == Packing::Patient) {
        m_patient.begin();
    } else {
        isal_deflate_init(m_stream.get());
        choose(*m_stream, packing, m_tokens); // should nothing follow
    }
}

void DeflateStream::add(const unsigned char *bytes, std::size_t count, Packing packing)
{
    m_checksum = isal_adler32(m_checksum, bytes, count);
    if (m_packing != packing) {
        if (m_segmentBytes > 0)
            compress(nullptr, 0, Ending::Segment);
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
        compress(nullptr, 0, Ending::Segment);
        start(m_packing);
    }
    const bool isFirst = m_segmentBytes == 0 && m_packing != Packing::Patient;
    if (isFirst)
        storeFirst(*bytes);
    m_segmentBytes += count;
    compress(bytes + isFirst, count - isFirst, Ending::None);
}

void DeflateStream::storeFirst(unsigned char byte)
{
    for (const unsigned char part : storedBlock(byte))
        append(part);
    beginBehind(byte, *m_stream, m_packing, m_tokens);
}

void DeflateStream::append(unsigned char byte)
{
    m_piece[m_filled++] = byte;
    passFullPiece();
}

void DeflateStream::compress(const unsigned char *bytes, std::size_t count, Ending ending)
{
    const bool isPatient = m_packing == Packing::Patient;
    z_stream &patient = m_patient.stream();
    (isPatient ? patient.next_in : m_stream->next_in) = input(bytes);
    (isPatient ? patient.avail_in : m_stream->avail_in) = static_cast<std::uint32_t>(count);
    while (isPatient ? compressPatiently(ending) : compressQuickly(ending)) { }
}

// Fills the piece; whether there is more to come.
bool DeflateStream::compressQuickly(Ending ending)
{
    const std::size_t room = pieceBytes - m_filled;
    m_stream->flush = ending == Ending::Segment ? FULL_FLUSH : NO_FLUSH;
    m_stream->end_of_stream = ending == Ending::Stream;
    m_stream->next_out = m_piece.data() + m_filled;
    m_stream->avail_out = static_cast<std::uint32_t>(room);
    check(isal_deflate(m_stream.get()) == COMP_OK);
    m_filled += room - m_stream->avail_out;
    passFullPiece();
    return m_stream->avail_out == 0;
}

bool DeflateStream::compressPatiently(Ending ending)
{
    const std::size_t room = pieceBytes - m_filled;
    z_stream &stream = m_patient.stream();
    stream.next_out = m_piece.data() + m_filled;
    stream.avail_out = static_cast<uInt>(room);
    const int result = deflate(&stream,
                               ending == Ending::Stream        ? Z_FINISH
                                   : ending == Ending::Segment ? Z_FULL_FLUSH
                                                               : Z_NO_FLUSH);
    // The last one says that nothing was left to do.
    check(result == Z_OK || result == Z_STREAM_END || result == Z_BUF_ERROR);
    m_filled += room - stream.avail_out;
    passFullPiece();
    return stream.avail_out == 0;
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
    compress(nullptr, 0, Ending::Stream);
    for (int shift = 24; shift >= 0; shift -= 8)
        append(static_cast<unsigned char>(m_checksum >> shift));
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
    return packing == Packing::Patient ? patientlyPackedBytes(sample)
                                       : quicklyPackedBytes(sample, packing);
}

std::size_t PackingEstimate::quicklyPackedBytes(const std::vector<unsigned char> &sample,
                                                Packing packing)
{
    beginBehind(sample.front(), *m_stream, packing, m_tokens);
    m_stream->end_of_stream = 1;
    m_stream->next_in = input(sample.data() + 1);
    m_stream->avail_in = static_cast<std::uint32_t>(sample.size() - 1);
    m_stream->next_out = m_packed.data();
    m_stream->avail_out = static_cast<std::uint32_t>(m_packed.size());
    check(isal_deflate(m_stream.get()) == COMP_OK
          && m_stream->internal_state.state == ZSTATE_END);
    return storedBlock(sample.front()).size() + m_packed.size() - m_stream->avail_out;
}

std::size_t PackingEstimate::patientlyPackedBytes(const std::vector<unsigned char> &sample)
{
    z_stream &stream = m_patient.begin();
    stream.next_in = input(sample.data());
    stream.avail_in = static_cast<uInt>(sample.size());
    stream.next_out = m_packed.data();
    stream.avail_out = static_cast<uInt>(m_packed.size());
    check(deflate(&stream, Z_FINISH) == Z_STREAM_END);
    return m_packed.size() - stream.avail_out;
}

std::size_t deflateMemory(std::size_t sampleBytes)
{
    return 2 * (sizeof(isal_zstream) + tokenBytes + patientBytes) + DeflateStream::pieceBytes
        + packedBound(sampleBytes);
}

} // namespace photo
