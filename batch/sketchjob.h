#pragma once

#include "batch/cli/photoresult.h"
#include "batch/memorygate.h"
#include "batch/plan.h"

namespace batch {

// Sketches one photo, as planned, into its output. Never throws. Thread-safe.
PhotoResult sketchPhoto(const PlannedPhoto &photo, const Options &options, MemoryGate &memory);

} // namespace batch
