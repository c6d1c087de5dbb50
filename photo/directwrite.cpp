#include "photo/directwrite.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace photo {

namespace {

constexpr int readersPatience = 2000; // milliseconds for a pipe's reader to go on

// Lets a write to a pipe without a reader fail, where it would end the process by
// a signal, and leaves the process's other threads and its handlers alone.
class NoPipeSignal
{
    Q_DISABLE_COPY_MOVE(NoPipeSignal)

public:
    NoPipeSignal()
    {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_former);
    }
    ~NoPipeSignal()
    {
        const timespec atOnce {};
        if (!m_wasPending)
            sigtimedwait(&m_pipe, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &m_former, nullptr);
    }

private:
    sigset_t m_pipe {};
    sigset_t m_former {};
    bool m_wasPending = false;
};

// What is written to, closed at the end.
class Target
{
    Q_DISABLE_COPY_MOVE(Target)

public:
    explicit Target(const QString &fileName)
        // A pipe without a reader fails to open then, where it would wait for one.
        : m_descriptor(open(QFile::encodeName(fileName).constData(),
                            O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
    {
        m_isOpen = m_descriptor >= 0 && fstat(m_descriptor, &m_status) == 0;
    }
    ~Target()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    bool take(const QByteArray &content)
    {
        if (!m_isOpen || !makeRoom(content.size()))
            return false;
        if (!write(content)) {
            giveRoomBack();
            return false;
        }
        if (S_ISREG(m_status.st_mode) && ftruncate(m_descriptor, content.size()) != 0)
            return false;
        if (!synchronise(m_descriptor))
            return false;
        // A file system of the network may tell only now that it did not fit.
        return close(std::exchange(m_descriptor, -1)) == 0;
    }

private:
    // Takes all the room that the content needs before a byte of the file changes. The file
    // grows by that: only so it meets the limit of its size as well.
    bool makeRoom(qint64 bytes)
    {
        if (!S_ISREG(m_status.st_mode) || fallocate(m_descriptor, 0, 0, bytes) == 0
            || (errno == EOPNOTSUPP && lengthen(bytes)))
            return true;
        giveRoomBack();
        return false;
    }

    // Where room cannot be reserved it is written to.
    bool lengthen(qint64 bytes)
    {
        const qint64 missing = bytes - m_status.st_size;
        if (missing <= 0)
            return true;
        return lseek(m_descriptor, 0, SEEK_END) >= 0 && write(QByteArray(missing, '\0'))
            && lseek(m_descriptor, 0, SEEK_SET) == 0;
    }

    // What is behind the file's former end. Nothing can be done about a failure here.
    void giveRoomBack()
    {
        if (S_ISREG(m_status.st_mode)) {
            [[maybe_unused]] const int result = ftruncate(m_descriptor, m_status.st_size);
        }
    }

    bool write(const QByteArray &content)
    {
        for (qsizetype done = 0; done < content.size();) {
            const ssize_t bytes =
                ::write(m_descriptor, content.constData() + done, content.size() - done);
            if (bytes >= 0)
                done += bytes;
            else if (errno == EAGAIN && !isReadyInTime())
                return false;
            else if (errno != EAGAIN && errno != EINTR)
                return false;
        }
        return true;
    }

    bool isReadyInTime() const
    {
        pollfd ready {m_descriptor, POLLOUT, 0};
        return poll(&ready, 1, readersPatience) > 0;
    }

    int m_descriptor;
    struct stat m_status
    {
    };
    bool m_isOpen = false;
};

} // namespace

bool synchronise(int descriptor)
{
    while (fsync(descriptor) != 0) {
        if (errno != EINTR)
            return errno == EINVAL || errno == EROFS || errno == ENOTSUP || errno == ENOSYS;
    }
    return true;
}

bool writeDirectly(const QString &fileName, const QByteArray &content)
{
    const NoPipeSignal guard;
    return Target(fileName).take(content);
}

} // namespace photo
