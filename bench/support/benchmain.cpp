#include "bench/support/benchmain.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>

#include <unistd.h>

namespace bench {

namespace {

bool isSmoke(const char *argument)
{
    return std::strcmp(argument, "--smoke") == 0;
}

std::string processor()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    }
    return "unknown";
}

// Remembers the best time of each benchmark while the console shows all: the
// processor time of the one thread, which other programs disturb the least.
class TimeKeeper : public benchmark::ConsoleReporter
{
public:
    using ConsoleReporter::ConsoleReporter;

    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            m_failed |= run.error_occurred;
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const double time = run.GetAdjustedCPUTime();
            const auto known = m_times.try_emplace(run.run_name.function_name, time).first;
            known->second = std::min(known->second, time);
        }
    }

    bool failed() const { return m_failed; }

    // NaN when one of the two did not run, as with a filter.
    double ratio(const Ratio &of) const
    {
        const auto subject = m_times.find(of.subject);
        const auto baseline = m_times.find(of.baseline);
        if (subject == m_times.end() || baseline == m_times.end())
            return NAN;
        return baseline->second / subject->second;
    }

private:
    std::map<std::string, double> m_times;
    bool m_failed = false;
};

std::vector<double> wave(int length, double frequency, double amplitude)
{
    std::vector<double> values(static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i)
        values[i] = amplitude * std::sin(i * frequency);
    return values;
}

} // namespace

QSize pictureSize(int argc, char **argv)
{
    const bool smoke = std::any_of(argv, argv + argc, isSmoke);
    return smoke ? QSize(300, 200) : QSize(6000, 4000);
}

std::string sizeName(QSize size)
{
    return std::to_string(size.width()) + "x" + std::to_string(size.height());
}

QImage photo(QSize size, bool grey)
{
    std::mt19937 random(7);
    const auto across = wave(size.width(), 0.003, 70);
    const auto down = wave(size.height(), 0.004, 1);
    const auto texture = wave(size.width() + size.height(), 0.08, 30);
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const quint32 grain = random();
            const double shade = 110 + across[x] * down[y] + texture[x + y];
            const auto channel = [&](int offset, int shift) {
                return std::clamp(int(shade) + offset + int((grain >> shift) & 15), 0, 255);
            };
            const int level = channel(0, 0);
            line[x] = grey ? qRgb(level, level, level)
                           : qRgb(channel(20, 0), channel(0, 4), channel(-25, 8));
        }
    }
    return image;
}

void countPixels(benchmark::State &state, QSize size)
{
    const double megapixels = 1e-6 * size.width() * size.height();
    state.counters["megapixels"] =
        benchmark::Counter(megapixels * double(state.iterations()), benchmark::Counter::kIsRate);
}

int run(int argc, char **argv, const std::vector<Ratio> &ratios)
{
    std::vector<char *> arguments(argv, argv + argc);
    char once[] = "--benchmark_min_time=0";
    for (char *&argument : arguments) {
        if (isSmoke(argument))
            argument = once;
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    benchmark::AddCustomContext("CPU", processor());
    benchmark::AddCustomContext("compiler", "gcc " __VERSION__);
    TimeKeeper reporter(isatty(STDOUT_FILENO) ? benchmark::ConsoleReporter::OO_Defaults
                                              : benchmark::ConsoleReporter::OO_Tabular);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const Ratio &ratio : ratios) {
        const double times = reporter.ratio(ratio);
        if (!std::isnan(times))
            std::printf("%s is %.2f times as fast as %s\n", ratio.subject.c_str(), times,
                        ratio.baseline.c_str());
    }
    return reporter.failed() ? 1 : 0;
}

} // namespace bench
