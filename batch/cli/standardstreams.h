#pragma once

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

} // namespace batch
