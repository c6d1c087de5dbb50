#pragma once

#include <string>

#include "batch/cli/runoutcome.h"

namespace batch {

// Tells the outcome of a run by a notification of the desktop, which notify-send
// shows. Silent where that is not installed or fails, and ended where it takes more
// than a few seconds because the desktop does not answer.
void notifyOfOutcome(const RunOutcome &outcome);
// The same of a run that did not begin, with the reason in one line.
void notifyOfRefusal(const std::string &reason);

} // namespace batch
