// Rendering a sketch from its edge buffer: the engine row by row against the
// plain code column by column, and against filling the picture with memset. All
// memory is the program's kind, in large pages where the system has them.

#include <cstring>

#include "bench/support/benchmain.h"
#include "photo/largepages.h"
#include "sketch/levels.h"
#include "sketch/reference/levels.h"

namespace {

constexpr int low = 30;
constexpr int high = 220;

using Edges = std::vector<unsigned char>;
using Rendering = void (*)(QImage &, const unsigned char *, int, int);

Edges someEdges(QSize size)
{
    const QImage photo = bench::photo(size);
    Edges edges;
    edges.reserve(static_cast<std::size_t>(size.width()) * size.height());
    photo::preferLargePages(edges.data(), edges.capacity());
    for (int y = 0; y < size.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(photo.constScanLine(y));
        for (int x = 0; x < size.width(); ++x)
            edges.push_back(static_cast<unsigned char>(line[x] >> 8));
    }
    return edges;
}

void render(benchmark::State &state, QSize size, const Edges &edges, Rendering rendering)
{
    QImage image = photo::largeImage(size, QImage::Format_ARGB32);
    QImage expected(size, QImage::Format_ARGB32);
    sketch::reference::updatePenLevels(expected, edges.data(), low, high);
    rendering(image, edges.data(), low, high);
    if (image != expected)
        state.SkipWithError("not the reference's result");
    for (auto _ : state) {
        rendering(image, edges.data(), low, high);
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, size);
}

void fill(benchmark::State &state, QSize size)
{
    QImage image = photo::largeImage(size, QImage::Format_ARGB32);
    image.fill(0); // the first touch of new memory takes longer than filling it
    for (auto _ : state) {
        std::memset(image.bits(), 0xff, image.sizeInBytes());
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, size);
}

} // namespace

int main(int argc, char **argv)
{
    const QSize size = bench::pictureSize(argc, argv);
    const std::string suffix = "/" + bench::sizeName(size);
    const Edges edges = someEdges(size);
    const auto add = [&](const std::string &name, const auto &function) {
        benchmark::RegisterBenchmark((name + suffix).c_str(), function)
            ->Unit(benchmark::kMillisecond);
    };
    add("fill", [&](benchmark::State &state) { fill(state, size); });
    add("levels/plain", [&](benchmark::State &state) {
        render(state, size, edges, sketch::reference::updatePenLevels);
    });
    add("levels/rows",
        [&](benchmark::State &state) { render(state, size, edges, updatePenLevels); });
    return bench::run(argc, argv,
                      {{"levels/rows" + suffix, "levels/plain" + suffix},
                       {"fill" + suffix, "levels/rows" + suffix}});
}
