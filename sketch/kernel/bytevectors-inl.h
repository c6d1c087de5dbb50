// The vectors that the edge kernel is written in, for the instruction set that is
// being compiled: included once for each.

#if defined(CRAYVELL_BYTEVECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CRAYVELL_BYTEVECTORS_INL_H
#undef CRAYVELL_BYTEVECTORS_INL_H
#else
#define CRAYVELL_BYTEVECTORS_INL_H
#endif

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::Repartition<uint16_t, Bytes>;
using Longs = hn::Repartition<uint32_t, Bytes>;
using Floats = hn::Repartition<float, Bytes>;
using VBytes = hn::Vec<Bytes>;
using VWords = hn::Vec<Words>;
using VLongs = hn::Vec<Longs>;

// Every other cache line of as many pixels as a vector has bytes, into the second
// level; all of them where a vector has but 16. The loops over a row ask for one
// half of the next row's lines each, so that the memory is never idle.
HWY_INLINE void prefetchHalf(const uint8_t *pixels)
{
    for (std::size_t line = 0; line < 4 * hn::Lanes(Bytes()); line += 128)
        __builtin_prefetch(pixels + line, 0, 2);
}

#endif // HWY_TARGET

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#endif // CRAYVELL_BYTEVECTORS_INL_H
