#pragma once

#include <functional>

#include "sketch/kernel/imageview.h"

namespace sketch {

// Called with the number of rows whose edges are final, increasing to height.
using RowsDone = std::function<void(int rows)>;

// The edge value of every pixel: 255 minus the grey picture dodged by the 5x5
// minimum of its negative, 0 for white paper and 255 for the darkest stroke.
//
// photo     not empty; alpha is ignored.
// edges     receives width x height bytes, row-major without padding. Must not
//           overlap the photo.
// rowsDone  must not be empty; called on this thread.
//
// Grey is (red * 0.3 + green * 0.59) + blue * 0.11 in double precision, each product
// and sum rounded, then truncated. Dodging is the colour-dodge operator of the W3C's
// "Compositing and Blending Level 1" for opaque pixels. Border: the two outermost
// rows and columns are white paper.
//
// No shared state; any number of threads may call it, also for bands of one picture
// that overlap by four rows, whose inner rows are then those of the whole. Throws
// std::bad_alloc where there is no memory for a few rows.
void edgeKernel(const ConstImageView &photo, uint8_t *edges, const RowsDone &rowsDone);

} // namespace sketch
