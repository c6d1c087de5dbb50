#pragma once

#include <QImage>

namespace photo {

// What the bytes of a picture without transparency hold where another format has
// its alpha.
enum class UnusedAlpha {
    Undefined,
    Opaque, // 255 everywhere
};

// A picture in Format_Grayscale8 of the same size in the last part of the memory of
// one in Format_ARGB32, to be decoded into and then given to toArgb32() with it.
// Valid as long as the other one is neither copied nor written to nor destroyed.
QImage greyWithin(QImage &colours);

// The same picture in Format_ARGB32 with all that belongs to it: resolution, texts,
// colour space, offset and device pixel ratio. The pixels are those of
// QImage::convertTo(), which would go over a picture of 32 bits without need where
// its alpha is known to be opaque, and takes several times as long for a grey one.
// A picture from greyWithin(colours) is turned into colours itself; any other leaves
// that aside. Null where the picture is, and where there is too little memory.
QImage toArgb32(QImage picture, UnusedAlpha alpha, QImage colours = {});

// All that a copy has beside the pixels.
void copyMetadata(const QImage &from, QImage &to);

} // namespace photo
