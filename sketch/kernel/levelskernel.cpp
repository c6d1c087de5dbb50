// Rendering a sketch from its edges, compiled once for every instruction set
// that the machine may have and chosen when the program runs.

#include "sketch/kernel/levelskernel.h"

#include <algorithm>
#include <array>

#include "sketch/kernel/levelscurve.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sketch/kernel/levelskernel.cpp"
#include <hwy/foreach_target.h> // must come before highway.h

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "sketch/kernel/dispatch.h"

#ifndef CRAYVELL_LEVELSKERNEL_ONCE
#define CRAYVELL_LEVELSKERNEL_ONCE

namespace sketch {

// From this size on a picture leaves no room in the caches for anything else,
// and what is written to it is read back from memory in any case.
constexpr std::ptrdiff_t streamedSize = 8'000'000; // bytes

// The grey level as a linear function of the edge value, to be clamped to 0 to
// 255 and rounded to the nearest integer.
struct Stretch
{
    float slope;
    float offset;
};

inline Stretch stretchOf(int low, int high)
{
    // One level above the white level jumps from below black to white.
    if (high <= low)
        return {-510.0F, 510.0F * static_cast<float>(255 - high) - 255.0F};
    const auto range = static_cast<float>(high - low);
    return {-255.0F / range, (255.0F * static_cast<float>(255 - low) + 0.5F) / range - 0.5F};
}

struct Levels
{
    Levels(int low, int high)
        : stretch(stretchOf(low, high))
    {
        for (int edge = 0; edge < 256; ++edge)
            table[edge] = 0xff000000U + 0x00010101U * stretchedLevel(white - edge, low, high);
    }

    std::array<uint32_t, 256> table; // indexed by the edge value
    Stretch stretch; // gives the same
};

inline void renderWithTable(const uint8_t *edges, std::size_t width, const Levels &levels,
                            uint8_t *pixels)
{
    auto *line = reinterpret_cast<uint32_t *>(pixels);
    for (std::size_t x = 0; x < width; ++x)
        line[x] = levels.table[edges[x]];
}

} // namespace sketch

#endif // CRAYVELL_LEVELSKERNEL_ONCE

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void renderRow(const uint8_t *edges, std::size_t width, const Levels &levels, bool, uint8_t *pixels)
{
    renderWithTable(edges, width, levels, pixels);
}

#else

using Bytes = hn::ScalableTag<uint8_t>;
using Pixels = hn::Repartition<uint32_t, Bytes>;
using VPixels = hn::Vec<Pixels>;

// A vector of pixels for as many edges. The stretched level is exact although it
// is a product and not the quotient (value - low) * 255 div (high - low): half
// a unit is added to the dividend, which keeps the result further from where it
// is rounded up than single precision errs. The rounding is the addition of a
// number whose last place is worth one: a conversion would guard against values
// that do not occur here.
HWY_INLINE VPixels stretchedPixels(const uint8_t *edges, const Stretch &stretch)
{
    alignas(16) static constexpr uint8_t threeTimes[16] = {0, 0, 0, 3,  4,  4,  4,  7,
                                                           8, 8, 8, 11, 12, 12, 12, 15};
    const Bytes d;
    const Pixels d32;
    const hn::RebindToSigned<Pixels> i;
    const hn::RebindToFloat<Pixels> f;
    const auto edge =
        hn::ConvertTo(f, hn::PromoteTo(i, hn::LoadU(hn::Rebind<uint8_t, Pixels>(), edges)));
    const auto level =
        hn::Add(hn::Mul(edge, hn::Set(f, stretch.slope)), hn::Set(f, stretch.offset));
    const auto clamped = hn::Min(hn::Max(level, hn::Zero(f)), hn::Set(f, 255.0F));
    const auto bytes = hn::BitCast(d, hn::Add(clamped, hn::Set(f, 0x1p23F)));
    const auto grey = hn::TableLookupBytes(bytes, hn::LoadDup128(d, threeTimes));
    return hn::Or(hn::BitCast(d32, grey), hn::Set(d32, 0xff000000U));
}

// Pixels up to the first that a whole vector may be streamed to.
HWY_INLINE std::size_t unalignedPixels(const uint8_t *pixels, std::size_t width)
{
    const std::size_t vector = hn::Lanes(Bytes());
    const std::size_t beyond = reinterpret_cast<std::uintptr_t>(pixels) % vector;
    return std::min(width, (vector - beyond) % vector / 4);
}

// stream: past the cache, for a picture that is larger.
HWY_INLINE void renderRow(const uint8_t *edges, std::size_t width, const Levels &levels,
                          bool stream, uint8_t *pixels)
{
    const Pixels d32;
    constexpr std::size_t ahead = 2048; // bytes
    std::size_t x = unalignedPixels(pixels, width);
    renderWithTable(edges, x, levels, pixels);
    for (; x + hn::Lanes(d32) <= width; x += hn::Lanes(d32)) {
        hwy::Prefetch(edges + x + ahead);
        auto *target = reinterpret_cast<uint32_t *>(pixels) + x;
        const VPixels greys = stretchedPixels(edges + x, levels.stretch);
        if (stream)
            hn::Stream(greys, d32, target);
        else
            hn::StoreU(greys, d32, target);
    }
    renderWithTable(edges + x, width - x, levels, pixels + 4 * x);
}

#endif // HWY_TARGET

void renderRows(const uint8_t *edges, const Levels &levels, const ImageView &paper)
{
    const auto width = static_cast<std::size_t>(paper.width);
    const bool stream = paper.stride * paper.height > streamedSize;
    for (int y = 0; y < paper.height; ++y) {
        renderRow(edges + static_cast<std::size_t>(y) * width, width, levels, stream,
                  paper.pixels + y * paper.stride);
    }
    hwy::FlushStream();
}

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace sketch {

void levelsKernel(const uint8_t *edges, int low, int high, const ImageView &paper)
{
    SKETCH_DISPATCH(renderRows)(edges, Levels(low, high), paper);
}

} // namespace sketch
#endif
