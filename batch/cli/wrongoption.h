#pragma once

#include <string>

#include "batch/cli/optiontable.h"

namespace batch {

// Why an argument is no option, in one line, and what may have been meant by it: the
// option of the nearest name, or a photo whose name begins like an option.

// A long one, as in "--qualty=90": unknown, or the beginning of several.
std::string unknownName(const std::string &argument);
// A letter of an argument that may hold several, as in "-rx".
std::string unknownLetter(char letter, const std::string &argument);
// As in "--version=1".
std::string takesNoValue(const std::string &argument, const OptionEntry &entry);

} // namespace batch
