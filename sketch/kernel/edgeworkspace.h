#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

// What the kernels for all instruction sets share.

namespace sketch {

constexpr int radius = 2; // of the 5x5 neighbourhood
constexpr int taps = 2 * radius + 1;

// (red * 0.3 + green * 0.59) + blue * 0.11, every product and sum rounded.
inline uint8_t exactLuminance(int red, int green, int blue)
{
    return static_cast<uint8_t>((red * 0.3 + green * 0.59) + blue * 0.11);
}

// Which greys (v, v, v) have luminance v - 1: bit (v / 16) % 8 of byte v % 16 for
// the dark half of the greys, of byte 16 + v % 16 for the light one.
inline std::array<uint8_t, 32> lossyGreys()
{
    std::array<uint8_t, 32> bits {};
    for (int v = 0; v < 256; ++v) {
        if (exactLuminance(v, v, v) != v)
            bits[v / 128 * 16 + v % 16] |= static_cast<uint8_t>(1 << (v / 16 % 8));
    }
    return bits;
}

// The luminance of the last five rows and what one row needs besides, for
// pictures of any width. Rows begin where a vector may, and may be read and
// written a vector beyond their ends on both sides.
class EdgeWorkspace
{
public:
    static constexpr std::size_t slack = 128;

    explicit EdgeWorkspace(std::size_t width)
        : doubtful(width / 64 + slack / 8)
        , positions(width + slack)
        , m_pitch((width / slack + 3) * slack)
        , m_bytes(new (std::align_val_t(slack)) uint8_t[(taps + 1) * m_pitch])
    {
        // The slack is read, though what it gives is thrown away.
        std::fill_n(m_bytes.get(), (taps + 1) * m_pitch, uint8_t(0));
    }
    uint8_t *luminance(int y) { return row(y % taps); }
    uint8_t *columnMaximum() { return row(taps); }

    // One bit a pixel: where only the double sum can tell the luminance.
    std::vector<uint64_t> doubtful;
    std::vector<uint32_t> positions; // of these pixels
    const std::array<uint8_t, 32> lossy = lossyGreys();

private:
    struct AlignedDelete
    {
        void operator()(uint8_t *bytes) const { operator delete[](bytes, std::align_val_t(slack)); }
    };

    uint8_t *row(int index)
    {
        return m_bytes.get() + static_cast<std::size_t>(index) * m_pitch + slack;
    }

    std::size_t m_pitch;
    std::unique_ptr<uint8_t[], AlignedDelete> m_bytes;
};

// A row of the photo, and the row that will be read after it.
struct PixelRow
{
    const uint8_t *pixels;
    const uint8_t *next;
};

} // namespace sketch
