// Loaded into a program before the system's own library (LD_PRELOAD), it makes
// calls fail or things happen at a given moment. What it does is chosen by
// environment variables:
//
//   FAILING_CALLS     words out of: unnamed (files without a name), proc (what is
//                     below /proc), renameat2 (EINVAL), renameat2-missing (ENOSYS),
//                     link (EPERM), fstatat (EIO), opendir (EACCES, of a folder "shut"), thread=N
//                     (no thread after the first N), read=N (EIO at the N-th read from a photo,
//                     that is from a file of 100,000 bytes or more)
//   FAILED_CALLS      the file that gets the word of each, but for threads and reads
//   AT_CALL           fsync, read=N as above, or the end of a file's name that is
//                     opened for reading
//   RUN_AT_CALL       the shell command that runs at the first such call

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string_view variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

void note(std::string_view call)
{
    const std::string file(variable("FAILED_CALLS"));
    if (file.empty())
        return;
    const std::string line = std::string(call) + '\n';
    const auto descriptor = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, file.c_str(), O_CREAT | O_APPEND | O_WRONLY, 0666));
    syscall(SYS_write, descriptor, line.data(), line.size());
    syscall(SYS_close, descriptor);
}

bool fails(std::string_view call)
{
    const std::string words = " " + std::string(variable("FAILING_CALLS")) + " ";
    const bool is = words.find(" " + std::string(call) + " ") != std::string::npos;
    if (is)
        note(call);
    return is;
}

template <typename Function> Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// With errno set, for what is below /proc where that is hidden.
bool isHidden(const char *path)
{
    const bool is = std::string_view(path).starts_with("/proc/") && fails("proc");
    if (is)
        errno = ENOENT;
    return is;
}

void runOnce()
{
    static std::atomic<bool> hasRun = false;
    if (hasRun.exchange(true))
        return;
    const std::string command(variable("RUN_AT_CALL"));
    unsetenv("LD_PRELOAD"); // not in the command
    if (std::system(command.c_str()) != 0)
        _exit(99);
}

int numberBehind(std::string_view words, std::string_view name)
{
    const std::size_t at = words.find(name);
    return at == std::string_view::npos ? 0 : std::atoi(words.data() + at + name.size());
}

// Before a read. False where it is to fail.
bool allowReading(int descriptor)
{
    constexpr off_t smallestPhoto = 100'000;
    static std::atomic<int> reads = 0;
    struct stat status
    {
    };
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)
        || status.st_size < smallestPhoto)
        return true;
    const int read = ++reads;
    if (read == numberBehind(variable("AT_CALL"), "read="))
        runOnce();
    if (read != numberBehind(variable("FAILING_CALLS"), "read="))
        return true;
    errno = EIO;
    return false;
}

bool isUnnamed(int flags)
{
    return (flags & O_TMPFILE) == O_TMPFILE;
}

// Before any opening. False where it is to fail.
bool allowOpening(const char *path, int flags)
{
    const std::string_view moment = variable("AT_CALL");
    if (!moment.empty() && (flags & O_ACCMODE) == O_RDONLY && !(flags & (O_PATH | O_DIRECTORY))
        && std::string_view(path).ends_with(moment))
        runOnce();
    if (isHidden(path))
        return false;
    if (!isUnnamed(flags) || !fails("unnamed"))
        return true;
    errno = EOPNOTSUPP;
    return false;
}

mode_t modeIn(int flags, va_list arguments)
{
    return flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

#define REPLACE_OPEN(name) \
    int name(const char *path, int flags, ...) \
    { \
        va_list arguments; \
        va_start(arguments, flags); \
        const mode_t mode = modeIn(flags, arguments); \
        va_end(arguments); \
        return allowOpening(path, flags) \
            ? next<int(const char *, int, ...)>(#name)(path, flags, mode) \
            : -1; \
    }

#define REPLACE_OPENAT(name) \
    int name(int folder, const char *path, int flags, ...) \
    { \
        va_list arguments; \
        va_start(arguments, flags); \
        const mode_t mode = modeIn(flags, arguments); \
        va_end(arguments); \
        return allowOpening(path, flags) \
            ? next<int(int, const char *, int, ...)>(#name)(folder, path, flags, mode) \
            : -1; \
    }

REPLACE_OPEN(open)
REPLACE_OPEN(open64)
REPLACE_OPENAT(openat)
REPLACE_OPENAT(openat64)

int access(const char *path, int mode) noexcept
{
    return isHidden(path) ? -1 : next<int(const char *, int)>("access")(path, mode);
}

ssize_t read(int descriptor, void *bytes, std::size_t count)
{
    return allowReading(descriptor)
        ? next<ssize_t(int, void *, std::size_t)>("read")(descriptor, bytes, count)
        : -1;
}

#define REPLACE_PREAD(name) \
    ssize_t name(int descriptor, void *bytes, std::size_t count, off_t offset) \
    { \
        using Call = ssize_t(int, void *, std::size_t, off_t); \
        return allowReading(descriptor) ? next<Call>(#name)(descriptor, bytes, count, offset) \
                                        : -1; \
    }

REPLACE_PREAD(pread)
REPLACE_PREAD(pread64)

int fsync(int descriptor)
{
    if (variable("AT_CALL") == "fsync")
        runOnce();
    return next<int(int)>("fsync")(descriptor);
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    const bool isUnknown = fails("renameat2-missing");
    if (isUnknown || fails("renameat2")) {
        errno = isUnknown ? ENOSYS : EINVAL;
        return -1;
    }
    using Call = int(int, const char *, int, const char *, unsigned);
    return next<Call>("renameat2")(fromFolder, from, toFolder, to, flags);
}

int fstatat(int folder, const char *path, struct stat *status, int flags)
{
    if (fails("fstatat")) {
        errno = EIO;
        return -1;
    }
    using Call = int(int, const char *, struct stat *, int);
    return next<Call>("fstatat")(folder, path, status, flags);
}

int link(const char *from, const char *to)
{
    if (fails("link")) {
        errno = EPERM;
        return -1;
    }
    return next<int(const char *, const char *)>("link")(from, to);
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    if (isHidden(from))
        return -1;
    if (fails("link")) {
        errno = EPERM;
        return -1;
    }
    using Call = int(int, const char *, int, const char *, int);
    return next<Call>("linkat")(fromFolder, from, toFolder, to, flags);
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*function)(void *),
                   void *argument)
{
    static std::atomic<int> started = 0;
    const std::string_view words = variable("FAILING_CALLS");
    if (const std::size_t at = words.find("thread="); at != std::string_view::npos) {
        if (started++ >= std::atoi(words.data() + at + 7))
            return EAGAIN;
    }
    using Call = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    return next<Call>("pthread_create")(thread, attributes, function, argument);
}

DIR *opendir(const char *name)
{
    if (std::string_view(name).ends_with("/shut") && fails("opendir")) {
        errno = EACCES;
        return nullptr;
    }
    return next<DIR *(const char *)>("opendir")(name);
}

} // extern "C"
