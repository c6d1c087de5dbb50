#pragma once

#include <QImage>

namespace sketch::reference {

// What inverterodesketch() must give, one pixel at a time and one pass after
// the other; for the tests and benchmarks. Same arguments and results, without
// progress.
void edgeBuffer(const QImage &photo, unsigned char *edges);

// The grey level of an opaque colour.
int luminance(QRgb pixel);

// Colour dodge of source s onto destination d, both 0 to 255.
int colorDodge(int d, int s);

} // namespace sketch::reference
