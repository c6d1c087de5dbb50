#pragma once

#include "photo/photoformat.h"

class QIODevice;

namespace photo {

// Whether a file ends before its picture does, for the formats whose readers
// may not notice: PNG, BMP, GIF and WebP. Leaves the device at its beginning.
bool isCutShort(QIODevice &device, PhotoFormat format);

} // namespace photo
