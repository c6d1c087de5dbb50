#include "tests/support/forkserver.h"

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace forkserver {

namespace {

constexpr std::size_t mostBytes = 8192;
char request[mostBytes]; // outlives main(): the environment points into it

bool readRequest()
{
    std::size_t size = 0;
    while (size < 2 || request[size - 1] || request[size - 2]) {
        const ssize_t got = read(STDIN_FILENO, request + size, mostBytes - size);
        if (got <= 0)
            return false;
        size += static_cast<std::size_t>(got);
    }
    return true;
}

void becomeTheProgram()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a program that hangs ends with who waits for it
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    close(nothing);
    for (char *entry = request + std::strlen(request) + 1; *entry; entry += std::strlen(entry) + 1)
        putenv(entry);
}

void report(int status)
{
    dprintf(STDOUT_FILENO, "%s%d\n", request, status);
    dprintf(STDERR_FILENO, "%s%d\n", request, status);
}

} // namespace

void serve()
{
    while (readRequest()) {
        const pid_t child = fork();
        if (child == 0)
            return becomeTheProgram();
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child)
            break;
        report(status);
    }
    _exit(0);
}

} // namespace forkserver
