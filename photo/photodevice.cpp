#include "photo/photodevice.h"

#include <cerrno>
#include <unistd.h>

namespace photo {

namespace {

bool isSameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

PhotoDevice::PhotoDevice(int descriptor, const struct stat &status)
    : m_descriptor(descriptor)
    , m_status(status)
{
    open(QIODevice::ReadOnly);
}

PhotoDevice::~PhotoDevice()
{
    ::close(m_descriptor);
}

bool PhotoDevice::seek(qint64 position)
{
    m_position = position;
    return QIODevice::seek(position);
}

qint64 PhotoDevice::readData(char *data, qint64 most)
{
    ssize_t count = 0;
    do
        count = pread(m_descriptor, data, static_cast<std::size_t>(most), m_position);
    while (count < 0 && errno == EINTR);
    if (count < 0) {
        if (m_readError == 0)
            m_readError = errno;
        return -1;
    }
    m_position += count;
    return count;
}

bool PhotoDevice::hasChanged() const
{
    struct stat now
    {
    };
    return fstat(m_descriptor, &now) != 0 || now.st_size != m_status.st_size
        || !isSameTime(now.st_mtim, m_status.st_mtim);
}

} // namespace photo
