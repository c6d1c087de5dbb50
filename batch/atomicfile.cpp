#include "batch/atomicfile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "batch/temporaries.h"

namespace batch {

namespace {

namespace fs = std::filesystem;

constexpr mode_t ordinaryMode = 0666; // less the umask
constexpr int attempts = 100; // at a name that nobody has

[[noreturn]] void fail(const char *what, int error = errno)
{
    throw photo::PhotoError(std::string(what) + ": " + std::strerror(error));
}

std::string targetOf(const std::string &path)
{
    std::error_code error;
    if (!fs::is_symlink(path, error))
        return path;
    const fs::path target = fs::canonical(path, error);
    if (error)
        throw photo::PhotoError("the output is a link that leads nowhere");
    return target.native();
}

void makeFolder(const std::string &folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        throw photo::PhotoError("cannot make the folder " + folder + ": " + error.message());
}

// The way to an open file that has no name.
std::string descriptorPath(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace

AtomicFile::AtomicFile(const std::string &path)
    : m_path(targetOf(path))
    , m_folder(fs::absolute(m_path).parent_path().native())
{
    makeFolder(m_folder);
    m_descriptor = open(m_folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, ordinaryMode);
    // Network and older file systems, and a machine without /proc, cannot.
    if (m_descriptor >= 0 && access(descriptorPath(m_descriptor).c_str(), F_OK) == 0)
        return;
    if (m_descriptor >= 0)
        close(std::exchange(m_descriptor, -1));
    openNamed();
}

AtomicFile::~AtomicFile()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
    if (m_temporary.empty())
        return;
    Temporaries &temporaries = Temporaries::instance();
    temporaries.during([&] {
        unlink(m_temporary.c_str());
        temporaries.drop(m_temporary);
    });
}

std::string AtomicFile::unusedName() const
{
    static thread_local std::mt19937_64 random {std::random_device {}()};
    char name[40];
    std::snprintf(name, sizeof name, "/.crayvell-%016llx",
                  static_cast<unsigned long long>(random()));
    return m_folder + name;
}

void AtomicFile::openNamed()
{
    Temporaries &temporaries = Temporaries::instance();
    temporaries.during([&] {
        for (int i = 0; i < attempts && m_descriptor < 0; ++i) {
            m_temporary = unusedName();
            m_descriptor =
                open(m_temporary.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, ordinaryMode);
            if (m_descriptor < 0 && errno != EEXIST)
                break;
        }
        if (m_descriptor >= 0)
            temporaries.add(m_temporary);
    });
    if (m_descriptor < 0)
        fail("cannot write to the folder of the output");
}

void AtomicFile::write(const unsigned char *bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(m_descriptor, bytes, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail("cannot write the output");
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

void AtomicFile::setTimes(const timespec &access, const timespec &modification)
{
    const timespec times[2] = {access, modification};
    if (futimens(m_descriptor, times) != 0)
        fail("cannot keep the photo's time");
}

void AtomicFile::synchronise()
{
    if (fsync(m_descriptor) != 0)
        fail("cannot write the output");
}

void AtomicFile::takeOverMode()
{
    struct stat old
    {
    };
    if (stat(m_path.c_str(), &old) != 0)
        return;
    if (!S_ISREG(old.st_mode))
        throw photo::PhotoError("the output is no regular file");
    if (fchmod(m_descriptor, old.st_mode & 07777) != 0)
        fail("cannot keep the permissions of the output");
}

void AtomicFile::publish(bool replace)
{
    if (replace)
        takeOverMode();
    Temporaries::instance().during([&] {
        if (m_temporary.empty())
            publishUnnamed(replace);
        else
            publishNamed(replace);
    });
}

void AtomicFile::publishUnnamed(bool replace)
{
    const std::string source = descriptorPath(m_descriptor);
    const auto linkTo = [&](const std::string &name) {
        return linkat(AT_FDCWD, source.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    if (linkTo(m_path))
        return;
    if (errno != EEXIST)
        fail("cannot write the output");
    if (!replace)
        throw OutputExists(m_path);
    // A link cannot replace a name, a renaming can.
    std::string between = unusedName();
    for (int i = 0; !linkTo(between); ++i, between = unusedName()) {
        if (errno != EEXIST || i == attempts)
            fail("cannot write the output");
    }
    if (rename(between.c_str(), m_path.c_str()) != 0) {
        const int error = errno;
        unlink(between.c_str());
        fail("cannot replace the output", error);
    }
}

void AtomicFile::publishNamed(bool replace)
{
    // A network file system may tell only now that it is full.
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (close(descriptor) != 0)
        fail("cannot write the output");
    if (replace) {
        if (rename(m_temporary.c_str(), m_path.c_str()) != 0)
            fail("cannot replace the output");
    } else {
        int failed =
            renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_path.c_str(), RENAME_NOREPLACE);
        // Where the file system has no such renaming, a link never replaces either.
        if (failed && errno == EINVAL) {
            failed = link(m_temporary.c_str(), m_path.c_str());
            if (!failed)
                unlink(m_temporary.c_str());
        }
        if (failed && errno == EEXIST)
            throw OutputExists(m_path);
        if (failed)
            fail("cannot write the output");
    }
    Temporaries::instance().drop(m_temporary);
    m_temporary.clear();
}

} // namespace batch
