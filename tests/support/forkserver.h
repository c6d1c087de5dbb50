#pragma once

// Runs of one program that is loaded once, for interposers whose effect begins with main().
namespace forkserver {

// For every request on standard input, a child that goes on from here in the place of the
// program, with the request's variables in its environment and nothing to read. A request
// is a marker and "NAME=value" entries, each ended by a NUL, and one more NUL; when the
// child has ended, the marker and the status of waitpid() follow what it wrote on standard
// output and on standard error. Returns in the children only; at the end of the input, or
// on an error, the process ends.
void serve();

} // namespace forkserver
