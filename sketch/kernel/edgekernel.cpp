// The edge kernel, compiled once for every instruction set that the machine may
// have and chosen when the program runs. All of it is exact: see the notes on
// the luminance and on the division.

#include "sketch/kernel/edgekernel.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sketch/kernel/edgekernel.cpp"
#include <hwy/foreach_target.h> // must come before highway.h

#include <hwy/highway.h>

#include "sketch/kernel/dispatch.h"

#include "sketch/kernel/bytevectors-inl.h"
#include "sketch/kernel/edgeworkspace.h"
#include "sketch/kernel/luminance-inl.h"

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

constexpr int bandHeight = 32; // rows between two reports of progress

#if HWY_TARGET == HWY_SCALAR

// Machines without any of the vector instruction sets below.

void columnMaxima(EdgeWorkspace &space, int centre, std::size_t width)
{
    std::fill_n(space.columnMaximum(), width, uint8_t(0));
    for (int y = centre - radius; y <= centre + radius; ++y) {
        const uint8_t *row = space.luminance(y);
        std::transform(row, row + width, space.columnMaximum(), space.columnMaximum(),
                       [](uint8_t a, uint8_t b) { return std::max(a, b); });
    }
}

void edgeRow(EdgeWorkspace &space, int centre, const PixelRow &, std::size_t width, uint8_t *edges)
{
    const uint8_t *luminance = space.luminance(centre);
    const uint8_t *columnMaximum = space.columnMaximum();
    std::fill_n(edges, width, uint8_t(0));
    for (std::size_t x = radius; x < width - radius; ++x) {
        const int brightest = *std::max_element(columnMaximum + x - 2, columnMaximum + x + 3);
        const int quotient = 65025 * luminance[x] / std::max(brightest, 1);
        if (luminance[x] < brightest)
            edges[x] = static_cast<uint8_t>(255 - ((quotient + (quotient >> 8) + 128) >> 8));
    }
}

#else

// The maximum of five rows, for every column.
HWY_INLINE void columnMaxima(EdgeWorkspace &space, int centre, std::size_t width)
{
    const Bytes d;
    const uint8_t *rows[taps];
    for (int i = 0; i < taps; ++i)
        rows[i] = space.luminance(centre - radius + i);
    uint8_t *maximum = space.columnMaximum();
    for (std::size_t x = 0; x < width; x += hn::Lanes(d)) {
        const VBytes outer = hn::Max(hn::LoadU(d, rows[0] + x), hn::LoadU(d, rows[4] + x));
        const VBytes inner = hn::Max(hn::LoadU(d, rows[1] + x), hn::LoadU(d, rows[3] + x));
        hn::StoreU(hn::Max(hn::Max(outer, inner), hn::LoadU(d, rows[2] + x)), d, maximum + x);
    }
}

HWY_INLINE VBytes neighbourhoodMaximum(const uint8_t *columnMaximum)
{
    const Bytes d;
    const VBytes outer = hn::Max(hn::LoadU(d, columnMaximum - 2), hn::LoadU(d, columnMaximum + 2));
    const VBytes inner = hn::Max(hn::LoadU(d, columnMaximum - 1), hn::LoadU(d, columnMaximum + 1));
    return hn::Max(hn::Max(outer, inner), hn::LoadU(d, columnMaximum));
}

// The level that dodging gives is (x + (x >> 8) + 128) >> 8 of the integer quotient
// x = 65025 level div brightest. In terms of q = 255 level / brightest, it is the
// next whole number t where q falls short of it by at most 127/255, or by 126/255
// where t is 130 or more, and else the whole number below.
//
// Here 256 q is rounded to an integer by the addition of a number whose last place
// is worth 1/256. With 127 more, the high byte of the lowest 16 bits is the level
// for t below 130. For the others the 16 bits have to be one less, which is the
// work of dodgedLevels(): with 512 less, the highest of them is set just there, and
// for t below 2, where no q lies between the two bounds. Nor does any q come so
// near to its bound that the errors of single precision matter.
//
// Both operands may be multiplied by the same power of two.
HWY_INLINE VLongs dodgeQuotient(VLongs level, VLongs brightest)
{
    const Floats f;
    const hn::RebindToSigned<Longs> i;
    constexpr float lastPlace = 1.0F / 256.0F;
    const auto rounding = hn::Set(f, 49152.0F + (127.0F - 512.0F) * lastPlace);
    const auto dividend = hn::Mul(hn::ConvertTo(f, hn::BitCast(i, level)), hn::Set(f, 255.0F));
    const auto divisor = hn::ConvertTo(f, hn::BitCast(i, brightest));
    return hn::BitCast(Longs(), hn::Add(hn::Div(dividend, divisor), rounding));
}

// The lowest 16 bits of two vectors of quotients, as even and odd words whose high
// bytes are the levels, less two.
HWY_INLINE VWords dodgedLevels(VLongs even, VLongs odd)
{
    const Words d;
    const VWords quotients =
        hn::OddEven(hn::BitCast(d, hn::ShiftLeft<16>(odd)), hn::BitCast(d, even));
    return hn::Sub(quotients, hn::ShiftRight<15>(quotients));
}

// 255 minus the dodged level d * 255 / (255 - s), for a pixel of level d whose
// eroded negative is s = 255 - brightest.
HWY_INLINE VBytes dodgedEdges(VBytes level, VBytes brightest)
{
    const Bytes d;
    const Longs d32;
    const VLongs l = hn::BitCast(d32, level);
    const VLongs m = hn::BitCast(d32, brightest);
    const auto quotient = [=](uint32_t byte) HWY_ATTR {
        return dodgeQuotient(hn::And(l, hn::Set(d32, byte)), hn::And(m, hn::Set(d32, byte)));
    };
    const VLongs x0 = quotient(0x0000ff);
    const VLongs x1 = quotient(0x00ff00);
    const VLongs x2 = quotient(0xff0000);
    const VLongs x3 = dodgeQuotient(hn::ShiftRight<24>(l), hn::ShiftRight<24>(m));
    const VWords even = hn::ShiftRight<8>(dodgedLevels(x0, x2));
    const VWords odd = hn::AndNot(hn::Set(Words(), 0x00ff), dodgedLevels(x1, x3));
    const VBytes dodged = hn::BitCast(d, hn::Or(even, odd));
    // In an all-black neighbourhood the division was void: white paper.
    return hn::IfThenZeroElse(hn::Eq(brightest, hn::Zero(d)), hn::Sub(hn::Set(d, 255 - 2), dodged));
}

HWY_INLINE void edgeRow(EdgeWorkspace &space, int centre, const PixelRow &row, std::size_t width,
                        uint8_t *edges)
{
    const Bytes d;
    const std::size_t lanes = hn::Lanes(d);
    const uint8_t *luminance = space.luminance(centre);
    const uint8_t *columnMaximum = space.columnMaximum();
    const auto vector = [&](std::size_t x) HWY_ATTR {
        return dodgedEdges(hn::LoadU(d, luminance + x), neighbourhoodMaximum(columnMaximum + x));
    };
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        prefetchHalf(row.next + 4 * x + 64);
        hn::StoreU(vector(x), d, edges + x);
    }
    if (x < width) {
        HWY_ALIGN uint8_t rest[HWY_MAX_BYTES];
        hn::Store(vector(x), d, rest);
        std::memcpy(edges + x, rest, width - x);
    }
    std::fill_n(edges, radius, uint8_t(0));
    std::fill_n(edges + width - radius, radius, uint8_t(0));
}

#endif // HWY_TARGET

void edgeRows(const ConstImageView &photo, uint8_t *edges, const RowsDone &rowsDone)
{
    const auto width = static_cast<std::size_t>(photo.width);
    const auto pixelLine = [&](int y) { return photo.pixels + y * photo.stride; };
    const auto edgeLine = [&](int y) { return edges + static_cast<std::size_t>(y) * width; };
    EdgeWorkspace space(width);
    std::fill_n(edges, radius * width, uint8_t(0));
    for (int y = 0; y < photo.height; ++y) {
        const PixelRow row {pixelLine(y), pixelLine(std::min(y + 1, photo.height - 1))};
        luminanceRow(row, width, space, space.luminance(y));
        const int centre = y - radius;
        if (centre < radius)
            continue;
        columnMaxima(space, centre, width);
        edgeRow(space, centre, row, width, edgeLine(centre));
        if (centre % bandHeight == 0)
            rowsDone(centre + 1);
    }
    std::fill_n(edgeLine(photo.height - radius), radius * width, uint8_t(0));
    rowsDone(photo.height);
}

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace sketch {

void edgeKernel(const ConstImageView &photo, uint8_t *edges, const RowsDone &rowsDone)
{
    if (photo.width < taps || photo.height < taps) {
        std::fill_n(edges, static_cast<std::size_t>(photo.width) * photo.height, uint8_t(0));
        rowsDone(photo.height);
        return;
    }
    SKETCH_DISPATCH(edgeRows)(photo, edges, rowsDone);
}

} // namespace sketch
#endif
