#pragma once

#include <sys/stat.h>

namespace batch {

// A regular file as it was met, to tell later whether a name still leads to it.
class KnownFile
{
public:
    // Of the status of the file; wasLink: the name was a symbolic link to it.
    KnownFile(const struct stat &status, bool wasLink);

    bool is(const struct stat &status, bool isLink) const;

private:
    dev_t m_device;
    ino_t m_inode;
    off_t m_size;
    timespec m_change;
    bool m_wasLink;
};

} // namespace batch
