#pragma once

#include <optional>
#include <span>
#include <string>

#include "batch/cli/options.h"

namespace batch {

// What an option's argument is, for completion.
enum class ArgumentKind { None, File, Folder, Choice, Other };

// One option. The command line, --help, the manual page and the shells'
// completions are all made from these entries.
struct OptionEntry
{
    char shortName; // 0: none
    const char *longName;
    const char *argument; // its name in texts; null: the option takes none
    ArgumentKind kind;
    const char *choices; // space-separated, for ArgumentKind::Choice
    bool isExplained; // in --help, which has no room for all; else only named there
    const char *brief; // for --help and completions
    const char *description; // for the manual page, whole sentences

    // Puts a value (null for an option without argument) into the options and
    // returns what is wrong with it, empty for nothing.
    std::string (*apply)(Options &options, const char *value);
};

std::span<const OptionEntry> optionTable();

// The format that a suffix without its dot names, in letters of either case.
std::optional<OutputFormat> formatOfName(const char *name);

} // namespace batch
