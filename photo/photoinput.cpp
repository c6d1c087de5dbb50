#include "photo/photoinput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "photo/photoerror.h"

namespace photo {

namespace {

[[noreturn]] void fail()
{
    throw PhotoError(std::string("cannot be read: ") + std::strerror(errno));
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

void PhotoInput::openFile()
{
    // A pipe must neither be waited for nor, where it can, be opened at all.
    const int descriptor = open(m_name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0)
        fail();
    auto file = std::make_unique<QFile>();
    if (!file->open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        close(descriptor);
        fail();
    }
    struct stat status
    {
    };
    if (fstat(descriptor, &status) != 0)
        fail();
    if (!S_ISREG(status.st_mode))
        throw PhotoError("is no regular file");
    m_access = status.st_atim;
    m_modification = status.st_mtim;
    m_device = std::move(file);
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
        if (count < 0)
            fail();
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
