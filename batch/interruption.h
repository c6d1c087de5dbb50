#pragma once

#include <functional>

namespace batch {

// From here on SIGINT, SIGTERM and, unless it was ignored, SIGHUP end the
// process at once, wherever its threads are: unfinished files are removed, then
// lastWords runs, then the process exits as signalExitCode() says. Writing into
// a closed pipe or beyond a file-size limit becomes an ordinary error.
//
// To be called once, before any other thread starts: threads inherit the mask
// that leaves these signals to one of them.
void watchSignals(const std::function<void()> &lastWords);

} // namespace batch
