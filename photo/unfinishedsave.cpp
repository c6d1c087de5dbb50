#include "photo/unfinishedsave.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace photo {

namespace {

// Where the toolkit makes a new file that is to get the name, or what a link of it leads to.
QByteArray folderOf(const QString &fileName)
{
    const QFileInfo file(fileName);
    return QFile::encodeName(file.exists() ? file.canonicalPath() : file.absolutePath());
}

} // namespace

UnfinishedSave::UnfinishedSave(const QSaveFile &file, const QString &fileName)
    : m_finalName(QFile::encodeName(fileName))
{
    if (fstat(file.handle(), &m_status) != 0)
        return;
    findFolder(file.handle());
    if (m_folder < 0)
        openFolder(folderOf(fileName).constData());
}

UnfinishedSave::~UnfinishedSave()
{
    if (m_folder >= 0)
        close(m_folder);
}

// Also of a file without a name, which has only been one of its folder's.
void UnfinishedSave::findFolder(int descriptor)
{
    std::array<char, 32> link;
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", descriptor);
    const ssize_t length = readlink(link.data(), m_path.data(), m_path.size() - 1);
    char *const slash = length > 0 ? std::strrchr(m_path.data(), '/') : nullptr;
    if (!slash)
        return;
    m_name = slash + 1;
    *slash = '\0';
    openFolder(slash == m_path.data() ? "/" : m_path.data());
}

void UnfinishedSave::openFolder(const char *folder)
{
    m_folder = open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC);
}

bool UnfinishedSave::isIt(const struct stat &status) const noexcept
{
    return status.st_dev == m_status.st_dev && status.st_ino == m_status.st_ino;
}

void UnfinishedSave::removeName(const char *name) const noexcept
{
    struct stat status
    {
    };
    if (fstatat(m_folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && isIt(status))
        unlinkat(m_folder, name, 0);
}

void UnfinishedSave::remove() const noexcept
{
    struct stat published
    {
    };
    if (m_folder < 0 || (stat(m_finalName.constData(), &published) == 0 && isIt(published)))
        return;
    removeName(m_name);
    const int listing = openat(m_folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // readdir() would take memory.
    alignas(dirent64) std::array<char, 4096> entries;
    ssize_t bytes = 0;
    while ((bytes = getdents64(listing, entries.data(), entries.size())) > 0) {
        for (ssize_t at = 0; at < bytes;) {
            const auto *entry = reinterpret_cast<const dirent64 *>(entries.data() + at);
            removeName(entry->d_name);
            at += entry->d_reclen;
        }
    }
    if (listing >= 0)
        close(listing);
}

} // namespace photo
