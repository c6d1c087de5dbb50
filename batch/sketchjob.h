#pragma once

#include <QSize>

#include <string>

#include "batch/memorygate.h"
#include "batch/plan.h"

enum class Status { Done, Planned, Skipped, Failed };

// How one photo ended.
struct PhotoResult
{
    Status status = Status::Failed;
    std::string reason; // for Skipped and Failed
    QSize size; // of the sketch, once known
    qint64 milliseconds = 0;
};

// Sketches one photo, as planned, into its output. Never throws. Thread-safe.
PhotoResult sketchPhoto(const PlannedPhoto &photo, const Options &options, MemoryGate &memory);
