#include "batch/toolkit.h"

#include <QLoggingCategory>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <new>
#include <string>
#include <string_view>
#include <unistd.h>

#include "batch/cli/exitcode.h"
#include "batch/cli/standardstreams.h"
#include "batch/temporaries.h"

namespace batch {

namespace {

constexpr int crashes[] = {SIGSEGV, SIGBUS, SIGABRT};
struct sigaction formerActions[std::size(crashes)];

[[noreturn]] void endWith(std::string_view line)
{
    Temporaries::instance().abandon();
    writeFully(messageDescriptor(), line.data(), line.size());
    _exit(static_cast<int>(ExitCode::SomeFailed));
}

// The image readers' own warnings name no file; what matters becomes a failure. What the
// toolkit cannot do without, a pipe for a thread say, is its reason to end the program.
void handleMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtFatalMsg)
        endWith("crayvell-batch: " + message.toStdString() + '\n');
}

[[noreturn]] void endWithoutMemory()
{
    endWith("crayvell-batch: needs more memory than there is\n");
}

// Libraries go on with the memory that they did not get: Qt 6.4 in what it makes for a
// thread or to load a reader, libtiff 4.5 in its directories. Any other crash is one, and
// is left to who heard of it before.
void endCrashed(int number, siginfo_t *cause, void *)
{
    const bool isSent = cause->si_code == SI_USER || cause->si_code == SI_QUEUE;
    if (!isSent && errno == ENOMEM)
        endWithoutMemory();
    for (std::size_t i = 0; i < std::size(crashes); ++i) {
        if (crashes[i] == number)
            sigaction(number, &formerActions[i], nullptr);
    }
    const bool happensAgain = cause->si_code > 0;
    if (!happensAgain)
        raise(number);
}

void hearCrashes()
{
    struct sigaction action
    {
    };
    action.sa_sigaction = endCrashed;
    action.sa_flags = SA_SIGINFO;
    for (std::size_t i = 0; i < std::size(crashes); ++i)
        sigaction(crashes[i], &action, &formerActions[i]);
}

// The toolkit takes memory in functions that promise to throw nothing.
[[noreturn]] void endUncaught()
{
    try {
        if (const std::exception_ptr uncaught = std::current_exception())
            std::rethrow_exception(uncaught);
    } catch (const std::bad_alloc &) {
        endWithoutMemory();
    } catch (...) {
    }
    std::abort();
}

} // namespace

void prepareToolkit()
{
    setenv("QT_NO_GLIB", "1", 1); // an event loop that nobody here waits in, and ends
                                  // the program without memory
    qInstallMessageHandler(handleMessage);
    Temporaries::instance(); // not for the first time when memory has run out
    std::set_terminate(endUncaught);

    hearCrashes();
    QThread::currentThread(); // before anything else of the toolkit asks for them
    // Begun by a warning at the program's very end, it would wait for ever for what has
    // been taken down already.
    QLoggingCategory::defaultCategory();
}

bool enterToolkit() noexcept
{
    try {
        QThread::currentThread();
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace batch
