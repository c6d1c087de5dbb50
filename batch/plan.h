#pragma once

#include <optional>

#include "batch/inputlist.h"
#include "batch/knownfile.h"

namespace batch {

// What is to be done with one photo.
struct PlannedPhoto
{
    enum class Step {
        Sketch,
        Skip,
        Fail, // known before any work
        Conflict, // its output belongs to another photo, or is one
    };

    std::string input;
    std::string output;
    Step step = Step::Sketch;
    std::string reason; // for everything but Sketch
    std::optional<KnownFile> replaced; // an output that may be overwritten
};

// Finds the output of every photo and what is in its way, without writing
// anything.
std::vector<PlannedPhoto> planPhotos(const std::vector<InputPhoto> &inputs, const Options &options);

} // namespace batch
