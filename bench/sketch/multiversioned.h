#pragma once

#include <QImage>

namespace bench {

// The edge buffer of inverterodesketch(), with the same results: the same passes
// over a few rows, written as plain loops that the compiler turns into vectors
// and compiles once for each of several instruction sets. What the engine would
// be without vectors of its own; no part of it. The photo has 32 bits a pixel and
// at least 5 pixels each way.
void multiversionedEdges(const QImage &photo, unsigned char *edges);

} // namespace bench
