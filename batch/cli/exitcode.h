#pragma once

namespace batch {

// What the program tells its caller.
enum class ExitCode {
    AllDone = 0,
    SomeFailed = 1,
    WrongUsage = 2, // nothing was written
};

// As a shell counts the end by a signal: 129 for SIGHUP, 130 for SIGINT, 143 for SIGTERM.
constexpr int signalExitCode(int signal)
{
    return 128 + signal;
}

} // namespace batch
