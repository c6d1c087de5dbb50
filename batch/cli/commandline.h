#pragma once

#include <stdexcept>

#include "batch/cli/options.h"

namespace batch {

// The command line makes no sense; what() says why, in one line.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Reads and checks the arguments of main(). Throws UsageError. With help or
// version set, nothing else is checked.
Options parseCommandLine(int argc, char **argv);

// The format that a file name's suffix names; empty where it names none.
std::optional<OutputFormat> formatOfSuffix(const std::string &fileName);

// The suffix for a format, with its dot.
const char *suffixOf(OutputFormat format);

} // namespace batch
