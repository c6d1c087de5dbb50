#pragma once

#include <QtGlobal>

#include <functional>

namespace sketch {

// A photo in memory: rows of 32-bit pixels 0xAARRGGBB, stride bytes apart.
struct PhotoView
{
    const uchar *pixels;
    qsizetype stride; // bytes, a multiple of 4
    int width; // pixels
    int height; // rows
};

// Called with the number of rows whose edges are final, increasing to height.
using RowsDone = std::function<void(int rows)>;

// The arithmetic of inverterodesketch() on plain memory; see there. The photo
// must not be empty.
void edgeKernel(const PhotoView &photo, uchar *edges, const RowsDone &rowsDone);

} // namespace sketch
