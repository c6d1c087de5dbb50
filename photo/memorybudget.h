#pragma once

#include <QtGlobal>

namespace photo {

// The memory that this process may still take, in bytes: what the machine has
// available, less where a control group or an address-space limit allows less.
// Never negative; where nothing can be learnt, the machine's whole memory.
qint64 availableMemory();

// The memory that a photo of width x height pixels needs from its opening to a
// slider step, in bytes.
qint64 photoMemoryNeed(qint64 width, qint64 height);

} // namespace photo
