#pragma once

#include <functional>

#include "photo/decode/photodecoder.h"
#include "sketch/greytable.h"

namespace batch {

// Rows that sketchRows() asks a decoder for at a time: few enough that they stay
// in the processor's cache, enough that the rows done twice hardly count.
constexpr int sketchBandRows = 32;

// Receives rows of one-channel greys, without padding, from the top downwards.
using GreyRows = std::function<void(const uchar *grey, int rows)>;

// Sketches a photo band by band: for every pixel the level that
// inverterodesketch() and updatePenLevels() give for the photo as a whole.
// Throws what the decoder and the receiver throw.
void sketchRows(photo::PhotoDecoder &photo, const sketch::GreyTable &table,
                const GreyRows &receive);

// Bytes that sketchRows() takes besides the decoder.
qint64 sketchRowsNeed(int width);

} // namespace batch
