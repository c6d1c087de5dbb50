#include "photo/unfinishedsave.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace photo {

namespace {

// Of an open file, also of one without a name. Negative where nothing tells.
int folderOf(int descriptor)
{
    std::array<char, 32> link;
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", descriptor);
    std::array<char, PATH_MAX> path;
    const ssize_t length = readlink(link.data(), path.data(), path.size() - 1);
    if (length <= 0)
        return -1;
    const std::string_view found(path.data(), static_cast<std::size_t>(length));
    const std::size_t slash = found.rfind('/');
    if (slash == std::string_view::npos)
        return -1;
    path[std::max<std::size_t>(slash, 1)] = '\0';
    return open(path.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

} // namespace

UnfinishedSave::UnfinishedSave(const QSaveFile &file, const QString &fileName)
    // A symbolic link stands for the file that it leads to.
    : m_finalName(QFile::encodeName(QFileInfo(QFileInfo(fileName).canonicalFilePath()).fileName()))
{
    if (m_finalName.isEmpty())
        m_finalName = QFile::encodeName(QFileInfo(fileName).fileName());
    m_beginning = m_finalName + '.';
    if (fstat(file.handle(), &m_status) == 0)
        m_folder = folderOf(file.handle());
}

UnfinishedSave::~UnfinishedSave()
{
    if (m_folder >= 0)
        close(m_folder);
}

bool UnfinishedSave::isTemporary(const char *name) const noexcept
{
    struct stat status
    {
    };
    return std::string_view(name).starts_with(m_beginning.constData())
        && fstatat(m_folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0
        && status.st_dev == m_status.st_dev && status.st_ino == m_status.st_ino;
}

// readdir() would take memory.
void UnfinishedSave::remove() const noexcept
{
    alignas(dirent64) std::array<char, 4096> entries;
    ssize_t bytes = 0;
    while ((bytes = getdents64(m_folder, entries.data(), entries.size())) > 0) {
        for (ssize_t at = 0; at < bytes;) {
            const auto *entry = reinterpret_cast<const dirent64 *>(entries.data() + at);
            if (isTemporary(entry->d_name))
                unlinkat(m_folder, entry->d_name, 0);
            at += entry->d_reclen;
        }
    }
}

} // namespace photo
