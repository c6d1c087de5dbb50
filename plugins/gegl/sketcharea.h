#pragma once

#include <gegl.h>

namespace plugins {

// A picture in GEGL's terms: where it is, and how its pixels are to be read.
struct Picture
{
    GeglRectangle extent;
    bool isGrey; // one channel; else red, green and blue
    const Babl *space; // that its values are of; null: as they come
};

struct Levels
{
    int black; // 0 to 255; they may cross
    int white;
};

// What the pixels of a picture are read and written as: 8 bits a channel, encoded as they
// are stored.
const Babl *storedFormat(const Picture &picture);
const Babl *sketchFormat(const Picture &picture);

// Writes the sketch of one part of a picture, opaque, whatever parts the picture is cut
// into: the border of two pixels that is white paper is the picture's.
//
// input   has at least what lies within two pixels of the part and in the picture.
// output  receives the part, in sketchFormat().
// part    within the picture; may be empty.
//
// No shared state. Throws std::bad_alloc.
void sketchPart(GeglBuffer *input, GeglBuffer *output, const Picture &picture,
                const GeglRectangle &part, const Levels &levels);

} // namespace plugins
