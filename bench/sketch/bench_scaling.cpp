// Time a pixel from 1 to 108 megapixels, for the edge buffer and for rendering
// the levels: a large picture must not cost more a pixel than a small one. All
// memory but the photo's is the program's kind, in large pages where the system
// has them. That the results are right is shown by the benchmarks of the two.

#include "bench/support/benchmain.h"
#include "photo/largepages.h"
#include "sketch/edgebuffer.h"
#include "sketch/levels.h"

namespace {

using Edges = std::vector<unsigned char>;

std::size_t pixelCount(QSize size)
{
    return static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
}

Edges newEdges(QSize size)
{
    Edges edges;
    edges.reserve(pixelCount(size));
    photo::preferLargePages(edges.data(), edges.capacity());
    edges.resize(pixelCount(size));
    return edges;
}

// Seconds a pixel.
void countTimePerPixel(benchmark::State &state, QSize size)
{
    state.counters["per pixel"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * static_cast<double>(pixelCount(size)),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void edgeBuffer(benchmark::State &state, const QImage &photo)
{
    Edges edges = newEdges(photo.size());
    for (auto _ : state) {
        inverterodesketch(photo, edges.data(), {});
        benchmark::ClobberMemory();
    }
    countTimePerPixel(state, photo.size());
}

void levels(benchmark::State &state, const QImage &photo)
{
    Edges edges = newEdges(photo.size());
    inverterodesketch(photo, edges.data(), {});
    QImage sketch = photo::largeImage(photo.size(), QImage::Format_ARGB32);
    sketch.fill(0); // touches its memory
    for (auto _ : state) {
        updatePenLevels(sketch, edges.data(), 30, 220);
        benchmark::ClobberMemory();
    }
    countTimePerPixel(state, photo.size());
}

} // namespace

int main(int argc, char **argv)
{
    // A smoke run's picture is a twentieth as wide and high.
    const int part = 6000 / bench::pictureSize(argc, argv).width();
    for (const QSize full :
         {QSize(1000, 1000), QSize(3000, 2000), QSize(6000, 4000), QSize(12000, 9000)}) {
        const QSize size = full / part;
        const QImage photo = bench::photo(size);
        const auto add = [&](const std::string &name, auto function) {
            benchmark::RegisterBenchmark((name + bench::sizeName(size)).c_str(),
                                         [=](benchmark::State &state) { function(state, photo); })
                ->Unit(benchmark::kMillisecond);
        };
        add("scaling/edgebuffer/", edgeBuffer);
        add("scaling/levels/", levels);
    }
    return bench::run(argc, argv, {});
}
