#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sketch/kernel/gaussianblurplan.h"

// What the two passes of the blur share, for all instruction sets.

namespace sketch {

constexpr int bytesPerPixel = 4;
constexpr int levelShift = 6; // of the levels in blurred rows

// A row of pixels taken apart without moving anything between lanes: blue in
// the low and red in the high half of one word, green in the low half of another.
// May be read a few vectors beyond its end.
struct SplitRow
{
    static constexpr std::size_t slack = 256;

    explicit SplitRow(std::size_t width)
        : blueRed(width + slack)
        , green(width + slack)
    {
    }
    // shift: 0 for blue and green, 16 for red
    static int level(const uint32_t *words, int shift) { return (*words >> shift) & 0xff; }

    std::vector<uint32_t> blueRed;
    std::vector<uint32_t> green;
};

// The last horizontally blurred rows. A block of 2 x lanes pixels, starting with
// the first that is not border, is three vectors of 16-bit levels: blue and red
// of its first pixels by turns, those of the last, and green of the first and
// the last by turns. Levels are shifted left by levelShift.
class BlurredRows
{
public:
    BlurredRows(std::size_t width, int count, std::size_t lanes)
        : m_lanes(lanes)
        , m_count(count)
        , m_pitch((width + 2 * lanes - 1) / (2 * lanes) * 6 * lanes)
        , m_levels(m_pitch * static_cast<std::size_t>(count) + alignment)
    {
        const auto start = reinterpret_cast<std::uintptr_t>(m_levels.data()) / sizeof(uint16_t);
        m_first = m_levels.data() + (alignment - start % alignment) % alignment;
    }
    uint16_t *row(int y) { return m_first + static_cast<std::size_t>(y % m_count) * m_pitch; }

    // channel: 0 blue, 1 green, 2 red
    uint16_t &level(int y, std::size_t x, int channel)
    {
        uint16_t *block = row(y) + x / (2 * m_lanes) * 6 * m_lanes;
        const std::size_t i = x % (2 * m_lanes);
        if (channel == 1)
            return block[4 * m_lanes + 2 * (i % m_lanes) + i / m_lanes];
        return block[2 * i + channel / 2];
    }

private:
    static constexpr std::size_t alignment = 32; // levels: a cache line

    std::size_t m_lanes;
    int m_count;
    std::size_t m_pitch;
    std::vector<uint16_t> m_levels;
    uint16_t *m_first;
};

// The columns of one row of the destination, for plans without steps. width:
// without the border, where pixels starts as well.
inline void exactColumns(BlurredRows &rows, int y, const BlurPlan &plan, std::size_t width,
                         uint8_t *pixels)
{
    for (std::size_t x = 0; x < width; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
            pixels[bytesPerPixel * x + channel] = steppedLevel(plan.weights, [&](int offset) {
                return rows.level(y + offset, x, channel) >> levelShift;
            });
        }
    }
}

} // namespace sketch
