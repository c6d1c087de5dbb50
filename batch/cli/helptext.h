#pragma once

#include <string>

namespace batch {

inline constexpr char programName[] = "crayvell-batch";

// Texts made from the option table.
std::string helpText(); // for --help: fits a screen of 80 x 24
std::string manualPage(const std::string &version); // in the man macros
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

} // namespace batch
