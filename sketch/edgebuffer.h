#pragma once

#include <QImage>

#include <functional>

namespace sketch {

// Receives progress as a percentage, on the calling thread.
using ProgressReport = std::function<void(int percent)>;

} // namespace sketch

// Makes the edge buffer of a photo: the grey picture is dodged by the 5x5
// minimum of its negative, which leaves white paper where a pixel is the
// brightest of its neighbourhood and a stroke where a brighter one is near.
//
// photo     32 bits a pixel, 0xAARRGGBB (Format_ARGB32 or Format_RGB32), any
//           stride, any size, also empty; alpha is ignored; only read.
// edges     receives width x height bytes, row-major without padding: 255 minus
//           the dodged grey level, 0 for white paper, 255 for the darkest
//           stroke. Must not overlap the photo.
// progress  may be empty; else called with 30, with 30 + 30x div width for the
//           columns x = 2 to width - 3 (if the picture is wider and higher than
//           four pixels), with 60, 70, 70 + 30x div width for all columns and
//           99, in this order and in step with the work.
//
// Grey is (red * 0.3 + green * 0.59) + blue * 0.11 in double precision, each
// product and sum rounded, then truncated. The dodge is the colour-dodge
// operator of the W3C's "Compositing and Blending Level 1" for opaque pixels.
// Border: the neighbourhood of the two outermost rows and columns is the pixel
// itself, so that these are always white paper.
//
// One thread, no shared state; fails at nothing but lack of memory for a few
// rows (std::bad_alloc).
void inverterodesketch(const QImage &photo, unsigned char *edges,
                       const sketch::ProgressReport &progress);

// Whether a grey level, 0 to 255, is white.
bool is_white_mw(unsigned char level);
