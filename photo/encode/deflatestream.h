#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <isa-l/igzip_lib.h>
#include <zlib.h>

#include "photo/encode/bytesink.h"

namespace photo {

// How bytes are packed.
enum class Packing {
    Matches, // anything that was there a little before
    Runs, // the same byte again and again, which costs fewer bits if it is all there is
    Patient, // the best of what was there before; takes ten times as long
};

// A zlib stream for raw deflate, which takes its memory when it is first begun.
class PatientCompressor
{
public:
    PatientCompressor() = default;
    ~PatientCompressor();
    PatientCompressor(const PatientCompressor &) = delete;
    PatientCompressor &operator=(const PatientCompressor &) = delete;

    z_stream &begin();
    z_stream &stream() { return m_stream; }

private:
    z_stream m_stream {};
    bool m_isReady = false;
};

// Compresses bytes as they come into a zlib stream, in memory that does not depend on
// their number. The way of packing may change on the way.
class DeflateStream
{
public:
    // Hands its pieces, all but the last of pieceBytes, to the sink.
    explicit DeflateStream(ByteSink &sink);

    // Throws what the sink throws.
    void add(const unsigned char *bytes, std::size_t count, Packing packing);
    void finish();

    static constexpr std::size_t pieceBytes = 1 << 18;

private:
    enum class Ending {
        None,
        Segment, // ends at a whole byte, and nothing that follows looks back beyond it
        Stream,
    };

    void start(Packing packing);
    void put(const unsigned char *bytes, std::size_t count);
    void storeFirst(unsigned char byte);
    void append(unsigned char byte);
    void compress(const unsigned char *bytes, std::size_t count, Ending ending);
    bool compressQuickly(Ending ending);
    bool compressPatiently(Ending ending);
    void passFullPiece();

    ByteSink &m_sink;
    std::unique_ptr<isal_zstream> m_stream;
    std::vector<std::uint8_t> m_tokens; // the compressor's own
    PatientCompressor m_patient;
    std::vector<unsigned char> m_piece;
    std::size_t m_filled = 0; // of the piece
    Packing m_packing = Packing::Matches;
    std::size_t m_segmentBytes = 0; // since the compressor was started
    std::uint32_t m_checksum = 1;
};

// Tells how many bytes samples would be packed into.
class PackingEstimate
{
public:
    PackingEstimate();

    // Of at least one byte.
    std::size_t packedBytes(const std::vector<unsigned char> &sample, Packing packing);

private:
    std::size_t quicklyPackedBytes(const std::vector<unsigned char> &sample, Packing packing);
    std::size_t patientlyPackedBytes(const std::vector<unsigned char> &sample);

    std::unique_ptr<isal_zstream> m_stream;
    std::vector<std::uint8_t> m_tokens;
    PatientCompressor m_patient;
    std::vector<unsigned char> m_packed;
};

// Bytes that a stream and an estimate take together, with samples of so many bytes.
std::size_t deflateMemory(std::size_t sampleBytes);

} // namespace photo
