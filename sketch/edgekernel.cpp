// The edge kernel, compiled once for every instruction set that the machine may
// have and chosen when the program runs. All of it is exact: see the notes on
// the luminance and on the division.

#include "sketch/edgekernel.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sketch/edgekernel.cpp"
#include <hwy/foreach_target.h> // must come before highway.h

#include <hwy/aligned_allocator.h>
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

// Which greys (v, v, v) have luminance v - 1: bit (v / 16) % 8 of byte v % 16 for
// the dark half of the greys, of byte 16 + v % 16 for the light one.
inline std::array<uchar, 32> lossyGreys()
{
    std::array<uchar, 32> bits {};
    for (int v = 0; v < 256; ++v) {
        if (exactLuminance(v, v, v) != v)
            bits[v / 128 * 16 + v % 16] |= static_cast<uchar>(1 << (v / 16 % 8));
    }
    return bits;
}

// The luminance of the last five rows and what one row needs besides, for
// pictures of any width. Rows begin where a vector may, and may be read and
// written a vector beyond their ends on both sides.
class Workspace
{
public:
    static constexpr std::size_t slack = 128;

    explicit Workspace(std::size_t width)
        : doubtful(width / 64 + slack / 8)
        , positions(width + slack)
        , m_pitch((width / slack + 3) * slack)
        , m_bytes(hwy::AllocateAligned<uchar>((taps + 1) * m_pitch))
    {
        if (!m_bytes)
            throw std::bad_alloc();
        // The slack is read, though what it gives is thrown away.
        std::fill_n(m_bytes.get(), (taps + 1) * m_pitch, uchar(0));
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
        return m_bytes.get() + static_cast<std::size_t>(index) * m_pitch + slack;
    }

    std::size_t m_pitch;
    hwy::AlignedFreeUniquePtr<uchar[]> m_bytes;
};

// A row of the photo, and the row that will be read after it.
struct PixelRow
{
    const uchar *pixels;
    const uchar *next;
};

} // namespace sketch

#endif // CRAYVELL_EDGEKERNEL_ONCE

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

// Machines without any of the vector instruction sets below.

void luminanceRow(const PixelRow &row, std::size_t width, Workspace &, uchar *luminance)
{
    const uchar *pixels = row.pixels;
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

void edgeRow(Workspace &space, int centre, const PixelRow &, std::size_t width, uchar *edges)
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

// lossyGreys() as vectors, and the bits of a byte.
struct GreyTables
{
    VBytes dark, light, bits;
};

HWY_INLINE GreyTables loadGreyTables(const uchar *lossy)
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
HWY_INLINE void settleGreys(const uchar *pixels, const GreyTables &tables, Luminance &luminance)
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

// Every other cache line of as many pixels as a vector has bytes, into the second
// level. The loops over a row ask for one half of the next row's lines each, so
// that the memory is never idle.
HWY_INLINE void prefetchHalf(const uchar *pixels)
{
    for (std::size_t line = 0; line < 4 * hn::Lanes(Bytes()); line += 128)
        __builtin_prefetch(pixels + line, 0, 2);
}

// The luminances of one row of pixels.
class LuminanceRow
{
public:
    LuminanceRow(const PixelRow &row, std::size_t width, const uchar *lossy, uchar *luminance)
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
    HWY_INLINE std::size_t computeColours(std::size_t x, uchar *doubtful) const
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
    uchar *m_luminance;
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

HWY_INLINE void luminanceRow(const PixelRow &row, std::size_t width, Workspace &space,
                             uchar *luminance)
{
    const LuminanceRow vectors(row, width, space.lossy.data(), luminance);
    auto *doubtful = reinterpret_cast<uchar *>(space.doubtful.data());
    std::fill(space.doubtful.begin(), space.doubtful.end(), 0);
    bool hasColours = false;
    std::size_t x = 0;
    while (vectors.hasVector(x)) {
        x = vectors.computeGreys(x);
        hasColours |= vectors.hasVector(x);
        x = vectors.computeColours(x, doubtful);
    }
    const uchar *pixels = row.pixels;
    if (hasColours)
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

// The level that dodging gives is (x + (x >> 8) + 128) >> 8 of the integer quotient
// x = 65025 level div brightest. In terms of q = 255 level / brightest, it is the
// next whole number t where q lacks at most 127/255 of it, or 126/255 where t is
// 130 or more, and else the whole number below.
//
// Here 256 q is rounded to an integer by the addition of a number whose last place
// is worth 1/256. With 127 more, the high byte of the lowest 16 bits is the level
// for t below 130; for the others one has to be taken off, which dodgedLevels()
// does. With 512 less, the highest of the 16 bits tells the others apart; it is set
// below 2, too, where no q lies between the two bounds. Nor does any come so near
// to one that the errors of single precision matter.
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

HWY_INLINE void edgeRow(Workspace &space, int centre, const PixelRow &row, std::size_t width,
                        uchar *edges)
{
    const Bytes d;
    const std::size_t lanes = hn::Lanes(d);
    const uchar *luminance = space.luminance(centre);
    const uchar *columnMaximum = space.columnMaximum();
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
    std::fill_n(edges, radius, uchar(0));
    std::fill_n(edges + width - radius, radius, uchar(0));
}

#endif // HWY_TARGET

void edgeRows(const PhotoView &photo, uchar *edges, const RowsDone &rowsDone)
{
    const auto width = static_cast<std::size_t>(photo.width);
    const auto pixelLine = [&](int y) { return photo.pixels + y * photo.stride; };
    const auto edgeLine = [&](int y) { return edges + static_cast<std::size_t>(y) * width; };
    Workspace space(width);
    std::fill_n(edges, radius * width, uchar(0));
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
