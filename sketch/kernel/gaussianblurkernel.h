#pragma once

#include "sketch/kernel/gaussianblurplan.h"
#include "sketch/kernel/imageview.h"

namespace sketch {

// Blurs the blue, green and red byte of every pixel that is further from the border
// than plan.half; the others, and every alpha byte, keep what the destination holds.
//
// source, destination  of one size, wider and higher than twice plan.half; may be
//                      the same picture, must not overlap otherwise.
// plan                 usable: its weights are not empty.
//
// No shared state. Throws std::bad_alloc where there is no memory for the rows that
// a pixel depends on.
void blurKernel(const ConstImageView &source, const ImageView &destination, const BlurPlan &plan);

} // namespace sketch
