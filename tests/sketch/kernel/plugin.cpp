// The kernels in a library that a host loads, as a plug-in of another program: nothing
// but them is linked, and the host knows C functions alone.

#include <exception>

#include "sketch/kernel/edgekernel.h"
#include "sketch/kernel/levelskernel.h"

// Turns a picture of width x height pixels, stride bytes a row, into its sketch. The
// edges have width * height bytes. Zero where that could not be done.
extern "C" int sketchInPlace(unsigned char *pixels, long stride, int width, int height, int black,
                             int white, unsigned char *edges)
{
    try {
        sketch::edgeKernel({pixels, stride, width, height}, edges, [](int) {});
        sketch::levelsKernel(edges, black, white, {pixels, stride, width, height});
        return 1;
    } catch (const std::exception &) {
        return 0;
    }
}
