// The edge kernel, compiled once for every instruction set that the machine may
// have and chosen when the program runs. All of it is exact: see the notes on
// the luminance and on the division.

#include "sketch/edgekernel.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sketch/edgekernel.cpp"
#include <hwy/foreach_target.h> // must come before highway.h

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#ifndef CRAYVELL_EDGEKERNEL_ONCE
#define CRAYVELL_EDGEKERNEL_ONCE

namespace sketch {

constexpr int radius = 2; // of the 5x5 neighbourhood
constexpr int taps = 2 * radius + 1;
constexpr int bandHeight = 32; // rows between two reports of progress

// (red * 0.3 + green * 0.59) + blue * 0.11, every product and sum rounded.
inline uchar exactLuminance(int red, int green, int blue)
{
    return static_cast<uchar>((red * 0.3 + green * 0.59) + blue * 0.11);
}

// Bit v % 8 of byte v / 8 tells whether the grey (v, v, v) has luminance v - 1.
inline std::array<uchar, 32> lossyGreys()
{
    std::array<uchar, 32> bits {};
    for (int v = 0; v < 256; ++v) {
        if (exactLuminance(v, v, v) != v)
            bits[v / 8] |= static_cast<uchar>(1 << (v % 8));
    }
    return bits;
}

// The luminance of the last five rows and what one row needs besides, for
// pictures of any width. Rows may be read and written a vector beyond their
// ends on both sides.
class Workspace
{
public:
    static constexpr std::size_t slack = 128;

    explicit Workspace(std::size_t width)
        : doubtful(width / 64 + slack / 8)
        , positions(width + slack)
        , m_pitch(width + 2 * slack)
        , m_bytes((taps + 1) * m_pitch)
    {
    }
    uchar *luminance(int y) { return row(y % taps); }
    uchar *columnMaximum() { return row(taps); }

    // One bit a pixel: where only the double sum can tell the luminance.
    std::vector<quint64> doubtful;
    std::vector<quint32> positions; // of these pixels
    const std::array<uchar, 32> lossy = lossyGreys();

private:
    uchar *row(int index)
    {
        return m_bytes.data() + static_cast<std::size_t>(index) * m_pitch + slack;
    }

    std::size_t m_pitch;
    std::vector<uchar> m_bytes;
};

} // namespace sketch

#endif // CRAYVELL_EDGEKERNEL_ONCE

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

// Machines without any of the vector instruction sets below.

void luminanceRow(const uchar *pixels, std::size_t width, Workspace &, uchar *luminance)
{
    for (std::size_t x = 0; x < width; ++x)
        luminance[x] = exactLuminance(pixels[4 * x + 2], pixels[4 * x + 1], pixels[4 * x]);
}

void columnMaxima(Workspace &space, int centre, std::size_t width)
{
    std::fill_n(space.columnMaximum(), width, uchar(0));
    for (int y = centre - radius; y <= centre + radius; ++y) {
        const uchar *row = space.luminance(y);
        std::transform(row, row + width, space.columnMaximum(), space.columnMaximum(),
                       [](uchar a, uchar b) { return std::max(a, b); });
    }
}

void edgeRow(Workspace &space, int centre, std::size_t width, uchar *edges)
{
    const uchar *luminance = space.luminance(centre);
    const uchar *columnMaximum = space.columnMaximum();
    std::fill_n(edges, width, uchar(0));
    for (std::size_t x = radius; x < width - radius; ++x) {
        const int brightest = *std::max_element(columnMaximum + x - 2, columnMaximum + x + 3);
        const int quotient = 65025 * luminance[x] / std::max(brightest, 1);
        if (luminance[x] < brightest)
            edges[x] = static_cast<uchar>(255 - ((quotient + (quotient >> 8) + 128) >> 8));
    }
}

#else

using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::Repartition<uint16_t, Bytes>;
using Longs = hn::Repartition<uint32_t, Bytes>;
using Floats = hn::Repartition<float, Bytes>;
using VBytes = hn::Vec<Bytes>;
using VWords = hn::Vec<Words>;
using VLongs = hn::Vec<Longs>;

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

HWY_INLINE FourVectors loadPixels(const uchar *pixels)
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

// All ones where the grey loses a level to the rounding of the double sum.
HWY_INLINE hn::Mask<Bytes> losesALevel(VBytes grey, const uchar *lossy)
{
    alignas(16) static constexpr uint8_t powers[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                       1, 2, 4, 8, 16, 32, 64, 128};
    const Bytes d;
    const VBytes index =
        hn::And(hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(Words(), grey))), hn::Set(d, 15));
    const VBytes dark = hn::TableLookupBytes(hn::LoadDup128(d, lossy), index);
    const VBytes light = hn::TableLookupBytes(hn::LoadDup128(d, lossy + 16), index);
    const VBytes bits = hn::IfThenElse(hn::Lt(grey, hn::Set(d, 128)), dark, light);
    const VBytes bit =
        hn::TableLookupBytes(hn::LoadDup128(d, powers), hn::And(grey, hn::Set(d, 7)));
    return hn::TestBit(bits, bit);
}

HWY_INLINE VBytes greyLuminance(VBytes grey, const uchar *lossy)
{
    const auto loses = hn::VecFromMask(Bytes(), losesALevel(grey, lossy));
    return hn::Add(grey, loses); // adds 255, that is -1
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
HWY_INLINE void settleGreys(const uchar *pixels, const uchar *lossy, Luminance &luminance)
{
    const Bytes d;
    VBytes blue, green, red, alpha;
    hn::LoadInterleaved4(d, pixels, blue, green, red, alpha);
    const auto isGrey = hn::And(hn::Eq(red, green), hn::Eq(green, blue));
    luminance.level = hn::IfThenElse(isGrey, greyLuminance(green, lossy), luminance.level);
    luminance.isDoubtful = hn::AndNot(isGrey, luminance.isDoubtful);
}

HWY_INLINE bool allGrey(const FourVectors &pixels)
{
    const Longs d;
    const auto differing = [](VLongs v) HWY_ATTR { return hn::Xor(v, hn::ShiftRight<8>(v)); };
    const VLongs any = hn::Or(hn::Or(differing(pixels.first), differing(pixels.second)),
                              hn::Or(differing(pixels.third), differing(pixels.fourth)));
    return hn::AllTrue(d, hn::Eq(hn::ShiftLeft<16>(any), hn::Zero(d)));
}

// The greys of pixels that have equal channels.
HWY_INLINE VBytes greysOf(const FourVectors &pixels)
{
    const Longs d;
    const VLongs low = hn::Or(hn::And(pixels.first, hn::Set(d, 0x000000ff)),
                              hn::And(pixels.second, hn::Set(d, 0x0000ff00)));
    const VLongs high =
        hn::Or(hn::And(pixels.third, hn::Set(d, 0x00ff0000)), hn::ShiftLeft<24>(pixels.fourth));
    return inPixelOrder(hn::BitCast(Bytes(), hn::Or(low, high)));
}

// The luminance of one vector of pixels after another.
class LuminanceVectors
{
public:
    LuminanceVectors(const uchar *lossy, uchar *luminance, uchar *doubtful)
        : m_lossy(lossy)
        , m_luminance(luminance)
        , m_doubtful(doubtful)
    {
    }

    // Pixels x and following.
    HWY_INLINE void compute(const uchar *pixels, std::size_t x)
    {
        const Bytes d;
        const FourVectors four = loadPixels(pixels + 4 * x);
        if (m_expectGreys && allGrey(four)) {
            store({greyLuminance(greysOf(four), m_lossy), hn::MaskFromVec(hn::Zero(d))}, x);
            return;
        }
        Luminance luminance = colourLuminance(four);
        // One colour in a hundred is doubtful, but every grey.
        m_expectGreys = hn::CountTrue(d, luminance.isDoubtful) > hn::Lanes(d) / 8;
        if (m_expectGreys)
            settleGreys(pixels + 4 * x, m_lossy, luminance);
        store(luminance, x);
    }

private:
    HWY_INLINE void store(const Luminance &luminance, std::size_t x)
    {
        const Bytes d;
        hn::StoreU(luminance.level, d, m_luminance + x);
        hn::StoreMaskBits(d, luminance.isDoubtful, m_doubtful + x / 8);
    }

    const uchar *m_lossy;
    uchar *m_luminance;
    uchar *m_doubtful;
    bool m_expectGreys = true;
};

// Settles the doubtful pixels of a row with the double sum. Their positions are
// gathered first, two for each word of bits whether there are so many or not: a
// loop over the few bits of each word would end where no processor expects it.
HWY_INLINE void settleDoubtful(const uchar *pixels, Workspace &space, std::size_t width,
                               uchar *luminance)
{
    quint32 *end = space.positions.data();
    for (std::size_t word = 0; word * 64 < width; ++word) {
        const quint64 bits = space.doubtful[word];
        const auto position = [&](quint64 rest) HWY_ATTR {
            return static_cast<quint32>(word * 64) + static_cast<quint32>(std::countr_zero(rest));
        };
        quint64 rest = bits & (bits - 1);
        end[0] = position(bits);
        end[1] = position(rest);
        end += (bits != 0) + (rest != 0);
        for (rest &= rest - 1; rest != 0; rest &= rest - 1)
            *end++ = position(rest);
    }
    for (const quint32 *x = space.positions.data(); x != end; ++x) {
        const uchar *pixel = pixels + std::size_t(4) * *x;
        luminance[*x] = exactLuminance(pixel[2], pixel[1], pixel[0]);
    }
}

HWY_INLINE void luminanceRow(const uchar *pixels, std::size_t width, Workspace &space,
                             uchar *luminance)
{
    const std::size_t lanes = hn::Lanes(Bytes());
    constexpr std::size_t ahead = 2048; // bytes; the next row's start at a row's end
    auto *doubtful = reinterpret_cast<uchar *>(space.doubtful.data());
    LuminanceVectors vectors(space.lossy.data(), luminance, doubtful);
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        for (std::size_t line = 0; line < 4 * lanes; line += 64)
            hwy::Prefetch(pixels + 4 * x + line + ahead);
        vectors.compute(pixels, x);
    }
    settleDoubtful(pixels, space, x, luminance);
    for (; x < width; ++x)
        luminance[x] = exactLuminance(pixels[4 * x + 2], pixels[4 * x + 1], pixels[4 * x]);
}

// The maximum of five rows, for every column.
HWY_INLINE void columnMaxima(Workspace &space, int centre, std::size_t width)
{
    const Bytes d;
    const uchar *rows[taps];
    for (int i = 0; i < taps; ++i)
        rows[i] = space.luminance(centre - radius + i);
    uchar *maximum = space.columnMaximum();
    for (std::size_t x = 0; x < width; x += hn::Lanes(d)) {
        const VBytes outer = hn::Max(hn::LoadU(d, rows[0] + x), hn::LoadU(d, rows[4] + x));
        const VBytes inner = hn::Max(hn::LoadU(d, rows[1] + x), hn::LoadU(d, rows[3] + x));
        hn::StoreU(hn::Max(hn::Max(outer, inner), hn::LoadU(d, rows[2] + x)), d, maximum + x);
    }
}

HWY_INLINE VBytes neighbourhoodMaximum(const uchar *columnMaximum)
{
    const Bytes d;
    const VBytes outer = hn::Max(hn::LoadU(d, columnMaximum - 2), hn::LoadU(d, columnMaximum + 2));
    const VBytes inner = hn::Max(hn::LoadU(d, columnMaximum - 1), hn::LoadU(d, columnMaximum + 1));
    return hn::Max(hn::Max(outer, inner), hn::LoadU(d, columnMaximum));
}

// 65025 level div brightest, both multiplied by the same power of two. Single
// precision is exact here: the dividend has 24 bits, and no quotient of these
// ranges rounds up to a whole number.
HWY_INLINE VLongs dodgeQuotient(VLongs level, VLongs brightest)
{
    const Floats f;
    const hn::RebindToSigned<Longs> i;
    const auto dividend = hn::Mul(hn::ConvertTo(f, hn::BitCast(i, level)), hn::Set(f, 65025.0F));
    const auto divisor = hn::ConvertTo(f, hn::BitCast(i, brightest));
    return hn::BitCast(Longs(), hn::ConvertTo(i, hn::Div(dividend, divisor)));
}

// x + (x >> 8) + 128, whose high byte is the dodged level of a quotient x.
HWY_INLINE VWords roundedLevel(VLongs low, VLongs high)
{
    const Words d;
    const VWords x = hn::BitCast(d, hn::Or(low, hn::ShiftLeft<16>(high)));
    return hn::Add(hn::Add(x, hn::ShiftRight<8>(x)), hn::Set(d, 128));
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
    const VWords even = hn::ShiftRight<8>(roundedLevel(x0, x2));
    const VWords odd = hn::AndNot(hn::Set(Words(), 0x00ff), roundedLevel(x1, x3));
    const VBytes dodged = hn::BitCast(d, hn::Or(even, odd));
    // In an all-black neighbourhood the division was void: white paper.
    return hn::IfThenZeroElse(hn::Eq(brightest, hn::Zero(d)), hn::Not(dodged));
}

HWY_INLINE void edgeRow(Workspace &space, int centre, std::size_t width, uchar *edges)
{
    const Bytes d;
    const std::size_t lanes = hn::Lanes(d);
    const uchar *luminance = space.luminance(centre);
    const uchar *columnMaximum = space.columnMaximum();
    const std::size_t end = width - radius;
    const auto vector = [&](std::size_t x) HWY_ATTR {
        return dodgedEdges(hn::LoadU(d, luminance + x), neighbourhoodMaximum(columnMaximum + x));
    };
    std::size_t x = radius;
    for (; x + lanes <= end; x += lanes)
        hn::StoreU(vector(x), d, edges + x);
    if (x < end) {
        HWY_ALIGN uint8_t rest[HWY_MAX_BYTES];
        hn::Store(vector(x), d, rest);
        std::memcpy(edges + x, rest, end - x);
    }
    std::fill_n(edges, radius, uchar(0));
    std::fill_n(edges + end, radius, uchar(0));
}

#endif // HWY_TARGET

void edgeRows(const PhotoView &photo, uchar *edges, const RowsDone &rowsDone)
{
    const auto width = static_cast<std::size_t>(photo.width);
    const auto edgeLine = [&](int y) { return edges + static_cast<std::size_t>(y) * width; };
    Workspace space(width);
    std::fill_n(edges, radius * width, uchar(0));
    for (int y = 0; y < photo.height; ++y) {
        luminanceRow(photo.pixels + y * photo.stride, width, space, space.luminance(y));
        const int centre = y - radius;
        if (centre < radius)
            continue;
        columnMaxima(space, centre, width);
        edgeRow(space, centre, width, edgeLine(centre));
        if (centre % bandHeight == 0)
            rowsDone(centre + 1);
    }
    std::fill_n(edgeLine(photo.height - radius), radius * width, uchar(0));
    rowsDone(photo.height);
}

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace sketch {

HWY_EXPORT(edgeRows);

void edgeKernel(const PhotoView &photo, uchar *edges, const RowsDone &rowsDone)
{
    if (photo.width < taps || photo.height < taps) {
        std::fill_n(edges, static_cast<std::size_t>(photo.width) * photo.height, uchar(0));
        rowsDone(photo.height);
        return;
    }
    HWY_DYNAMIC_DISPATCH(edgeRows)(photo, edges, rowsDone);
}

} // namespace sketch
#endif
