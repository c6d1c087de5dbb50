#pragma once

#include "batch/photoformat.h"

class QIODevice;

// Whether a file ends before its picture does, for the formats whose readers
// would not notice: BMP, GIF and WebP. Leaves the device where it was.
bool isCutShort(QIODevice &device, PhotoFormat format);
