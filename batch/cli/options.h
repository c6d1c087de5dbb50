#pragma once

#include <optional>
#include <string>
#include <vector>

#include <QtGlobal>

namespace batch {

enum class OutputFormat { Jpeg, Png };

constexpr int bestQuality = 100;

// What happens to an output that is there already.
enum class Existing {
    Fail, // the photo fails
    Overwrite,
    Skip, // the photo is left out
    RedoOlder, // replaced where it is older than its photo, else left out
};

// The command line, checked and with its defaults. File names are the bytes that
// the caller gave, in no particular encoding.
struct Options
{
    std::vector<std::string> photos; // files, folders, or "-" for standard input
    std::string photoList; // --files-from; empty: none
    bool nullSeparated = false;
    bool recursive = false;

    std::string output; // -o; empty: named after the photo
    std::string outputDirectory; // empty: beside the photo
    bool keepFolders = false;
    std::optional<OutputFormat> format; // empty: from the suffix of output, else JPEG
    std::optional<int> quality; // of a JPEG, 1 to 100; empty: the best
    int blackLevel = 0; // 0 to 255
    int whiteLevel = 255; // 0 to 255
    bool stripMetadata = false;
    bool preserveTime = false;
    bool synchronise = false;

    Existing existing = Existing::Fail;
    bool allowTruncated = false;
    qint64 maximumMemory = 0; // bytes; 0: a share of the machine's
    int jobs = 0; // 0: one for each processor

    bool dryRun = false;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
    bool notify = false;

    bool help = false;
    bool version = false;
};

} // namespace batch
