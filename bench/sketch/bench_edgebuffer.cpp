// The edge buffer of a photo: the engine's fused pass against the plain
// per-pixel code, both on one thread, and against copying the photo's bytes.

#include <cstring>

#include "bench/support/benchmain.h"
#include "sketch/edgebuffer.h"
#include "sketch/edgebuffer_reference.h"

namespace {

using Edges = std::vector<unsigned char>;

std::size_t pixelCount(const QImage &photo)
{
    return static_cast<std::size_t>(photo.width()) * photo.height();
}

void plain(benchmark::State &state, const QImage &photo)
{
    Edges edges(pixelCount(photo));
    for (auto _ : state)
        reference::edgeBuffer(photo, edges.data());
    bench::countPixels(state, photo.size());
}

void fused(benchmark::State &state, const QImage &photo)
{
    Edges expected(pixelCount(photo));
    reference::edgeBuffer(photo, expected.data());
    Edges edges(pixelCount(photo));
    inverterodesketch(photo, edges.data(), {});
    if (edges != expected)
        state.SkipWithError("not the reference's result");
    for (auto _ : state) {
        inverterodesketch(photo, edges.data(), {});
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, photo.size());
}

void copy(benchmark::State &state, const QImage &photo)
{
    std::vector<uchar> bytes(static_cast<std::size_t>(photo.sizeInBytes()));
    for (auto _ : state) {
        std::memcpy(bytes.data(), photo.constBits(), bytes.size());
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, photo.size());
}

void add(const std::string &name, void (*function)(benchmark::State &, const QImage &),
         const QImage &photo)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
        function(state, photo);
    })->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    const QSize size = bench::pictureSize(argc, argv);
    const std::string suffix = "/" + bench::sizeName(size);
    const QImage colour = bench::photo(size);
    const QImage grey = bench::photo(size, true);
    add("copy" + suffix, copy, colour);
    add("edgebuffer/plain" + suffix, plain, colour);
    add("edgebuffer/fused" + suffix, fused, colour);
    add("edgebuffer/fused-grey" + suffix, fused, grey);
    return bench::run(argc, argv,
                      {{"edgebuffer/fused" + suffix, "edgebuffer/plain" + suffix},
                       {"edgebuffer/fused-grey" + suffix, "edgebuffer/plain" + suffix},
                       {"copy" + suffix, "edgebuffer/fused" + suffix},
                       {"copy" + suffix, "edgebuffer/fused-grey" + suffix}});
}
