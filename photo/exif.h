#pragma once

#include <QSize>

#include <string>
#include <vector>

#include "photo/photoinput.h"

namespace photo {

// A TIFF structure as EXIF files carry it, without any introduction; may be empty.
using ExifBlock = std::vector<unsigned char>;

struct SketchExif
{
    ExifBlock block;
    // What of the photo's data is not in the block although it is true of the
    // sketch, and why, in two parts with a colon between them; empty for nothing.
    std::string warning;
};

// The EXIF data of a photo as they are true of its sketch: without thumbnail,
// without what describes the layout of the photo's own file, and, where the
// sketch was turned upright, with the orientation and size that it has now.
// Empty when there are none, or none that can be read: they are no reason to
// fail. What would not fit into capacity bytes loses the maker's notes first.
// Only the photo's device is read, which stands afterwards where it did before.
SketchExif exifForSketch(PhotoInput &photo, QSize sketchSize, bool isUpright, std::size_t capacity);

} // namespace photo
