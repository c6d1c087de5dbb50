#pragma once

#include <cstddef>
#include <string>

namespace batch {

// How a run ended, for those who did not watch it.
struct RunOutcome
{
    std::size_t done = 0;
    std::size_t skipped = 0;
    std::size_t failed = 0;
    std::string firstFailure; // as one line of text, with the photo's name
};

} // namespace batch
