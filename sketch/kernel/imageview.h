#pragma once

#include <cstddef>
#include <cstdint>

namespace sketch {

// A picture in somebody else's memory: rows of 32-bit pixels 0xAARRGGBB in the
// machine's byte order, from the top downwards. A row begins stride bytes after the
// one above it; what lies between two rows is neither read nor written.
template <typename Byte> struct BasicImageView
{
    Byte *pixels;
    std::ptrdiff_t stride; // bytes, a multiple of 4, at least 4 * width
    int width; // pixels
    int height; // rows
};

using ImageView = BasicImageView<uint8_t>; // to be written to
using ConstImageView = BasicImageView<const uint8_t>;

} // namespace sketch
