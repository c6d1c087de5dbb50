#include "batch/atomicfile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "batch/outputerrors.h"
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

bool isLink(const std::string &path)
{
    std::error_code error;
    return fs::is_symlink(path, error);
}

std::string targetOf(const std::string &path)
{
    std::error_code error;
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

// Of a call that the file system does not know, or does not know in this way.
bool isUnsupported(int error)
{
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM;
}

// The way to an open file that has no name. Takes no memory.
std::array<char, 32> descriptorPath(int descriptor)
{
    std::array<char, 32> path;
    std::snprintf(path.data(), path.size(), "/proc/self/fd/%d", descriptor);
    return path;
}

std::string unusedName()
{
    static thread_local std::mt19937_64 random {std::random_device {}()};
    char name[40];
    std::snprintf(name, sizeof name, ".crayvell-%016llx",
                  static_cast<unsigned long long>(random()));
    return name;
}

} // namespace

AtomicFile::Descriptor::~Descriptor()
{
    release();
}

bool AtomicFile::Descriptor::release()
{
    return number < 0 || close(std::exchange(number, -1)) == 0;
}

AtomicFile::AtomicFile(const std::string &path)
    : m_path(path)
    , m_isLink(isLink(path))
{
    const std::string target = m_isLink ? targetOf(path) : path;
    const std::size_t slash = target.rfind('/');
    m_name = slash == std::string::npos ? target : target.substr(slash + 1);
    openFolder(slash == std::string::npos ? "."
                                          : target.substr(0, std::max<std::size_t>(slash, 1)));
    m_file.number = openat(m_folder.number, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, ordinaryMode);
    // Network and older file systems, and a machine without /proc, cannot.
    if (m_file.number >= 0 && access(descriptorPath(m_file.number).data(), F_OK) == 0)
        return;
    m_file.release();
    openNamed();
}

AtomicFile::~AtomicFile()
{
    if (m_temporary.empty())
        return;
    Temporaries &temporaries = Temporaries::instance();
    temporaries.during([&] {
        unlinkat(m_folder.number, m_temporary.c_str(), 0);
        temporaries.drop(m_folder.number, m_temporary);
    });
}

void AtomicFile::openFolder(const std::string &folder)
{
    if (folder != ".")
        makeFolder(folder);
    m_folder.number = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (m_folder.number < 0)
        fail("cannot write to the folder of the output");
}

void AtomicFile::openNamed()
{
    Temporaries::instance().during([&] {
        for (int i = 0; i < attempts && m_file.number < 0; ++i) {
            m_temporary = newTemporary();
            m_file.number = openat(m_folder.number, m_temporary.c_str(),
                                   O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, ordinaryMode);
            if (m_file.number >= 0)
                return;
            const int error = errno;
            forgetTemporary();
            if (error != EEXIST)
                fail("cannot write to the folder of the output", error);
        }
        fail("cannot write to the folder of the output", EEXIST);
    });
}

void AtomicFile::write(const unsigned char *bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(m_file.number, bytes, count);
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
    if (futimens(m_file.number, times) != 0)
        fail("cannot keep the photo's time");
}

void AtomicFile::synchronise()
{
    if (fsync(m_file.number) != 0)
        fail("cannot write the output");
}

bool AtomicFile::isThere(const KnownFile &file, struct stat &status) const
{
    if (fstatat(m_folder.number, m_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            fail("cannot replace the output");
        return false;
    }
    if (!file.is(status, m_isLink))
        throw OutputChanged();
    return true;
}

void AtomicFile::publish(const std::optional<KnownFile> &replaced)
{
    struct stat status
    {
    };
    if (replaced && isThere(*replaced, status)
        && fchmod(m_file.number, status.st_mode & 07777) != 0)
        fail("cannot keep the permissions of the output");
    // A network file system may tell only now that it is full. A file without a
    // name would end here.
    if (!m_temporary.empty() && !m_file.release())
        fail("cannot write the output");
    Temporaries::instance().during([&] {
        if (replaced && isThere(*replaced, status))
            replace();
        else
            publishNew();
    });
}

bool AtomicFile::linkTo(const std::string &name) const noexcept
{
    if (!m_temporary.empty())
        return linkat(m_folder.number, m_temporary.c_str(), m_folder.number, name.c_str(), 0) == 0;
    return linkat(AT_FDCWD, descriptorPath(m_file.number).data(), m_folder.number, name.c_str(),
                  AT_SYMLINK_FOLLOW)
        == 0;
}

// From one name within the folder to another, whatever had that.
bool AtomicFile::renameTo(const std::string &name) const
{
    return renameat(m_folder.number, m_temporary.c_str(), m_folder.number, name.c_str()) == 0;
}

void AtomicFile::replace()
{
    // A link cannot replace a name, a renaming can.
    if (m_temporary.empty())
        nameIt();
    // A renaming replaces the name, not what a link of that name leads to.
    if (!renameTo(m_name))
        fail("cannot replace the output");
    forgetTemporary();
}

// A name that nobody has. It counts as one of an unfinished file before there is one:
// whatever fails from then on, memory too, leaves no file behind that nobody knows of.
std::string AtomicFile::newTemporary() const
{
    std::string name = unusedName();
    Temporaries::instance().add(m_folder.number, name);
    return name;
}

void AtomicFile::nameIt()
{
    for (int i = 0; m_temporary.empty(); ++i) {
        std::string name = newTemporary();
        if (linkTo(name)) {
            m_temporary = std::move(name);
            return;
        }
        const int error = errno;
        Temporaries::instance().drop(m_folder.number, name);
        if (error != EEXIST || i == attempts)
            fail("cannot write the output", error);
    }
}

void AtomicFile::forgetTemporary() noexcept
{
    Temporaries::instance().drop(m_folder.number, m_temporary);
    m_temporary.clear();
}

void AtomicFile::publishNew()
{
    if (m_temporary.empty()) {
        if (!linkTo(m_name))
            failNew();
        return;
    }
    if (renameat2(m_folder.number, m_temporary.c_str(), m_folder.number, m_name.c_str(),
                  RENAME_NOREPLACE)
        != 0) {
        if (!isUnsupported(errno))
            failNew();
        linkNew();
    }
    forgetTemporary();
}

// Where the file system has no renaming that spares what is there, a link never
// replaces either.
void AtomicFile::linkNew()
{
    if (linkTo(m_name))
        unlinkat(m_folder.number, m_temporary.c_str(), 0);
    else if (isUnsupported(errno))
        claimNew();
    else
        failNew();
}

// The last way, on file systems without links: an empty file takes the name,
// which only one can do, and is replaced at once.
void AtomicFile::claimNew()
{
    const Descriptor claim {
        openat(m_folder.number, m_name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600)};
    if (claim.number < 0)
        failNew();
    if (renameTo(m_name))
        return;
    const int error = errno;
    unlinkat(m_folder.number, m_name.c_str(), 0);
    fail("cannot write the output", error);
}

void AtomicFile::failNew() const
{
    if (errno == EEXIST)
        throw OutputExists(m_path);
    fail("cannot write the output");
}

} // namespace batch
