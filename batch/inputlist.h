#pragma once

#include <string>
#include <vector>

#include "batch/cli/options.h"

namespace batch {

// A photo to sketch, found but not yet opened.
struct InputPhoto
{
    std::string path; // as the user would name it; "-" for standard input
    std::string relative; // its place below the output folder
    std::string problem; // why it cannot be read; empty for nothing known
};

struct InputList
{
    std::vector<InputPhoto> photos;
    std::vector<std::string> leftOut; // files of folders that are no photos
};

// The photos that the options name, folders and the list resolved, in the order
// given and within a folder by name. Throws UsageError.
InputList collectInputs(const Options &options);

} // namespace batch
