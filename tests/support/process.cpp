#include "tests/support/process.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>

#include <unistd.h>

namespace process {

namespace {

constexpr uid_t nobody = 65534;

qint64 statusEntry(const QByteArray &label)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray table = file.readAll();
    const QByteArray rest = table.mid(table.indexOf(label) + label.size(), 40).simplified();
    return rest.left(rest.indexOf(' ')).toLongLong() * 1024;
}

qint64 processorTime(int who)
{
    rusage usage {};
    getrusage(who, &usage);
    const auto milliseconds = [](const timeval &time) {
        return qint64(time.tv_sec) * 1000 + time.tv_usec / 1000;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

} // namespace

OrdinaryUser::OrdinaryUser()
    : m_former(geteuid())
{
    if (m_former == 0 && setresuid(nobody, nobody, 0) != 0)
        qFatal("cannot become an ordinary user");
}

OrdinaryUser::~OrdinaryUser()
{
    if (m_former == 0 && setresuid(0, 0, 0) != 0)
        qFatal("cannot become root again");
}

bool OrdinaryUser::reaches(const QString &folder)
{
    const OrdinaryUser user;
    return access(QFile::encodeName(QFileInfo(folder).path()).constData(), X_OK) == 0;
}

ResourceLimit::ResourceLimit(int resource, qint64 limit)
    : m_resource(resource)
{
    std::signal(SIGXFSZ, SIG_IGN); // a full disk reports an error, it does not kill
    getrlimit(static_cast<__rlimit_resource>(m_resource), &m_former);
    const rlimit lowered {static_cast<rlim_t>(limit), m_former.rlim_max};
    setrlimit(static_cast<__rlimit_resource>(m_resource), &lowered);
}

ResourceLimit::~ResourceLimit()
{
    setrlimit(static_cast<__rlimit_resource>(m_resource), &m_former);
}

qint64 residentMemory()
{
    return statusEntry("VmRSS:");
}

qint64 peakResidentMemory()
{
    return statusEntry("VmHWM:");
}

bool forgetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    return file.open(QIODevice::WriteOnly) && file.write("5") == 1;
}

qint64 addressSpace()
{
    return statusEntry("VmSize:");
}

qint64 ownProcessorTime()
{
    return processorTime(RUSAGE_SELF);
}

qint64 childrensProcessorTime()
{
    return processorTime(RUSAGE_CHILDREN);
}

bool isSanitized()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#else
    return false;
#endif
}

} // namespace process
