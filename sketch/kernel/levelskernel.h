#pragma once

#include "sketch/kernel/imageview.h"

namespace sketch {

// Renders edge values as opaque greys 0xFFvvvvvv: a pixel of edge value e gets
// stretchedLevel(255 - e, low, high) in its three channels.
//
// edges      width x height bytes, row-major without padding, as edgeKernel() makes
//            them. Must not overlap the paper.
// low, high  black and white level, 0 to 255; they may cross.
// paper      not empty; every pixel is overwritten.
//
// No shared state; any number of threads may call it. Fails at nothing.
void levelsKernel(const uint8_t *edges, int low, int high, const ImageView &paper);

} // namespace sketch
