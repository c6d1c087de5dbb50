#pragma once

#include <QIODevice>
#include <QImageReader>

#include "photo/photoformat.h"

// What is asked of the toolkit's image readers before they decode.
namespace photo {

// The size that a file announces; empty where it is damaged or its format does not
// tell beforehand. Costs no memory for the picture, whatever the file. The device is
// the reader's and stands at the file's beginning.
QSize announcedSize(QIODevice &device, PhotoFormat format, const QImageReader &reader);

// A picture for QImageReader::read() to decode into, all zero except for formats
// whose readers write every pixel: others leave out what a file skips or lacks, and
// would show what the memory held before. Null where the reader takes its own picture
// anyway, and where there is too little memory.
QImage pictureToDecodeInto(QSize size, PhotoFormat format, const QImageReader &reader);

} // namespace photo
