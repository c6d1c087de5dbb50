#pragma once

#include <functional>

namespace batch {

// From here on SIGINT and every other signal that would end the process, but for
// crashes and those that the caller ignores, end it at once, wherever its threads
// are: unfinished files are removed, then lastWords runs, then the process ends by
// that signal. Writing into a closed pipe or beyond a file-size
// limit becomes an ordinary error. False where the system has no thread for it;
// then the signals end the process as they do by themselves.
//
// To be called once, before any other thread starts: threads inherit the mask
// that leaves these signals to one of them.
bool watchSignals(const std::function<void()> &lastWords);

} // namespace batch
