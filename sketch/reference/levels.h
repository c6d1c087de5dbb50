#pragma once

#include <QImage>

namespace sketch::reference {

// What updatePenLevels() must give, column by column; for the tests and
// benchmarks.
void updatePenLevels(QImage &image, const unsigned char *edges, int low, int high);

// The grey that a level becomes between black and white.
int greyLevel(int value, int low, int high);

} // namespace sketch::reference
