#pragma once

#include "batch/inputlist.h"

namespace batch {

// Where the sketch of a photo goes; "-" for standard output.
std::string outputName(const InputPhoto &photo, const Options &options);

} // namespace batch
