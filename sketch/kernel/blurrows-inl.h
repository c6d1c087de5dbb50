// The pass of the blur along the rows, for the instruction set that is being
// compiled: included once for each.

#if defined(CRAYVELL_BLURROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CRAYVELL_BLURROWS_INL_H
#undef CRAYVELL_BLURROWS_INL_H
#else
#define CRAYVELL_BLURROWS_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "sketch/kernel/blurworkspace.h"

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

// Machines without any of the vector instruction sets below.

std::size_t lanesOfARow()
{
    return 1;
}

void blurRow(const uint8_t *pixels, std::size_t width, const BlurPlan &plan, SplitRow &, int y,
             BlurredRows &rows)
{
    const auto half = static_cast<std::size_t>(plan.half);
    for (std::size_t x = half; x < width - half; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
            const uint8_t *centre = pixels + bytesPerPixel * x + channel;
            const uint8_t level = weightedLevel(
                plan.weights, [=](int offset) { return int(centre[bytesPerPixel * offset]); });
            rows.level(y, x - half, channel) = static_cast<uint16_t>(level << levelShift);
        }
    }
}

#else

using Longs = hn::ScalableTag<uint32_t>;
using Ints = hn::RebindToSigned<Longs>;
using Words = hn::Repartition<uint16_t, Longs>;
using Bytes = hn::Repartition<uint8_t, Longs>;
using VLongs = hn::Vec<Longs>;
using VWords = hn::Vec<Words>;
using VBytes = hn::Vec<Bytes>;
using DoubtMask = hn::Mask<Ints>;

std::size_t lanesOfARow()
{
    return hn::Lanes(Longs());
}

HWY_INLINE void splitRow(const uint8_t *pixels, std::size_t width, SplitRow &row)
{
    const Longs d;
    constexpr std::size_t ahead = 2048; // bytes; the next row's start at a row's end
    const auto *source = reinterpret_cast<const uint32_t *>(pixels);
    std::size_t x = 0;
    for (; x + hn::Lanes(d) <= width; x += hn::Lanes(d)) {
        hwy::Prefetch(pixels + bytesPerPixel * x + ahead);
        const VLongs pixel = hn::LoadU(d, source + x);
        hn::StoreU(hn::And(pixel, hn::Set(d, 0x00ff00ff)), d, row.blueRed.data() + x);
        hn::StoreU(hn::And(hn::ShiftRight<8>(pixel), hn::Set(d, 0xff)), d, row.green.data() + x);
    }
    for (; x < width; ++x) {
        row.blueRed[x] = source[x] & 0x00ff00ff;
        row.green[x] = (source[x] >> 8) & 0xff;
    }
}

// The weighted sums of a vector of pixels in fixed point.
struct Sums
{
    VLongs blue;
    VLongs green;
    VLongs red;
};

HWY_INLINE Sums products(VLongs blueRed, VLongs green, VLongs weight)
{
    return {hn::Mul(hn::And(blueRed, hn::Set(Longs(), 0xffff)), weight), hn::Mul(green, weight),
            hn::Mul(hn::ShiftRight<16>(blueRed), weight)};
}

HWY_INLINE void add(Sums &sums, const Sums &more)
{
    sums.blue = hn::Add(sums.blue, more.blue);
    sums.green = hn::Add(sums.green, more.green);
    sums.red = hn::Add(sums.red, more.red);
}

HWY_INLINE VLongs pairs(const uint32_t *words, std::ptrdiff_t offset)
{
    const Longs d;
    return hn::Add(hn::LoadU(d, words + offset), hn::LoadU(d, words - offset));
}

HWY_INLINE VLongs fraction(VLongs sum)
{
    return hn::And(sum, hn::Set(Longs(), (1U << BlurPlan::fractionBits) - 1));
}

HWY_INLINE DoubtMask isBelow(VLongs small, uint32_t limit)
{
    const Ints d;
    return hn::Lt(hn::BitCast(d, small), hn::Set(d, static_cast<int32_t>(limit)));
}

HWY_INLINE VLongs smallestFraction(const Sums &sums)
{
    return hn::Min(fraction(sums.blue), hn::Min(fraction(sums.green), fraction(sums.red)));
}

// Levels from sums, in their places in the halves of a word.
HWY_INLINE VLongs lowLevel(VLongs sum)
{
    constexpr int toLowHalf = BlurPlan::fractionBits - levelShift;
    return hn::And(hn::ShiftRight<toLowHalf>(sum), hn::Set(Longs(), 0xffU << levelShift));
}

HWY_INLINE VLongs highLevel(VLongs sum)
{
    constexpr int toHighHalf = BlurPlan::fractionBits - levelShift - 16;
    return hn::And(hn::ShiftRight<toHighHalf>(sum), hn::Set(Longs(), 0xffU << (levelShift + 16)));
}

struct RowLevels
{
    VLongs blueRed;
    VLongs green; // in the low half
};

HWY_INLINE RowLevels levelsOf(const Sums &sums)
{
    return {hn::Or(lowLevel(sums.blue), highLevel(sums.red)), lowLevel(sums.green)};
}

// All ones in the bytes whose level loses one in a flat area.
HWY_INLINE VBytes lossyBytes(VBytes level, const uint8_t *lossy)
{
    alignas(16) static constexpr uint8_t powers[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                       1, 2, 4, 8, 16, 32, 64, 128};
    const Bytes d;
    const VBytes index =
        hn::And(hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(Words(), level))), hn::Set(d, 15));
    const VBytes dark = hn::TableLookupBytes(hn::LoadDup128(d, lossy), index);
    const VBytes light = hn::TableLookupBytes(hn::LoadDup128(d, lossy + 16), index);
    const VBytes bits = hn::IfThenElse(hn::Lt(level, hn::Set(d, 128)), dark, light);
    const VBytes bit =
        hn::TableLookupBytes(hn::LoadDup128(d, powers), hn::And(level, hn::Set(d, 7)));
    return hn::VecFromMask(d, hn::TestBit(bits, bit));
}

// Zero in the halves of a word where all pairs are twice the centre.
HWY_INLINE VLongs unevenness(const uint32_t *words, int reach)
{
    const Longs d;
    const VLongs twice = hn::ShiftLeft<1>(hn::LoadU(d, words));
    VLongs uneven = hn::Zero(d);
    for (int j = 1; j <= reach; ++j)
        uneven = hn::Or(uneven, hn::Xor(pairs(words, j), twice));
    return uneven;
}

HWY_INLINE VWords isEven(VLongs unevenHalves)
{
    const Words d;
    return hn::VecFromMask(d, hn::Eq(hn::BitCast(d, unevenHalves), hn::Zero(d)));
}

// One level less where the area is flat and the level lossy.
HWY_INLINE void settleFlat(const uint32_t *blueRed, const uint32_t *green, const BlurPlan &plan,
                           VWords evenBlueRed, VWords evenGreen, RowLevels &levels)
{
    const Longs d;
    const VLongs one = hn::Set(d, 0x00010001U << levelShift);
    const VLongs centre = hn::Or(hn::LoadU(d, blueRed), hn::ShiftLeft<8>(hn::LoadU(d, green)));
    const VLongs lossy =
        hn::BitCast(d, lossyBytes(hn::BitCast(Bytes(), centre), plan.lossy.data()));
    const VLongs fewer = hn::And(hn::And(lossy, one), hn::BitCast(d, evenBlueRed));
    const VLongs fewerGreen = hn::And(hn::And(hn::ShiftRight<8>(lossy), hn::BitCast(d, evenGreen)),
                                      hn::Set(d, 1U << levelShift));
    levels.blueRed = hn::Sub(levels.blueRed, fewer);
    levels.green = hn::Sub(levels.green, fewerGreen);
}

// Where the sum is doubtful by chance the doubles decide. shift: of the level in
// its word, for source and result.
HWY_INLINE VLongs settleChance(const uint32_t *words, int shift, const BlurPlan &plan,
                               DoubtMask doubt, VLongs levels)
{
    const Longs d;
    if (hn::AllFalse(Ints(), doubt))
        return levels;
    HWY_ALIGN uint32_t result[HWY_MAX_BYTES / sizeof(uint32_t)];
    HWY_ALIGN int32_t doubtful[HWY_MAX_BYTES / sizeof(uint32_t)];
    hn::Store(levels, d, result);
    hn::Store(hn::VecFromMask(Ints(), doubt), Ints(), doubtful);
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) {
        if (doubtful[i] == 0)
            continue;
        const uint32_t level = weightedLevel(
            plan.weights, [&](int offset) { return SplitRow::level(words + i + offset, shift); });
        result[i] = (result[i] & ~(0xffffU << shift)) | level << (levelShift + shift);
    }
    return hn::Load(d, result);
}

// Sees to a vector in which a fraction is so small that the integer part may be
// one too large.
HWY_INLINE void settle(const uint32_t *blueRed, const uint32_t *green, const BlurPlan &plan,
                       const Sums &sums, RowLevels &levels)
{
    const Longs d;
    const Ints i;
    const int reach = static_cast<int>(plan.weights.size()) - 1;
    const VLongs unevenBlueRed = unevenness(blueRed, reach);
    const VLongs unevenGreen = unevenness(green, reach);
    settleFlat(blueRed, green, plan, isEven(unevenBlueRed), isEven(unevenGreen), levels);
    const auto doubt = [&](VLongs sum, VLongs uneven) HWY_ATTR {
        return hn::And(isBelow(fraction(sum), plan.doubtful),
                       hn::Ne(hn::BitCast(i, uneven), hn::Zero(i)));
    };
    const VLongs low = hn::Set(d, 0xffff);
    const DoubtMask blue = doubt(sums.blue, hn::And(unevenBlueRed, low));
    const DoubtMask red = doubt(sums.red, hn::AndNot(low, unevenBlueRed));
    levels.blueRed = settleChance(blueRed, 0, plan, blue, levels.blueRed);
    levels.blueRed = settleChance(blueRed, 16, plan, red, levels.blueRed);
    levels.green = settleChance(green, 0, plan, doubt(sums.green, unevenGreen), levels.green);
}

// Two vectors of pixels make a block of three vectors of levels.
HWY_INLINE void blurBlock(const uint32_t *blueRed, const uint32_t *green, const BlurPlan &plan,
                          uint16_t *block)
{
    const Longs d;
    const Words d16;
    const std::size_t lanes = hn::Lanes(d);
    const VLongs middle = hn::Set(d, plan.fixedWeights[0]);
    Sums first = products(hn::LoadU(d, blueRed), hn::LoadU(d, green), middle);
    Sums last = products(hn::LoadU(d, blueRed + lanes), hn::LoadU(d, green + lanes), middle);
    const auto count = static_cast<std::ptrdiff_t>(plan.fixedWeights.size());
    for (std::ptrdiff_t j = 1; j < count; ++j) {
        const VLongs weight = hn::Set(d, plan.fixedWeights[j]);
        add(first, products(pairs(blueRed, j), pairs(green, j), weight));
        add(last, products(pairs(blueRed + lanes, j), pairs(green + lanes, j), weight));
    }
    RowLevels a = levelsOf(first);
    RowLevels b = levelsOf(last);
    const VLongs smallest = hn::Min(smallestFraction(first), smallestFraction(last));
    if (!hn::AllFalse(Ints(), isBelow(smallest, plan.doubtful))) {
        settle(blueRed, green, plan, first, a);
        settle(blueRed + lanes, green + lanes, plan, last, b);
    }
    hn::Store(hn::BitCast(d16, a.blueRed), d16, block);
    hn::Store(hn::BitCast(d16, b.blueRed), d16, block + 2 * lanes);
    hn::Store(hn::BitCast(d16, hn::Or(a.green, hn::ShiftLeft<16>(b.green))), d16,
              block + 4 * lanes);
}

HWY_INLINE void blurRow(const uint8_t *pixels, std::size_t width, const BlurPlan &plan,
                        SplitRow &split, int y, BlurredRows &rows)
{
    splitRow(pixels, width, split);
    const std::size_t lanes = hn::Lanes(Longs());
    const std::size_t end = width - static_cast<std::size_t>(plan.half);
    uint16_t *block = rows.row(y);
    for (std::size_t x = plan.half; x < end; x += 2 * lanes, block += 6 * lanes)
        blurBlock(split.blueRed.data() + x, split.green.data() + x, plan, block);
}

#endif // HWY_TARGET

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#endif // CRAYVELL_BLURROWS_INL_H
