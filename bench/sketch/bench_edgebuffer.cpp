// The edge buffer of a photo: the engine's fused pass against the plain
// per-pixel code, against loops that the compiler vectorises, against OpenCV
// where it is installed, and against copying the photo's bytes. All on one thread.

#include <cstdlib>
#include <cstring>
#include <map>

#ifdef CRAYVELL_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include "bench/sketch/multiversioned.h"
#include "bench/support/benchmain.h"
#include "sketch/edgebuffer.h"
#include "sketch/reference/edgebuffer.h"

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
        sketch::reference::edgeBuffer(photo, edges.data());
    bench::countPixels(state, photo.size());
}

bool equalsReference(const QImage &photo)
{
    Edges expected(pixelCount(photo));
    sketch::reference::edgeBuffer(photo, expected.data());
    Edges edges(pixelCount(photo));
    inverterodesketch(photo, edges.data(), {});
    return edges == expected;
}

// Finds it out once for each picture: the reference takes seconds.
bool isRight(const QImage &photo)
{
    static std::map<qint64, bool> known;
    const auto [answer, isNew] = known.try_emplace(photo.cacheKey());
    if (isNew)
        answer->second = equalsReference(photo);
    return answer->second;
}

void fused(benchmark::State &state, const QImage &photo)
{
    Edges edges(pixelCount(photo));
    if (!isRight(photo))
        state.SkipWithError("not the reference's result");
    for (auto _ : state) {
        inverterodesketch(photo, edges.data(), {});
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, photo.size());
}

void multiversioned(benchmark::State &state, const QImage &photo)
{
    Edges expected(pixelCount(photo));
    inverterodesketch(photo, expected.data(), {});
    Edges edges(pixelCount(photo));
    bench::multiversionedEdges(photo, edges.data());
    if (edges != expected)
        state.SkipWithError("not the engine's result");
    for (auto _ : state) {
        bench::multiversionedEdges(photo, edges.data());
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, photo.size());
}

#ifdef CRAYVELL_OPENCV

// The same picture from OpenCV's own steps. They are approximate: fixed-point
// greys, a quotient that is rounded once, and a dilated border. All pictures
// exist before the clock starts.
class OpenCvEdges
{
public:
    explicit OpenCvEdges(const QImage &photo)
        : m_photo(photo.height(), photo.width(), CV_8UC4, const_cast<uchar *>(photo.constBits()),
                  static_cast<std::size_t>(photo.bytesPerLine()))
    {
        cv::setNumThreads(1);
        make();
    }

    void make()
    {
        cv::cvtColor(m_photo, m_grey, cv::COLOR_BGRA2GRAY);
        cv::dilate(m_grey, m_dilated, m_neighbourhood);
        cv::divide(m_grey, m_dilated, m_dodged, 255);
        cv::bitwise_not(m_dodged, m_edges);
    }

    const cv::Mat &edges() const { return m_edges; }

private:
    cv::Mat m_photo;
    cv::Mat m_neighbourhood = cv::getStructuringElement(cv::MORPH_RECT, {5, 5});
    cv::Mat m_grey, m_dilated, m_dodged, m_edges;
};

double meanDifference(const cv::Mat &approximate, const Edges &exact)
{
    double sum = 0;
    for (std::size_t i = 0; i < exact.size(); ++i)
        sum += std::abs(int(approximate.data[i]) - int(exact[i]));
    return sum / static_cast<double>(exact.size());
}

void openCv(benchmark::State &state, const QImage &photo)
{
    OpenCvEdges pipeline(photo);
    Edges exact(pixelCount(photo));
    inverterodesketch(photo, exact.data(), {});
    state.counters["difference"] = meanDifference(pipeline.edges(), exact);
    if (meanDifference(pipeline.edges(), exact) > 3)
        state.SkipWithError("not nearly the engine's result");
    for (auto _ : state)
        pipeline.make();
    bench::countPixels(state, photo.size());
}

#endif // CRAYVELL_OPENCV

void copy(benchmark::State &state, const QImage &photo)
{
    std::vector<uchar> bytes(static_cast<std::size_t>(photo.sizeInBytes()));
    for (auto _ : state) {
        std::memcpy(bytes.data(), photo.constBits(), bytes.size());
        benchmark::ClobberMemory();
    }
    bench::countPixels(state, photo.size());
}

benchmark::internal::Benchmark *add(const std::string &name,
                                    void (*function)(benchmark::State &, const QImage &),
                                    const QImage &photo)
{
    return benchmark::RegisterBenchmark(name.c_str(),
                                        [=](benchmark::State &state) { function(state, photo); })
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    const QSize size = bench::pictureSize(argc, argv);
    const std::string suffix = "/" + bench::sizeName(size);
    const QImage colour = bench::photo(size);
    const QImage grey = bench::photo(size, true);
    const std::string copied = "copy" + suffix;
    const std::string plainEdges = "edgebuffer/plain" + suffix;
    std::vector<Ratio> ratios;
    const auto addBeside = [&](const QImage &photo, const std::string &kind) {
        const std::string fusedEdges = "edgebuffer/fused" + kind + suffix;
        add(fusedEdges, fused, photo);
        const std::string versions = "edgebuffer/multiversioned" + kind + suffix;
        add(versions, multiversioned, photo);
        ratios.insert(ratios.end(),
                      {{fusedEdges, plainEdges}, {fusedEdges, versions}, {copied, fusedEdges}});
#ifdef CRAYVELL_OPENCV
        const std::string approximateEdges = "edgebuffer/opencv" + kind + suffix;
        add(approximateEdges, openCv, photo);
        ratios.push_back({fusedEdges, approximateEdges});
#endif
    };
    add(copied, copy, colour);
    add(plainEdges, plain, colour)->Repetitions(1); // takes seconds, differs by little
    addBeside(colour, "");
    addBeside(grey, "-grey");
    return bench::run(argc, argv, ratios);
}
