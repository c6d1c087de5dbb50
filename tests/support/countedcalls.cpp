#include "tests/support/countedcalls.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/syscall.h>
#include <unistd.h>

namespace countedcalls {

namespace {

constexpr const char *kindNames[kinds] = {"open",      "write",     "fsync",  "linkat",
                                          "renameat2", "rename",    "unlink", "close",
                                          "fallocate", "ftruncate", "mmap",   "malloc"};

constexpr const char *refusedNames[] = {"unnamed", "renameat2", "linkat", "fallocate", "proc"};

struct Error
{
    const char *name;
    int number;
};
constexpr int killed = -2;
constexpr int crashed = -3;
constexpr int starved = -4;
constexpr Error errors[] = {{"ENOSPC", ENOSPC},    {"EIO", EIO},       {"EINTR", EINTR},
                            {"EMFILE", EMFILE},    {"ENOMEM", ENOMEM}, {"EOPNOTSUPP", EOPNOTSUPP},
                            {"short", shortWrite}, {"killed", killed}, {"crashed", crashed},
                            {"starved", starved}};

struct Setting
{
    int kind = kinds; // none
    long number = 0;
    bool persists = false;
    int error = 0;
};

std::atomic<bool> isCounting = false;
std::atomic<long> counts[kinds];
std::atomic<long> refusals[std::size(refusedNames)];
Setting setting;

__attribute__((destructor)) void writeCounts()
{
    isCounting = false;
    const char *const file = variable("NTH_CALL_COUNTS");
    if (!*file)
        return;
    const auto descriptor =
        static_cast<int>(syscall(SYS_openat, AT_FDCWD, file, O_CREAT | O_TRUNC | O_WRONLY, 0666));
    for (int i = 0; i < kinds; ++i)
        dprintf(descriptor, "%s %ld\n", kindNames[i], counts[i].load());
    for (std::size_t i = 0; i < std::size(refusedNames); ++i)
        dprintf(descriptor, "refused-%s %ld\n", refusedNames[i], refusals[i].load());
    syscall(SYS_close, descriptor);
}

} // namespace

void count(bool isOn)
{
    isCounting = isOn;
}

const char *variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

bool isRefused(const char *word)
{
    if (!isCounting || !std::strstr(variable("NTH_CALL_REFUSED"), word))
        return false;
    for (std::size_t i = 0; i < std::size(refusedNames); ++i)
        refusals[i] += std::strcmp(refusedNames[i], word) == 0;
    return true;
}

void readSetting()
{
    char kind[16] = "";
    char error[16] = "";
    char number[16] = "";
    if (std::sscanf(variable("NTH_CALL"), "%15s %15s %15s", kind, number, error) != 3)
        return;
    setting.number = std::atol(number);
    setting.persists = std::strchr(number, '+') != nullptr;
    for (int i = 0; i < kinds; ++i) {
        if (std::strcmp(kind, kindNames[i]) == 0)
            setting.kind = i;
    }
    for (const Error &known : errors) {
        if (std::strcmp(error, known.name) == 0)
            setting.error = known.number;
    }
}

int errorOf(Kind kind)
{
    if (!isCounting.load(std::memory_order_relaxed))
        return 0;
    const long number = ++counts[kind];
    const bool isDue = kind == setting.kind
        && (number == setting.number || (setting.persists && number > setting.number));
    if (isDue && setting.error == killed)
        syscall(SYS_kill, getpid(), SIGKILL);
    if (isDue && (setting.error == crashed || setting.error == starved)) {
        errno = setting.error == starved ? ENOMEM : 0;
        *static_cast<volatile int *>(nullptr) = 0;
    }
    return isDue ? setting.error : 0;
}

bool fails(Kind kind)
{
    const int error = errorOf(kind);
    if (error > 0)
        errno = error;
    return error > 0;
}

} // namespace countedcalls
