#include "sketch/gaussianblur.h"

#include "sketch/kernel/gaussianblurkernel.h"

void blur(QImage *source, QImage *destination, int size, double sigma)
{
    if (source->isNull() || destination->isNull() || size < 1)
        return;
    const uchar *const from = source->bits(); // before the destination's: both detach
    uchar *const to = destination->bits();
    const int half = size / 2;
    if (source->width() - half <= half || source->height() - half <= half)
        return;
    const sketch::BlurPlan plan(size, sigma);
    if (plan.weights.empty())
        return;
    const int width = source->width();
    const int height = source->height();
    sketch::blurKernel({from, source->bytesPerLine(), width, height},
                       {to, destination->bytesPerLine(), width, height}, plan);
}
