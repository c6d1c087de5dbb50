#pragma once

#include <QImage>
#include <QSize>

#include <string>
#include <vector>

#include <benchmark/benchmark.h>

// Two benchmarks of the same run whose times are set against each other:
// "subject" is so many times as fast as "baseline".
struct Ratio
{
    std::string subject;
    std::string baseline;
};

namespace bench {

// The size that the benchmarks are registered for: 24 megapixels, or a small
// one for a run that only shows that they work (--smoke).
QSize pictureSize(int argc, char **argv);

// "6000x4000"
std::string sizeName(QSize size);

// A photo-like picture in Format_ARGB32: soft shades, texture and grain; all
// pixels neutral when grey is true.
QImage photo(QSize size, bool grey = false);

// Counts megapixels per second.
void countPixels(benchmark::State &state, QSize size);

// Runs the registered benchmarks and prints their ratios; the exit code.
int run(int argc, char **argv, const std::vector<Ratio> &ratios);

} // namespace bench
