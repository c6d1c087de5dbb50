#pragma once

#include <QImage>

#include <cstddef>

namespace photo {

// Asks the system to back memory that was not touched yet with large pages. A
// picture of 24 megapixels otherwise costs 23,000 page faults when it is first
// written, which takes longer than writing it. Without effect on small blocks
// and where the system has no large pages.
void preferLargePages(void *memory, std::size_t bytes);

// A picture with undefined pixels in such memory; null when there is too little.
QImage largeImage(QSize size, QImage::Format format);

} // namespace photo
