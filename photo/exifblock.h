#pragma once

#include <QIODevice>

#include "photo/exifdirectories.h"
#include "photo/photoformat.h"

namespace photo {

// What a file has of EXIF data: a TIFF structure, and what it consists of, whose
// entries point into it. The structure's own directories are those of its file.
struct FoundExif
{
    ExifBlock block;
    ExifDirectories directories;
    // Whether a maker's note had to be left, because it cannot lie where it did.
    bool lostMakerNote = false;
};

// Reads it from a photo's file, whose pixels are passed over. The memory that it
// takes is a small multiple of the bytes that the EXIF data have in the file.
// Empty where there are none. Throws ExifError for data that cannot be read.
FoundExif findExif(QIODevice &device, PhotoFormat format);

} // namespace photo
