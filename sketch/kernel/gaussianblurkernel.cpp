// The blur, compiled once for every instruction set that the machine may have
// and chosen when the program runs. Exact: see BlurPlan.

#include "sketch/kernel/gaussianblurkernel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sketch/kernel/gaussianblurkernel.cpp"
#include <hwy/foreach_target.h> // must come before highway.h

#include <hwy/highway.h>

#include "sketch/kernel/dispatch.h"

#include "sketch/kernel/blurcolumns-inl.h"
#include "sketch/kernel/blurrows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace sketch {
namespace HWY_NAMESPACE {

// A row of the destination is written when all rows of the source that it
// depends on have been read: both may be the same.
void blurRows(const ConstImageView &source, const ImageView &destination, const BlurPlan &plan)
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
        uint8_t *line = destination.pixels + done * destination.stride;
        blurColumns(rows, done, plan, inner, line + std::ptrdiff_t(bytesPerPixel) * plan.half);
    }
}

} // namespace HWY_NAMESPACE
} // namespace sketch
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace sketch {

void blurKernel(const ConstImageView &source, const ImageView &destination, const BlurPlan &plan)
{
    SKETCH_DISPATCH(blurRows)(source, destination, plan);
}

} // namespace sketch
#endif
