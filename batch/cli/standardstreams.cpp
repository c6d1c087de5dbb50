#include "batch/cli/standardstreams.h"

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace batch {

namespace {

int messages = STDERR_FILENO;

bool waitFor(int descriptor, short event, int milliseconds)
{
    pollfd waiting {descriptor, event, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

// The wrong way round, so that using it fails as it does on a closed stream.
void plug(int descriptor)
{
    if (fcntl(descriptor, F_GETFD) != -1)
        return;
    const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    const int opened = open("/dev/null", mode);
    if (opened != descriptor && opened >= 0) {
        dup2(opened, descriptor);
        close(opened);
    }
}

} // namespace

void settleStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        plug(descriptor);
    const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (copy < 0 || nowhere < 0)
        return;
    messages = copy;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_report_fd(reinterpret_cast<void *>(static_cast<long>(copy)));
#endif
}

int messageDescriptor()
{
    return messages;
}

bool writeFully(int descriptor, const void *bytes, std::size_t count)
{
    const char *at = static_cast<const char *>(bytes);
    while (count > 0) {
        const ssize_t written = write(descriptor, at, count);
        if (written < 0 && errno == EAGAIN)
            waitFor(descriptor, POLLOUT, -1);
        else if (written < 0 && errno != EINTR)
            return false;
        at += written > 0 ? written : 0;
        count -= written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return true;
}

void writeIfRoom(int descriptor, const void *bytes, std::size_t count)
{
    constexpr int milliseconds = 200;
    if (waitFor(descriptor, POLLOUT, milliseconds)) [[maybe_unused]]
        const ssize_t written = write(descriptor, bytes, count);
}

void waitForInput(int descriptor)
{
    waitFor(descriptor, POLLIN, -1);
}

} // namespace batch
