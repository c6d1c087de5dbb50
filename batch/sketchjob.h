#pragma once

#include "batch/cli/photoresult.h"
#include "batch/idlethreads.h"
#include "batch/memorygate.h"
#include "batch/plan.h"

namespace batch {

// Sketches one photo, as planned, into its output, with the help of a thread that is
// idle meanwhile. Never throws. Thread-safe.
PhotoResult sketchPhoto(const PlannedPhoto &photo, const Options &options, MemoryGate &memory,
                        IdleThreads &threads);

} // namespace batch
