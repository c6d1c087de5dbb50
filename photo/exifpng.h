#pragma once

#include <QIODevice>

#include "photo/exifdirectories.h"

namespace photo {

// The EXIF data of a PNG, from a chunk of their own or, as long as there was none,
// from a text with their digits; still with the introduction that some writers
// put before them. Empty where there are none. Throws ExifError.
ExifBlock findExifInPng(QIODevice &device);

// As many bytes as announced, from where the device stands. Throws ExifError for
// more than most, or than there are; no memory is taken for these.
ExifBlock readBlock(QIODevice &device, qint64 length, qint64 most = mostExifBytes);

} // namespace photo
