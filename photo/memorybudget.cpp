#include "photo/memorybudget.h"

#include <QByteArray>
#include <QFile>
#include <QList>

#include <algorithm>
#include <limits>
#include <sys/resource.h>
#include <unistd.h>

namespace photo {

namespace {

constexpr qint64 unknown = std::numeric_limits<qint64>::max();

// Of each pixel at the worst moment, a slider step on a photo with transparency
// that was turned upright: the photo (4 bytes), its pixmap (4), what the decoder
// and the turning took and may not have given back (4), the white margin (4), the
// sketch and the one before it, where a host keeps that (8), and the edge buffer
// (1), with one byte to spare.
constexpr qint64 bytesPerPixel = 26;

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The number behind a label in a /proc table, in bytes ("MemAvailable:  12 kB").
qint64 procKilobytes(const QByteArray &table, const QByteArray &label)
{
    const qsizetype at = table.indexOf(label);
    if (at < 0)
        return unknown;
    const QByteArray rest = table.mid(at + label.size(), 40).simplified();
    return rest.left(rest.indexOf(' ')).toLongLong() * 1024;
}

qint64 machineMemory()
{
    const qint64 available =
        procKilobytes(contents(QStringLiteral("/proc/meminfo")), "MemAvailable:");
    if (available != unknown)
        return available;
    return static_cast<qint64>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
}

// A line "label number" of a table of a control group; 0 where there is none.
qint64 groupNumber(const QByteArray &table, const QByteArray &label)
{
    for (const QByteArray &line : table.split('\n')) {
        if (line.startsWith(label + ' '))
            return line.mid(label.size() + 1).toLongLong();
    }
    return 0;
}

// What one control group leaves. Files that were read count as used there until their
// memory is wanted for something else.
qint64 leftInGroup(const QString &folder)
{
    bool isLimited = false;
    const qint64 limit =
        contents(folder + QStringLiteral("/memory.max")).trimmed().toLongLong(&isLimited);
    if (!isLimited)
        return unknown;
    const qint64 used = contents(folder + QStringLiteral("/memory.current")).trimmed().toLongLong();
    const QByteArray table = contents(folder + QStringLiteral("/memory.stat"));
    return limit - std::max<qint64>(used - groupNumber(table, "inactive_file"), 0);
}

// What an address-space limit ("ulimit -v") leaves.
qint64 addressSpace()
{
    rlimit limit {};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return unknown;
    const qint64 used = procKilobytes(contents(QStringLiteral("/proc/self/status")), "VmSize:");
    return static_cast<qint64>(limit.rlim_cur) - (used == unknown ? 0 : used);
}

} // namespace

qint64 availableMemory()
{
    const qint64 groups = controlGroupMemory(QStringLiteral("/sys/fs/cgroup"),
                                             contents(QStringLiteral("/proc/self/cgroup")));
    return std::max<qint64>(std::min({machineMemory(), groups, addressSpace()}), 0);
}

qint64 controlGroupMemory(const QString &hierarchy, const QByteArray &membership)
{
    qint64 least = beyondMemory;
    for (const QByteArray &line : membership.split('\n')) {
        if (!line.startsWith("0::/"))
            continue;
        // "/service/worker", "/service" and, as an empty text, the root.
        QString group = QString::fromUtf8(line.mid(3));
        while (!group.isEmpty()) {
            least = std::min(least, leftInGroup(hierarchy + group));
            group.truncate(group.lastIndexOf(u'/'));
        }
        least = std::min(least, leftInGroup(hierarchy));
    }
    return least;
}

qint64 sizeProduct(std::initializer_list<qint64> sizes)
{
    if (std::min(sizes) <= 0)
        return 0;
    qint64 product = 1;
    for (const qint64 size : sizes)
        product = product > beyondMemory / size ? beyondMemory : product * size;
    return product;
}

qint64 photoMemoryNeed(qint64 width, qint64 height)
{
    return sizeProduct({width, height, bytesPerPixel});
}

} // namespace photo
