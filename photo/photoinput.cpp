#include "photo/photoinput.h"

#include <QBuffer>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "photo/photodevice.h"
#include "photo/photoerror.h"
#include "photo/tiffview.h"

namespace photo {

namespace {

[[noreturn]] void fail(int error)
{
    throw PhotoError(std::string("cannot be read: ") + std::strerror(error));
}

} // namespace

PhotoInput::PhotoInput(const std::string &name, qint64 mostBytes)
    : m_name(name)
{
    if (isStandardInput())
        readStandardInput(mostBytes);
    else
        openFile();
}

PhotoInput::~PhotoInput() = default;

QIODevice &PhotoInput::pictureDevice()
{
    m_device->seek(0);
    if (isTiff(m_device->peek(4)))
        m_view = std::make_unique<TiffView>(*m_device);
    return m_view ? *m_view : *m_device;
}

void PhotoInput::openFile()
{
    // A pipe must neither be waited for nor, where it can, be opened at all.
    const int descriptor = open(m_name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    struct stat status
    {
    };
    if (descriptor < 0)
        fail(errno);
    if (fstat(descriptor, &status) != 0) {
        const int error = errno;
        close(descriptor);
        fail(error);
    }
    auto file = std::make_unique<PhotoDevice>(descriptor, status);
    if (!S_ISREG(status.st_mode))
        throw PhotoError("is no regular file");
    m_access = status.st_atim;
    m_modification = status.st_mtim;
    m_file = file.get();
    m_device = std::move(file);
}

void PhotoInput::checkUnchanged() const
{
    if (m_file && m_file->readError() != 0)
        fail(m_file->readError());
    if (m_file && m_file->hasChanged())
        throw PhotoError("was changed while it was read");
}

void PhotoInput::readStandardInput(qint64 mostBytes)
{
    constexpr qsizetype portion = 1 << 20;
    for (;;) {
        const qsizetype size = m_bytes.size();
        m_bytes.resize(size + portion);
        const ssize_t count = read(STDIN_FILENO, m_bytes.data() + size, portion);
        m_bytes.resize(size + std::max<ssize_t>(count, 0));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && errno == EAGAIN) { // a pipe that does not block
            pollfd ready {STDIN_FILENO, POLLIN, 0};
            poll(&ready, 1, -1);
            continue;
        }
        if (count < 0)
            fail(errno);
        if (count == 0)
            break;
        if (m_bytes.size() > mostBytes) {
            throw PhotoError("has more than the " + std::to_string(mostBytes >> 20)
                             + " MB that --max-memory allows");
        }
    }
    auto buffer = std::make_unique<QBuffer>(&m_bytes);
    buffer->open(QIODevice::ReadOnly);
    m_device = std::move(buffer);
}

} // namespace photo
