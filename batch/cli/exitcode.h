#pragma once

namespace batch {

// What the program tells its caller.
enum class ExitCode {
    AllDone = 0,
    SomeFailed = 1,
    WrongUsage = 2, // nothing was written
};

// Ended by a signal, as a shell counts it: 130 for SIGINT, 143 for SIGTERM.
constexpr int signalExitCode(int signal)
{
    return 128 + signal;
}

} // namespace batch
