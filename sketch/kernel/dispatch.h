#pragma once

#include <cstdint>
#include <initializer_list>

#include <hwy/highway.h>

// How a kernel is called that was compiled for several instruction sets. Highway's own
// way needs its shared library, which measures the machine's timer for milliseconds in
// every process that loads it; its headers are all that is used here.

namespace sketch {

template <typename Function> struct KernelVersion
{
    int64_t target; // Highway's number of an instruction set
    Function function; // null: not compiled
};

// The instruction set that kernels use now, see instructionsets.h.
int64_t chosenTarget();

// The first version is for the best instruction set, the last one for every machine.
template <typename Function>
Function chosenVersion(std::initializer_list<KernelVersion<Function>> versions)
{
    const int64_t target = chosenTarget();
    Function fallback = nullptr;
    for (const KernelVersion<Function> &version : versions) {
        if (version.target == target && version.function)
            return version.function;
        fallback = version.function;
    }
    return fallback;
}

} // namespace sketch

// The version of a function of the current namespace that is to be called.
#if HWY_ARCH_X86 && (HWY_TARGETS & (HWY_TARGETS - 1)) != 0
#define SKETCH_DISPATCH(function) \
    sketch::chosenVersion<decltype(&HWY_STATIC_DISPATCH(function))>( \
        {{HWY_AVX3_DL, HWY_CHOOSE_AVX3_DL(function)}, \
         {HWY_AVX3, HWY_CHOOSE_AVX3(function)}, \
         {HWY_AVX2, HWY_CHOOSE_AVX2(function)}, \
         {HWY_SSE4, HWY_CHOOSE_SSE4(function)}, \
         {HWY_SSSE3, HWY_CHOOSE_SSSE3(function)}, \
         {HWY_STATIC_TARGET, HWY_CHOOSE_FALLBACK(function)}})
#else
#define SKETCH_DISPATCH(function) (&HWY_STATIC_DISPATCH(function))
#endif
