#pragma once

namespace batch {

// Begins the toolkit where it can still be told that memory has run out, in the
// program's first thread and before its application object. It survives that memory
// ends at any later moment; but not in the midst of making what it keeps for a thread,
// where the program then ends with a line. Throws std::bad_alloc.
void prepareToolkit();

// The same for a further thread, before it has to do with the toolkit. False where
// there is no memory for it.
bool enterToolkit() noexcept;

} // namespace batch
