#include "batch/interruption.h"

#include <csignal>
#include <pthread.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#include "batch/cli/exitcode.h"
#include "batch/temporaries.h"

namespace batch {

namespace {

// Those that end a process unless somebody says otherwise, and are no crash.
std::vector<int> endingSignals()
{
    std::vector<int> signals {SIGINT,  SIGHUP,  SIGQUIT, SIGTERM,   SIGUSR1, SIGUSR2,
                              SIGALRM, SIGXCPU, SIGPROF, SIGVTALRM, SIGIO};
#ifdef SIGPWR
    signals.push_back(SIGPWR);
#endif
#ifdef SIGSTKFLT
    signals.push_back(SIGSTKFLT);
#endif
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal)
        signals.push_back(signal);
    return signals;
}

// One that the caller ignores, as nohup does, or a shell without job control for what
// runs in its background, and one that a profiler has taken stay as they are.
bool hasDefault(int signal)
{
    struct sigaction action
    {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL;
}

sigset_t watchedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : endingSignals()) {
        if (hasDefault(signal))
            sigaddset(&signals, signal);
    }
    return signals;
}

// By the signal itself: a shell goes on with its loop after a command that exits by
// itself, whatever its exit code.
[[noreturn]] void endBy(int signal)
{
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    std::signal(signal, SIG_DFL); // a library may have another way just now
    std::raise(signal); // waits, being blocked
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    _exit(signalExitCode(signal)); // the first process of a container outlives it
}

} // namespace

bool watchSignals(const std::function<void()> &lastWords)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const sigset_t signals = watchedSignals();
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    try {
        std::thread([signals, lastWords] {
            int signal = 0;
            sigwait(&signals, &signal);
            Temporaries::instance().abandon();
            lastWords();
            endBy(signal);
        }).detach();
    } catch (const std::system_error &) {
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
        return false;
    }
    return true;
}

} // namespace batch
