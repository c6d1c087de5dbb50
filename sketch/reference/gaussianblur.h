#pragma once

#include <QImage>

namespace sketch::reference {

// What blur() must give: two plain loops over the whole picture; for the tests
// and benchmarks.
void blur(QImage *source, QImage *destination, int size, double sigma);

} // namespace sketch::reference
