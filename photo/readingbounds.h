#pragma once

#include <QIODevice>

#include "photo/jpegsegments.h"
#include "photo/photoformat.h"

namespace photo {

// Refuses a file that would fill the memory or keep a processor busy by something
// else than its pixels, before anything of it is unpacked. The device must stand at
// the file's beginning and is put back there. Throws PhotoError.
void checkReadingBounds(QIODevice &device, PhotoFormat format, JpegReach reach);

} // namespace photo
