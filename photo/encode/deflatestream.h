#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <isa-l/igzip_lib.h>

#include "photo/encode/bytesink.h"

namespace photo {

// How bytes are packed.
struct Packing
{
    enum Search {
        Matches, // anything that was there a little before
        Runs, // the same byte again and again, which costs fewer bits if it is all there is
    };

    bool operator==(const Packing &) const = default;

    Search search;
    bool isThorough; // takes twice the time
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
    void start(Packing packing);
    void put(const unsigned char *bytes, std::size_t count);
    void compress(const unsigned char *bytes, std::size_t count, int flush, bool isLast);
    void passFullPiece();

    ByteSink &m_sink;
    std::unique_ptr<isal_zstream> m_stream;
    std::vector<std::uint8_t> m_tokens; // the compressor's own
    std::vector<unsigned char> m_piece;
    std::size_t m_filled = 0; // of the piece
    Packing m_packing {Packing::Matches, false};
    std::size_t m_segmentBytes = 0; // since the compressor was started
    std::uint32_t m_checksum = 1;
};

// Tells how many bytes samples would be packed into.
class PackingEstimate
{
public:
    PackingEstimate();

    std::size_t packedBytes(const std::vector<unsigned char> &sample, Packing packing);

private:
    std::unique_ptr<isal_zstream> m_stream;
    std::vector<std::uint8_t> m_tokens;
    std::vector<unsigned char> m_packed;
};

// Bytes that a stream and an estimate take together, with samples of so many bytes.
std::size_t deflateMemory(std::size_t sampleBytes);

} // namespace photo
