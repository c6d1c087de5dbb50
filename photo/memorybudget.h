#pragma once

#include <QtGlobal>

#include <initializer_list>

namespace photo {

// The memory that this process may still take, in bytes: what the machine has
// available, less where a control group or an address-space limit allows less.
// Never negative; where nothing can be learnt, the machine's whole memory.
qint64 availableMemory();

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
