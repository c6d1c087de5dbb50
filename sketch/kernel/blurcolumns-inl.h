// The pass of the blur down the columns, for the instruction set that is being
// compiled: included once for each.

#if defined(CRAYVELL_BLURCOLUMNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CRAYVELL_BLURCOLUMNS_INL_H
#undef CRAYVELL_BLURCOLUMNS_INL_H
#else
#define CRAYVELL_BLURCOLUMNS_INL_H
#endif

#include <cstring>

#include "sketch/kernel/blurrows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

// Machines without any of the vector instruction sets below.

void blurColumns(BlurredRows &rows, int y, const BlurPlan &plan, std::size_t width, uint8_t *pixels)
{
    exactColumns(rows, y, plan, width, pixels);
}

#else

HWY_INLINE VWords stepped(VWords level, const BlurStep &step)
{
    const VWords product = hn::Add(level, hn::MulHigh(level, hn::Set(Words(), step.factor)));
    return hn::ShiftRightSame(product, step.shift);
}

struct ColumnLevels
{
    VWords first;
    VWords last;
    VWords green;
};

// above and below: pointers to the rows, by their distance from the centre.
HWY_INLINE ColumnLevels columnSums(const uint16_t *const *above, const uint16_t *const *below,
                                   const std::vector<BlurStep> &steps, std::size_t at)
{
    const Words d;
    const std::size_t lanes = hn::Lanes(d);
    const uint16_t *const centre = above[0] + at;
    ColumnLevels sum {stepped(hn::Load(d, centre), steps[0]),
                      stepped(hn::Load(d, centre + lanes), steps[0]),
                      stepped(hn::Load(d, centre + 2 * lanes), steps[0])};
    for (std::size_t j = 1; j < steps.size(); ++j) {
        const auto pair = [&](std::size_t i) HWY_ATTR {
            return hn::Add(hn::Load(d, above[j] + at + i), hn::Load(d, below[j] + at + i));
        };
        sum.first = hn::Add(sum.first, stepped(pair(0), steps[j]));
        sum.last = hn::Add(sum.last, stepped(pair(lanes), steps[j]));
        sum.green = hn::Add(sum.green, stepped(pair(2 * lanes), steps[j]));
    }
    return sum;
}

// Puts the low bytes of the levels into two vectors of pixels.
HWY_INLINE void storeColours(const ColumnLevels &sum, uint32_t *pixels)
{
    const Longs d;
    const VLongs blueRed = hn::Set(d, 0x00ff00ff);
    const VLongs green = hn::Set(d, 0xff00);
    const VLongs alpha = hn::Set(d, 0xff000000U);
    const VLongs greens = hn::BitCast(d, sum.green);
    const VLongs first = hn::Or(hn::And(hn::BitCast(d, sum.first), blueRed),
                                hn::And(hn::ShiftLeft<8>(greens), green));
    const VLongs last = hn::Or(hn::And(hn::BitCast(d, sum.last), blueRed),
                               hn::And(hn::ShiftRight<8>(greens), green));
    const std::size_t lanes = hn::Lanes(d);
    hn::StoreU(hn::Or(first, hn::And(hn::LoadU(d, pixels), alpha)), d, pixels);
    hn::StoreU(hn::Or(last, hn::And(hn::LoadU(d, pixels + lanes), alpha)), d, pixels + lanes);
}

HWY_INLINE void blurColumns(BlurredRows &rows, int y, const BlurPlan &plan, std::size_t width,
                            uint8_t *pixels)
{
    if (plan.steps.empty())
        return exactColumns(rows, y, plan, width, pixels);
    std::vector<const uint16_t *> above;
    std::vector<const uint16_t *> below;
    for (int j = 0; j <= plan.reach(); ++j) {
        above.push_back(rows.row(y - j));
        below.push_back(rows.row(y + j));
    }
    const std::size_t block = 2 * hn::Lanes(Longs()); // pixels
    std::size_t x = 0;
    for (; x + block <= width; x += block) {
        const ColumnLevels sum = columnSums(above.data(), below.data(), plan.steps, 3 * x);
        storeColours(sum, reinterpret_cast<uint32_t *>(pixels) + x);
    }
    if (x < width) {
        HWY_ALIGN uint32_t rest[2 * HWY_MAX_BYTES / sizeof(uint32_t)] = {};
        std::memcpy(rest, pixels + bytesPerPixel * x, bytesPerPixel * (width - x));
        storeColours(columnSums(above.data(), below.data(), plan.steps, 3 * x), rest);
        std::memcpy(pixels + bytesPerPixel * x, rest, bytesPerPixel * (width - x));
    }
}

#endif // HWY_TARGET

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#endif // CRAYVELL_BLURCOLUMNS_INL_H
