#pragma once

#include <QByteArray>
#include <QImage>

// A JPEG file in memory, at best quality, with an EXIF orientation tag (1 to 8)
// where one is given.
QByteArray jpegFile(const QImage &image, int orientation = 0);
