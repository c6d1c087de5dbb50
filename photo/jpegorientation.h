#pragma once

#include <QIODevice>
#include <QImageIOHandler>

namespace photo {

// What turns a JPEG's pixels upright, by the orientation tag of its EXIF data: the same
// as QImageReader::transformation(), for whose sake every image plug-in of the toolkit
// would be loaded. The device must stand at the file's beginning and is put back there.
QImageIOHandler::Transformations jpegOrientation(QIODevice &device);

} // namespace photo
