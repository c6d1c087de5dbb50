// The luminances of a row of pixels, for the instruction set that is being
// compiled: included once for each.

#if defined(CRAYVELL_LUMINANCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CRAYVELL_LUMINANCE_INL_H
#undef CRAYVELL_LUMINANCE_INL_H
#else
#define CRAYVELL_LUMINANCE_INL_H
#endif

#include <bit>

#include "sketch/kernel/bytevectors-inl.h"
#include "sketch/kernel/edgeworkspace.h"

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

void luminanceRow(const PixelRow &row, std::size_t width, EdgeWorkspace &, uint8_t *luminance)
{
    const uint8_t *pixels = row.pixels;
    for (std::size_t x = 0; x < width; ++x)
        luminance[x] = exactLuminance(pixels[4 * x + 2], pixels[4 * x + 1], pixels[4 * x]);
}

#else

// A byte vector is worked on as its even and odd bytes in 16-bit lanes, or as
// the four bytes of 32-bit lanes: taking apart and putting together are shifts
// and masks, which no instruction set has in an order of its own.
HWY_INLINE VBytes joinBytes(VWords even, VWords odd)
{
    return hn::BitCast(Bytes(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// A vector of luminances is computed from four vectors of pixels, the first of
// which make the lowest bytes of its 32-bit lanes. This puts them in order.
HWY_INLINE VBytes inPixelOrder(VBytes bytes)
{
    alignas(16) static constexpr uint8_t transposed[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                           2, 6, 10, 14, 3, 7, 11, 15};
    const Bytes d;
    const Longs d32;
    const std::size_t blocks = hn::Lanes(d) / 16;
    HWY_ALIGN int32_t lanes[HWY_MAX_BYTES / 4];
    for (std::size_t i = 0; i < 4 * blocks; ++i)
        lanes[i] = static_cast<int32_t>(i % blocks * 4 + i / blocks);
    const auto blockwise = hn::TableLookupBytes(bytes, hn::LoadDup128(d, transposed));
    return hn::BitCast(
        d, hn::TableLookupLanes(hn::BitCast(d32, blockwise), hn::SetTableIndices(d32, lanes)));
}

struct FourVectors
{
    VLongs first, second, third, fourth;
};

HWY_INLINE FourVectors loadPixels(const uint8_t *pixels)
{
    const Longs d;
    const auto *p = reinterpret_cast<const uint32_t *>(pixels);
    const std::size_t lanes = hn::Lanes(d);
    return {hn::LoadU(d, p), hn::LoadU(d, p + lanes), hn::LoadU(d, p + 2 * lanes),
            hn::LoadU(d, p + 3 * lanes)};
}

// 30 r + 59 g + 11 b.
HWY_INLINE VLongs weightedSum(VLongs pixels)
{
    const hn::RebindToSigned<Words> d16;
    const hn::RebindToSigned<Longs> d32;
    const VWords words = hn::BitCast(Words(), pixels);
    const auto blueRed = hn::BitCast(d16, hn::And(words, hn::Set(Words(), 0x00ff)));
    const auto greenAlpha = hn::BitCast(d16, hn::ShiftRight<8>(words));
    const auto weights1 = hn::BitCast(d16, hn::Set(Longs(), 30 << 16 | 11));
    const auto weights2 = hn::BitCast(d16, hn::Set(Longs(), 59));
    auto other = hn::Zero(d32);
    const auto one = hn::ReorderWidenMulAccumulate(d32, blueRed, weights1, hn::Zero(d32), other);
    const auto sum = hn::ReorderWidenMulAccumulate(d32, greenAlpha, weights2, one, other);
    return hn::BitCast(Longs(), hn::RearrangeToOddPlusEven(sum, other));
}

HWY_INLINE VWords joinWords(VLongs even, VLongs odd)
{
    return hn::BitCast(Words(), hn::Or(even, hn::ShiftLeft<16>(odd)));
}

// Quotient by 100 of a weighted sum, and where the remainder is zero.
struct Hundredths
{
    VWords quotient;
    VWords isWhole; // all ones or zero
};

HWY_INLINE Hundredths hundredths(VWords sum)
{
    const Words d;
    // 41944 / 2^22 is so little above 1/100 that sums up to 25500 divide right.
    const VWords quotient = hn::ShiftRight<6>(hn::MulHigh(sum, hn::Set(d, 41944)));
    const auto isWhole = hn::Eq(sum, hn::Mul(quotient, hn::Set(d, 100)));
    return {quotient, hn::VecFromMask(d, isWhole)};
}

// lossyGreys() as vectors, and the bits of a byte.
struct GreyTables
{
    VBytes dark, light, bits;
};

HWY_INLINE GreyTables loadGreyTables(const uint8_t *lossy)
{
    alignas(16) static constexpr uint8_t bits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                     1, 2, 4, 8, 16, 32, 64, 128};
    const Bytes d;
    return {hn::LoadDup128(d, lossy), hn::LoadDup128(d, lossy + 16), hn::LoadDup128(d, bits)};
}

HWY_INLINE VBytes greyLuminance(VBytes grey, const GreyTables &tables)
{
    const Bytes d;
    const hn::RebindToSigned<Bytes> s;
    const VBytes low = hn::And(grey, hn::Set(d, 15));
    const VBytes high =
        hn::And(hn::BitCast(d, hn::ShiftRight<4>(hn::BitCast(Words(), grey))), hn::Set(d, 15));
    const VBytes dark = hn::TableLookupBytes(tables.dark, low);
    const VBytes light = hn::TableLookupBytes(tables.light, low);
    const auto isLight = hn::RebindMask(d, hn::Lt(hn::BitCast(s, grey), hn::Zero(s)));
    const VBytes lossy = hn::IfThenElse(isLight, light, dark);
    const VBytes bit = hn::TableLookupBytes(tables.bits, high);
    const VBytes losesALevel = hn::VecFromMask(d, hn::TestBit(lossy, bit));
    return hn::Add(grey, losesALevel); // adds 255, that is -1
}

// Luminances and where they are doubtful.
struct Luminance
{
    VBytes level;
    hn::Mask<Bytes> isDoubtful;
};

// 30 r + 59 g + 11 b divided by 100 is right wherever a remainder is left. Where
// there is none the double sum may fall just short of the whole number.
HWY_INLINE Luminance colourLuminance(const FourVectors &pixels)
{
    const Bytes d;
    const Hundredths even =
        hundredths(joinWords(weightedSum(pixels.first), weightedSum(pixels.third)));
    const Hundredths odd =
        hundredths(joinWords(weightedSum(pixels.second), weightedSum(pixels.fourth)));
    const VBytes level = joinBytes(even.quotient, odd.quotient);
    const VBytes isWhole = hn::OddEven(hn::BitCast(d, odd.isWhole), hn::BitCast(d, even.isWhole));
    return {inPixelOrder(level), hn::MaskFromVec(inPixelOrder(isWhole))};
}

// The greys among the pixels are not doubtful: a table tells their luminance.
HWY_INLINE void settleGreys(const uint8_t *pixels, const GreyTables &tables, Luminance &luminance)
{
    const Bytes d;
    VBytes blue, green, red, alpha;
    hn::LoadInterleaved4(d, pixels, blue, green, red, alpha);
    const auto isGrey = hn::And(hn::Eq(red, green), hn::Eq(green, blue));
    luminance.level = hn::IfThenElse(isGrey, greyLuminance(green, tables), luminance.level);
    luminance.isDoubtful = hn::AndNot(isGrey, luminance.isDoubtful);
}

HWY_INLINE bool allGrey(const FourVectors &pixels)
{
    alignas(16) static constexpr uint8_t blueThrice[16] = {0, 0, 0, 3,  4,  4,  4,  7,
                                                           8, 8, 8, 11, 12, 12, 12, 15};
    const Bytes d;
    const VBytes order = hn::LoadDup128(d, blueThrice);
    const auto differing = [&](VLongs v) HWY_ATTR {
        return hn::Xor(hn::BitCast(d, v), hn::TableLookupBytes(hn::BitCast(d, v), order));
    };
    const VBytes any = hn::Or(hn::Or(differing(pixels.first), differing(pixels.second)),
                              hn::Or(differing(pixels.third), differing(pixels.fourth)));
    return hn::AllTrue(d, hn::Eq(any, hn::Zero(d)));
}

// The greys of pixels that have equal channels.
HWY_INLINE VBytes greysOf(const FourVectors &pixels)
{
    const Bytes d;
    const Words w;
    const auto words = [=](VLongs low, VLongs high) HWY_ATTR {
        return hn::BitCast(d, hn::OddEven(hn::BitCast(w, high), hn::BitCast(w, low)));
    };
    const VBytes even = words(pixels.first, pixels.third);
    // The fourth one's grey moves to where its alpha was.
    const VBytes odd = words(pixels.second, hn::ShiftLeft<8>(pixels.fourth));
    return inPixelOrder(hn::OddEven(odd, even));
}

// The luminances of one row of pixels.
class LuminanceRow
{
public:
    LuminanceRow(const PixelRow &row, std::size_t width, const uint8_t *lossy, uint8_t *luminance)
        : m_row(row)
        , m_width(width)
        , m_tables(loadGreyTables(lossy))
        , m_luminance(luminance)
    {
    }

    // Whether a whole vector of pixels is left at x.
    bool hasVector(std::size_t x) const { return x + hn::Lanes(Bytes()) <= m_width; }

    // Vectors of nothing but greys, from x to the position that is returned.
    HWY_INLINE std::size_t computeGreys(std::size_t x) const
    {
        const Bytes d;
        for (; hasVector(x); x += hn::Lanes(d)) {
            prefetchHalf(m_row.next + 4 * x);
            const FourVectors pixels = loadPixels(m_row.pixels + 4 * x);
            if (!allGrey(pixels))
                break;
            hn::StoreU(greyLuminance(greysOf(pixels), m_tables), d, m_luminance + x);
        }
        return x;
    }

    // Vectors of any colours, from x to the position that is returned, up to one
    // that has many greys. Sets a bit for every doubtful pixel.
    HWY_INLINE std::size_t computeColours(std::size_t x, uint8_t *doubtful) const
    {
        const Bytes d;
        for (bool manyGreys = false; hasVector(x) && !manyGreys; x += hn::Lanes(d)) {
            prefetchHalf(m_row.next + 4 * x);
            Luminance luminance = colourLuminance(loadPixels(m_row.pixels + 4 * x));
            // One colour in a hundred is doubtful, but every grey.
            manyGreys = hn::CountTrue(d, luminance.isDoubtful) > hn::Lanes(d) / 8;
            if (manyGreys)
                settleGreys(m_row.pixels + 4 * x, m_tables, luminance);
            hn::StoreU(luminance.level, d, m_luminance + x);
            hn::StoreMaskBits(d, luminance.isDoubtful, doubtful + x / 8);
        }
        return x;
    }

private:
    PixelRow m_row;
    std::size_t m_width;
    GreyTables m_tables;
    uint8_t *m_luminance;
};

// Settles the doubtful pixels of a row with the double sum. Their positions are
// gathered first, two for each word of bits whether there are so many or not: a
// loop over the few bits of each word would end where no processor expects it.
HWY_INLINE void settleDoubtful(const uint8_t *pixels, EdgeWorkspace &space, std::size_t width,
                               uint8_t *luminance)
{
    uint32_t *end = space.positions.data();
    for (std::size_t word = 0; word * 64 < width; ++word) {
        const uint64_t bits = space.doubtful[word];
        const auto position = [&](uint64_t rest) HWY_ATTR {
            return static_cast<uint32_t>(word * 64) + static_cast<uint32_t>(std::countr_zero(rest));
        };
        uint64_t rest = bits & (bits - 1);
        end[0] = position(bits);
        end[1] = position(rest);
        end += (bits != 0) + (rest != 0);
        for (rest &= rest - 1; rest != 0; rest &= rest - 1)
            *end++ = position(rest);
    }
    for (const uint32_t *x = space.positions.data(); x != end; ++x) {
        const uint8_t *pixel = pixels + std::size_t(4) * *x;
        luminance[*x] = exactLuminance(pixel[2], pixel[1], pixel[0]);
    }
}

HWY_INLINE void luminanceRow(const PixelRow &row, std::size_t width, EdgeWorkspace &space,
                             uint8_t *luminance)
{
    const LuminanceRow vectors(row, width, space.lossy.data(), luminance);
    auto *doubtful = reinterpret_cast<uint8_t *>(space.doubtful.data());
    std::fill(space.doubtful.begin(), space.doubtful.end(), 0);
    bool hasColours = false;
    std::size_t x = 0;
    while (vectors.hasVector(x)) {
        x = vectors.computeGreys(x);
        hasColours |= vectors.hasVector(x);
        x = vectors.computeColours(x, doubtful);
    }
    const uint8_t *pixels = row.pixels;
    if (hasColours)
        settleDoubtful(pixels, space, x, luminance);
    for (; x < width; ++x)
        luminance[x] = exactLuminance(pixels[4 * x + 2], pixels[4 * x + 1], pixels[4 * x]);
}

#endif // HWY_TARGET

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#endif // CRAYVELL_LUMINANCE_INL_H
