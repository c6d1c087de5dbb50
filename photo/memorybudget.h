#pragma once

#include <QByteArray>
#include <QString>

#include <initializer_list>

namespace photo {

// The memory that this process may still take, in bytes: what the machine has
// available, less where a control group or an address-space limit allows less.
// Never negative; where nothing can be learnt, the machine's whole memory.
qint64 availableMemory();

// What the control group of a process and all above it leave, in bytes: of each its limit
// less what it uses, the least of these. Negative where more is used; beyondMemory where
// none has a limit. hierarchy: the folder of the second version's hierarchy; membership: as
// /proc/PID/cgroup tells it.
qint64 controlGroupMemory(const QString &hierarchy, const QByteArray &membership);

// What sizeProduct() gives at most: more than any machine has, and so little that sums and
// small multiples of it are numbers of 64 bits.
constexpr qint64 beyondMemory = qint64(1) << 56; // bytes

// The product of sizes that a file announces, whatever they are: beyondMemory where it is
// more, 0 where one of them is 0 or negative.
qint64 sizeProduct(std::initializer_list<qint64> sizes);

// The memory that a photo of width x height pixels needs from its opening to a
// slider step, in bytes; a sizeProduct().
qint64 photoMemoryNeed(qint64 width, qint64 height);

} // namespace photo
