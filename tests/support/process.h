#pragma once

#include <QString>

#include <sys/resource.h>
#include <sys/types.h>

// What a test changes or reads about its own process.
namespace process {

// Acts as a user without privileges while it lives. Without effect where the
// tests are not run by root.
class OrdinaryUser
{
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

public:
    OrdinaryUser();
    ~OrdinaryUser();

    // Whether such a user gets to the folder: root's temporary files may be in a closed one.
    static bool reaches(const QString &folder);

private:
    uid_t m_former;
};

// Lowers a soft resource limit (RLIMIT_FSIZE, RLIMIT_AS) while it lives.
class ResourceLimit
{
    Q_DISABLE_COPY_MOVE(ResourceLimit)

public:
    ResourceLimit(int resource, qint64 limit);
    ~ResourceLimit();

private:
    int m_resource;
    rlimit m_former {};
};

// From /proc/self/status, in bytes: what is resident, what was at most, and the
// size of the address space.
qint64 residentMemory();
qint64 peakResidentMemory();
qint64 addressSpace();
// Lets peakResidentMemory() begin anew with what is resident now. False where the
// system cannot.
bool forgetPeak();

// Milliseconds of the processor that all threads of this process took, or all of its
// children that have ended: unlike those of a clock they do not tell what else is running.
qint64 ownProcessorTime();
qint64 childrensProcessorTime();

// Whether the address or the thread sanitizer is built in, whose own memory, threads and
// place before all other libraries hide ours.
bool isSanitized();

} // namespace process
