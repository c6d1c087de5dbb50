#include "batch/toolkit.h"

#include <QLoggingCategory>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>
#include <unistd.h>

#include "batch/cli/exitcode.h"
#include "batch/cli/standardstreams.h"
#include "batch/temporaries.h"

namespace batch {

namespace {

// The image readers' own warnings name no file; what matters becomes a failure.
void dropMessage(QtMsgType, const QMessageLogContext &, const QString &)
{
}

thread_local volatile std::sig_atomic_t isEntering = 0;
struct sigaction formerAction
{
};

[[noreturn]] void endWithoutMemory()
{
    constexpr std::string_view line = "crayvell-batch: needs more memory than there is\n";
    Temporaries::instance().abandon();
    writeFully(messageDescriptor(), line.data(), line.size());
    _exit(static_cast<int>(ExitCode::SomeFailed));
}

// Qt 6.4 goes through a null pointer while it makes a thread's data without memory. Any
// other crash is one, and is left to who heard of it before.
void endEntering(int)
{
    if (isEntering)
        endWithoutMemory();
    sigaction(SIGSEGV, &formerAction, nullptr); // and the faulty access happens again
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

void makeThreadData()
{
    isEntering = 1;
    try {
        QThread::currentThread();
    } catch (...) {
        isEntering = 0;
        throw;
    }
    isEntering = 0;
}

} // namespace

void prepareToolkit()
{
    setenv("QT_NO_GLIB", "1", 1); // an event loop that nobody here waits in, and ends
                                  // the program without memory
    qInstallMessageHandler(dropMessage);
    Temporaries::instance(); // not for the first time when memory has run out
    std::set_terminate(endUncaught);

    struct sigaction action
    {
    };
    action.sa_handler = endEntering;
    sigaction(SIGSEGV, &action, &formerAction);
    makeThreadData(); // before anything else of the toolkit asks for them
    // Begun by a warning at the program's very end, it would wait for ever for what has
    // been taken down already.
    QLoggingCategory::defaultCategory();
}

bool enterToolkit() noexcept
{
    try {
        makeThreadData();
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace batch
