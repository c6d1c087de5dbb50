#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <string>
#include <sys/types.h>

#include "batch/cli/options.h"
#include "batch/textstore.h"

namespace batch {

// A photo to sketch, found but not yet opened. The texts are the list's.
struct InputPhoto
{
    static constexpr int notRegular = -1;

    const char *path = ""; // as the user would name it; "-" for standard input
    const char *place = ""; // below the output folder
    int problem = 0; // an error of the system or notRegular; 0 for nothing known
};

// Which file a photo is.
struct InputFile
{
    dev_t device;
    ino_t inode;
    std::uint32_t index; // of the photo

    auto operator<=>(const InputFile &) const = default;
};

// Made for millions of photos.
struct InputList
{
    TextStore texts;
    std::deque<InputPhoto> photos;
    std::deque<InputFile> files; // of the photos that are there
    std::deque<const char *> leftOut; // files of folders that are no photos, for --verbose

    // What the list takes, and the plan while it is made from it, in bytes.
    qint64 memory() const;
};

// Why a photo cannot be read.
std::string problemText(int problem);

// The photos that the options name, folders and the list resolved, in the order
// given and within a folder by name. Throws UsageError, also where the list takes
// more than maximumMemory.
InputList collectInputs(const Options &options, qint64 maximumMemory);

} // namespace batch
