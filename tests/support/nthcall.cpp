// Loaded into a program before the system's own library (LD_PRELOAD), it counts the
// calls that a run makes, and makes the n-th of a kind fail. It takes no memory and
// uses the system's calls themselves, so that it changes nothing but what is asked for.
//
//   NTH_CALL          kind, number and error: "write 3 ENOSPC"; "write 3 short" takes
//                     half of the bytes; "write 3 killed" ends the program by SIGKILL
//                     before the call, "write 3 crashed" by SIGSEGV, "write 3 starved"
//                     too, as for want of memory; with a plus behind the number, "malloc
//                     7+ ENOMEM", all that follow fail too
//   NTH_CALL_COUNTS   the file that gets a line with kind and number of each kind of
//                     call when the program ends, and of each "refused-" and word
//   NTH_CALL_REFUSED  words out of: unnamed (files without a name), renameat2, linkat,
//                     fallocate, which the file system then does not know, at any time, and
//                     proc, for links there, which then lead nowhere
//   NTH_CALL_SERVER   if set, the program runs once for each request on standard input,
//                     which brings the other variables, see forkserver.h
//   NTH_CALL_MARKED   if set, calls count from startCountingCalls() to stopCountingCalls(), else
//                     from main() on

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/countedcalls.h"
#include "tests/support/forkserver.h"

extern "C" {
void *__libc_malloc(std::size_t bytes);
void *__libc_calloc(std::size_t count, std::size_t bytes);
void *__libc_realloc(void *memory, std::size_t bytes);
void *__libc_memalign(std::size_t alignment, std::size_t bytes);
}

using namespace countedcalls;

namespace {

int openFile(int folder, const char *path, int flags, va_list arguments)
{
    const bool mayMake = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = mayMake ? va_arg(arguments, mode_t) : 0;
    if (fails(Open))
        return -1;
    if ((flags & O_TMPFILE) == O_TMPFILE && isRefused("unnamed")) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

int renameFile(int fromFolder, const char *from, int toFolder, const char *to)
{
    return fails(Rename)
        ? -1
        : static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, 0));
}

int linkFile(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    if (fails(Linkat))
        return -1;
    if (isRefused("linkat")) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}

void *map(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset)
{
    if (fails(Mmap))
        return MAP_FAILED;
    return reinterpret_cast<void *>(
        syscall(SYS_mmap, address, bytes, protection, flags, file, offset));
}

// The system's own function of a name.
template <typename Function> Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

using Main = int(int, char **, char **);
Main *programsMain = nullptr;

void beginToCount()
{
    if (*variable("NTH_CALL_SERVER"))
        forkserver::serve();
    readSetting();
    count(true);
}

int countingMain(int argc, char **argv, char **environment)
{
    if (!*variable("NTH_CALL_MARKED"))
        beginToCount();
    return programsMain(argc, argv, environment);
}

} // namespace

extern "C" {

int __libc_start_main(Main *start, int argc, char **argv, void (*init)(), void (*fini)(),
                      void (*loaderFini)(), void *stackEnd)
{
    using Call = int(Main *, int, char **, void (*)(), void (*)(), void (*)(), void *);
    programsMain = start;
    return next<Call>("__libc_start_main")(countingMain, argc, argv, init, fini, loaderFini,
                                           stackEnd);
}

void startCountingCalls()
{
    beginToCount();
}

void stopCountingCalls()
{
    count(false);
}

#define REPLACE_OPEN(name) \
    int name(const char *path, int flags, ...) \
    { \
        va_list arguments; \
        va_start(arguments, flags); \
        const int descriptor = openFile(AT_FDCWD, path, flags, arguments); \
        va_end(arguments); \
        return descriptor; \
    }

#define REPLACE_OPENAT(name) \
    int name(int folder, const char *path, int flags, ...) \
    { \
        va_list arguments; \
        va_start(arguments, flags); \
        const int descriptor = openFile(folder, path, flags, arguments); \
        va_end(arguments); \
        return descriptor; \
    }

REPLACE_OPEN(open)
REPLACE_OPEN(open64)
REPLACE_OPENAT(openat)
REPLACE_OPENAT(openat64)

// These open within the system's own library.
DIR *opendir(const char *path)
{
    return fails(Open) ? nullptr : next<decltype(opendir)>("opendir")(path);
}

FILE *fopen(const char *path, const char *mode)
{
    return fails(Open) ? nullptr : next<decltype(fopen)>("fopen")(path, mode);
}

FILE *fopen64(const char *path, const char *mode)
{
    return fopen(path, mode);
}

ssize_t write(int descriptor, const void *bytes, std::size_t count)
{
    const int error = errorOf(Write);
    if (error > 0) {
        errno = error;
        return -1;
    }
    return syscall(SYS_write, descriptor, bytes,
                   error == shortWrite && count > 1 ? count / 2 : count);
}

int fsync(int descriptor)
{
    return fails(Fsync) ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

int fdatasync(int descriptor)
{
    return fails(Fsync) ? -1 : static_cast<int>(syscall(SYS_fdatasync, descriptor));
}

int link(const char *from, const char *to)
{
    return linkFile(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    return linkFile(fromFolder, from, toFolder, to, flags);
}

ssize_t readlink(const char *path, char *target, std::size_t bytes) noexcept
{
    if (std::strncmp(path, "/proc/", 6) == 0 && isRefused("proc")) {
        errno = ENOENT;
        return -1;
    }
    return syscall(SYS_readlink, path, target, bytes);
}

int rename(const char *from, const char *to)
{
    return renameFile(AT_FDCWD, from, AT_FDCWD, to);
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to)
{
    return renameFile(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    if (fails(Renameat2))
        return -1;
    if (isRefused("renameat2")) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int unlink(const char *path) noexcept
{
    return unlinkat(AT_FDCWD, path, 0);
}

int unlinkat(int folder, const char *path, int flags) noexcept
{
    return fails(Unlink) ? -1 : static_cast<int>(syscall(SYS_unlinkat, folder, path, flags));
}

int fallocate(int descriptor, int mode, off_t offset, off_t bytes)
{
    if (isRefused("fallocate")) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return fails(Fallocate)
        ? -1
        : static_cast<int>(syscall(SYS_fallocate, descriptor, mode, offset, bytes));
}

int fallocate64(int descriptor, int mode, off64_t offset, off64_t bytes)
{
    return fallocate(descriptor, mode, offset, bytes);
}

int ftruncate(int descriptor, off_t bytes) noexcept
{
    return fails(Ftruncate) ? -1 : static_cast<int>(syscall(SYS_ftruncate, descriptor, bytes));
}

int ftruncate64(int descriptor, off64_t bytes) noexcept
{
    return ftruncate(descriptor, bytes);
}

// As the system does it, the descriptor is closed even where that fails.
int close(int descriptor)
{
    const int error = errorOf(Close);
    const auto result = static_cast<int>(syscall(SYS_close, descriptor));
    if (error <= 0)
        return result;
    errno = error;
    return -1;
}

void *mmap(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset)
{
    return map(address, bytes, protection, flags, file, offset);
}

void *mmap64(void *address, std::size_t bytes, int protection, int flags, int file, off_t offset)
{
    return map(address, bytes, protection, flags, file, offset);
}

void *malloc(std::size_t bytes)
{
    return fails(Malloc) ? nullptr : __libc_malloc(bytes);
}

void *calloc(std::size_t count, std::size_t bytes)
{
    return fails(Malloc) ? nullptr : __libc_calloc(count, bytes);
}

void *realloc(void *memory, std::size_t bytes)
{
    return fails(Malloc) ? nullptr : __libc_realloc(memory, bytes);
}

void *memalign(std::size_t alignment, std::size_t bytes)
{
    return fails(Malloc) ? nullptr : __libc_memalign(alignment, bytes);
}

void *aligned_alloc(std::size_t alignment, std::size_t bytes)
{
    return memalign(alignment, bytes);
}

int posix_memalign(void **memory, std::size_t alignment, std::size_t bytes)
{
    *memory = memalign(alignment, bytes);
    return *memory ? 0 : ENOMEM;
}

} // extern "C"
