#pragma once

#include <cstddef>

namespace batch {

// Settles the three standard streams, before anything else is opened.
//
// One that the caller closed is opened on nothing, so that no photo or sketch
// gets its number and is written into by mistake. And what the image libraries
// print to standard error by themselves, which names no photo, goes nowhere;
// messageDescriptor() still leads there.
void settleStandardStreams();

// Where the program's own messages go.
int messageDescriptor();

// Writes all the bytes, and waits where a descriptor that does not block has no
// room for them. False where they cannot be written; errno then says why.
bool writeFully(int descriptor, const void *bytes, std::size_t count);

// Writes a few bytes if there is room for them within a short time.
void writeIfRoom(int descriptor, const void *bytes, std::size_t count);

// Waits until a descriptor that does not block, and just refused to be read, has
// something to read.
void waitForInput(int descriptor);

} // namespace batch
