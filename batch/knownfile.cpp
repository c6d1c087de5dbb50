#include "batch/knownfile.h"

namespace batch {

KnownFile::KnownFile(const struct stat &status, bool wasLink)
    : m_device(status.st_dev)
    , m_inode(status.st_ino)
    , m_size(status.st_size)
    , m_change(status.st_ctim)
    , m_wasLink(wasLink)
{
}

bool KnownFile::is(const struct stat &status, bool isLink) const
{
    if (!S_ISREG(status.st_mode) || status.st_dev != m_device)
        return false;
    if (status.st_ino == m_inode)
        return true;
    // Some file systems, of memory cards for one, number a file anew when it was
    // not used for a while. The time of its last change tells it from a copy,
    // which can have its times of use, but not from all that a link may lead to.
    return !isLink && !m_wasLink && status.st_size == m_size
        && status.st_ctim.tv_sec == m_change.tv_sec && status.st_ctim.tv_nsec == m_change.tv_nsec;
}

} // namespace batch
