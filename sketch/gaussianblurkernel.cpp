// The blur, compiled once for every instruction set that the machine may have
// and chosen when the program runs. Exact: see BlurPlan.

#include "sketch/gaussianblurkernel.h"

#include <cstring>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sketch/gaussianblurkernel.cpp"
#include <hwy/foreach_target.h> // must come before highway.h

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#ifndef CRAYVELL_GAUSSIANBLURKERNEL_ONCE
#define CRAYVELL_GAUSSIANBLURKERNEL_ONCE

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
    static int level(const quint32 *words, int shift) { return (*words >> shift) & 0xff; }

    std::vector<quint32> blueRed;
    std::vector<quint32> green;
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
        const auto start = reinterpret_cast<std::uintptr_t>(m_levels.data()) / sizeof(quint16);
        m_first = m_levels.data() + (alignment - start % alignment) % alignment;
    }
    quint16 *row(int y) { return m_first + static_cast<std::size_t>(y % m_count) * m_pitch; }

    // channel: 0 blue, 1 green, 2 red
    quint16 &level(int y, std::size_t x, int channel)
    {
        quint16 *block = row(y) + x / (2 * m_lanes) * 6 * m_lanes;
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
    std::vector<quint16> m_levels;
    quint16 *m_first;
};

// The columns of one row of the destination, for plans without steps. width:
// without the border, where pixels starts as well.
inline void exactColumns(BlurredRows &rows, int y, const BlurPlan &plan, std::size_t width,
                         uchar *pixels)
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

#endif // CRAYVELL_GAUSSIANBLURKERNEL_ONCE

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

void blurRow(const uchar *pixels, std::size_t width, const BlurPlan &plan, SplitRow &, int y,
             BlurredRows &rows)
{
    const auto half = static_cast<std::size_t>(plan.half);
    for (std::size_t x = half; x < width - half; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
            const uchar *centre = pixels + bytesPerPixel * x + channel;
            const uchar level = weightedLevel(
                plan.weights, [=](int offset) { return int(centre[bytesPerPixel * offset]); });
            rows.level(y, x - half, channel) = static_cast<quint16>(level << levelShift);
        }
    }
}

void blurColumns(BlurredRows &rows, int y, const BlurPlan &plan, std::size_t width, uchar *pixels)
{
    exactColumns(rows, y, plan, width, pixels);
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

HWY_INLINE void splitRow(const uchar *pixels, std::size_t width, SplitRow &row)
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

HWY_INLINE DoubtMask isBelow(VLongs small, quint32 limit)
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
HWY_INLINE VBytes lossyBytes(VBytes level, const uchar *lossy)
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
        const quint32 level = weightedLevel(
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
                          quint16 *block)
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

HWY_INLINE void blurRow(const uchar *pixels, std::size_t width, const BlurPlan &plan,
                        SplitRow &split, int y, BlurredRows &rows)
{
    splitRow(pixels, width, split);
    const std::size_t lanes = hn::Lanes(Longs());
    const std::size_t end = width - static_cast<std::size_t>(plan.half);
    quint16 *block = rows.row(y);
    for (std::size_t x = plan.half; x < end; x += 2 * lanes, block += 6 * lanes)
        blurBlock(split.blueRed.data() + x, split.green.data() + x, plan, block);
}

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
HWY_INLINE ColumnLevels columnSums(const quint16 *const *above, const quint16 *const *below,
                                   const std::vector<BlurStep> &steps, std::size_t at)
{
    const Words d;
    const std::size_t lanes = hn::Lanes(d);
    const quint16 *const centre = above[0] + at;
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
                            uchar *pixels)
{
    if (plan.steps.empty())
        return exactColumns(rows, y, plan, width, pixels);
    std::vector<const quint16 *> above;
    std::vector<const quint16 *> below;
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

// A row of the destination is written when all rows of the source that it
// depends on have been read: both may be the same.
void blurRows(const PhotoView &source, const PaperView &destination, const BlurPlan &plan)
{
    const int reach = plan.reach();
    const auto width = static_cast<std::size_t>(source.width);
    const std::size_t inner = width - 2 * static_cast<std::size_t>(plan.half);
    SplitRow split(width);
    BlurredRows rows(inner, 2 * reach + 1, lanesOfARow());
    const int first = plan.half - reach;
    const int end = source.height - plan.half + reach;
    for (int y = first; y < end; ++y) {
        blurRow(source.pixels + y * source.stride, width, plan, split, y, rows);
        const int done = y - reach;
        if (done < plan.half)
            continue;
        uchar *line = destination.pixels + done * destination.stride;
        blurColumns(rows, done, plan, inner, line + qsizetype(bytesPerPixel) * plan.half);
    }
}

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace sketch {

HWY_EXPORT(blurRows);

void blurKernel(const PhotoView &source, const PaperView &destination, const BlurPlan &plan)
{
    HWY_DYNAMIC_DISPATCH(blurRows)(source, destination, plan);
}

} // namespace sketch
#endif
