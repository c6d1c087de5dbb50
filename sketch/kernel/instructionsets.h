#pragma once

#include <string>
#include <vector>

// The kernels exist once for every instruction set; the best that the machine
// has is chosen at the first call. These functions are for tests and
// benchmarks that want to see each of them.
namespace sketch {

// Names of the instruction sets that are built in and that this machine has,
// the best one first ("AVX2", "SSE4", ...).
std::vector<std::string> variantNames();

// Lets all kernels of the process use the named one, or the best one again when
// the name is empty. False, and without effect, where there is none of the name. Not
// while a kernel is running in another thread.
bool useVariant(const std::string &name);

// The one that kernels use now.
std::string variantInUse();

} // namespace sketch
