#pragma once

#include <functional>

#include "batch/idlethreads.h"
#include "photo/decode/photodecoder.h"
#include "sketch/greytable.h"

namespace batch {

// Receives rows of one-channel greys, without padding, from the top downwards.
using GreyRows = std::function<void(const uchar *grey, int rows)>;

// Sketches a photo band by band: for every pixel the level that
// inverterodesketch() and updatePenLevels() give for the photo as a whole. As soon
// as a thread is idle, that one decodes ahead. Throws what the decoder and the
// receiver throw.
void sketchRows(photo::PhotoDecoder &photo, const sketch::GreyTable &table, IdleThreads &threads,
                const GreyRows &receive);

// Bytes that sketchRows() takes besides the decoder; more where there may be idle
// threads.
qint64 sketchRowsNeed(int width, bool mayDecodeAhead);

} // namespace batch
