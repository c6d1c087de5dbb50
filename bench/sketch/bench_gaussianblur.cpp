// The blur of 5 taps: the engine's pass over a few rows against the two plain
// loops, all on one thread. Where OpenCV is found its own blur of the same
// standard deviation stands beside, which rounds and treats the border in its
// own way and blurs alpha too.

#include <cmath>

#include "bench/support/benchmain.h"
#include "sketch/gaussianblur.h"
#include "sketch/reference/gaussianblur.h"

#ifdef CRAYVELL_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int taps = 5;
constexpr double sigma = 1;

using Blur = void (*)(QImage *, QImage *, int, double);

// The engine's blur, or another of the same result, into a second picture.
void separate(benchmark::State &state, const QImage &photo, Blur function)
{
    QImage source = photo.copy();
    QImage expected = photo.copy();
    sketch::reference::blur(&source, &expected, taps, sigma);
    QImage actual = photo.copy();
    function(&source, &actual, taps, sigma);
    if (actual != expected)
        state.SkipWithError("not the reference's result");
    for (auto _ : state) {
        function(&source, &actual, taps, sigma);
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, photo.size());
}

#ifdef CRAYVELL_OPENCV
cv::Mat matrix(QImage &image)
{
    return {image.height(), image.width(), CV_8UC4, image.bits(),
            static_cast<std::size_t>(image.bytesPerLine())};
}

void openCv(benchmark::State &state, const QImage &photo)
{
    cv::setNumThreads(1);
    QImage source = photo.copy();
    QImage result = photo.copy();
    const cv::Mat from = matrix(source);
    cv::Mat to = matrix(result);
    const double deviation = sigma * std::sqrt(2.0); // the engine's weights have that
    for (auto _ : state) {
        cv::GaussianBlur(from, to, {taps, taps}, deviation);
        benchmark::ClobberMemory();
    }
    if (to.data != result.constBits())
        state.SkipWithError("the result went elsewhere");
    bench::countPixels(state, photo.size());
}
#endif

} // namespace

int main(int argc, char **argv)
{
    const QSize size = bench::pictureSize(argc, argv);
    const std::string suffix = "/" + bench::sizeName(size);
    const QImage photo = bench::photo(size);
    QImage flat(size, QImage::Format_ARGB32);
    flat.fill(qRgb(200, 180, 90));
    const auto add = [&](const std::string &name, const auto &function) {
        benchmark::RegisterBenchmark((name + suffix).c_str(), function)
            ->Unit(benchmark::kMillisecond);
    };
    add("blur/plain",
        [&](benchmark::State &state) { separate(state, photo, sketch::reference::blur); });
    add("blur/rows", [&](benchmark::State &state) { separate(state, photo, blur); });
    add("blur/rows-flat", [&](benchmark::State &state) { separate(state, flat, blur); });
#ifdef CRAYVELL_OPENCV
    add("blur/opencv", [&](benchmark::State &state) { openCv(state, photo); });
#endif
    return bench::run(argc, argv,
                      {{"blur/rows" + suffix, "blur/plain" + suffix},
                       {"blur/rows-flat" + suffix, "blur/plain" + suffix},
                       {"blur/rows" + suffix, "blur/opencv" + suffix}});
}
