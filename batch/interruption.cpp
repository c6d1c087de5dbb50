#include "batch/interruption.h"

#include <csignal>
#include <pthread.h>
#include <thread>
#include <unistd.h>

#include "batch/cli/exitcode.h"
#include "batch/temporaries.h"

namespace batch {

namespace {

bool isIgnored(int signal)
{
    struct sigaction action
    {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    if (!isIgnored(SIGHUP)) // by nohup
        sigaddset(&signals, SIGHUP);
    return signals;
}

} // namespace

void watchSignals(const std::function<void()> &lastWords)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const sigset_t signals = endingSignals();
    // A shell without job control starts background commands with SIGINT
    // ignored; waiting for a blocked signal hears it all the same.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals, lastWords] {
        int signal = 0;
        sigwait(&signals, &signal);
        Temporaries::instance().abandon();
        lastWords();
        _exit(signalExitCode(signal));
    }).detach();
}

} // namespace batch
