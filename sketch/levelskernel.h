#pragma once

#include <QtGlobal>

namespace sketch {

// Where a rendering goes: rows of 32-bit pixels 0xAARRGGBB, stride bytes apart.
struct PaperView
{
    uchar *pixels;
    qsizetype stride; // bytes, a multiple of 4
    int width; // pixels
    int height; // rows
};

// The arithmetic of updatePenLevels() on plain memory; see there. Edge rows
// follow each other without padding. The picture must not be empty.
void levelsKernel(const uchar *edges, int low, int high, const PaperView &paper);

} // namespace sketch
