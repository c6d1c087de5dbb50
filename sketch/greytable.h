#pragma once

#include <array>
#include <cstddef>

namespace sketch {

// The grey level, 0 to 255, of every edge value: entry e holds the level that a
// sketch shows where the edge buffer has e.
using GreyTable = std::array<unsigned char, 256>;

// The table for a black and a white level, 0 to 255 each. Its greys are those
// of updatePenLevels(), whose pixels have three equal channels.
GreyTable greyTable(int low, int high);

// Renders edge values as one-channel greys.
//
// edges  pixels bytes, as inverterodesketch() makes them.
// grey   receives pixels bytes, 0 for black ink, 255 for white paper; may be
//        the edges themselves, must not overlap them otherwise.
//
// One thread, no shared state, fails at nothing.
void renderGrey(const unsigned char *edges, unsigned char *grey, std::size_t pixels,
                const GreyTable &table);

} // namespace sketch
