#include "bench/sketch/multiversioned.h"

#include <algorithm>
#include <vector>

// The compiler makes several versions for x86 only.
#ifdef __x86_64__
#define CRAYVELL_VERSIONS __attribute__((target_clones("avx2", "sse4.1", "default")))
#else
#define CRAYVELL_VERSIONS
#endif

namespace {

constexpr int radius = 2; // of the 5x5 neighbourhood
constexpr int taps = 2 * radius + 1;

CRAYVELL_VERSIONS void luminanceRow(const uchar *__restrict pixels, int width,
                                    uchar *__restrict luminance)
{
    for (int x = 0; x < width; ++x) {
        const uchar *pixel = pixels + 4 * x;
        const double level = (pixel[2] * 0.3 + pixel[1] * 0.59) + pixel[0] * 0.11;
        luminance[x] = static_cast<uchar>(static_cast<int>(level));
    }
}

CRAYVELL_VERSIONS void columnMaxima(const uchar *const *rows, int width, uchar *__restrict maximum)
{
    const uchar *a = rows[0], *b = rows[1], *c = rows[2], *d = rows[3], *e = rows[4];
    for (int x = 0; x < width; ++x)
        maximum[x] = std::max(std::max(std::max(a[x], b[x]), std::max(c[x], d[x])), e[x]);
}

CRAYVELL_VERSIONS void rowMaxima(const uchar *__restrict c, int width, uchar *__restrict maximum)
{
    for (int x = radius; x < width - radius; ++x) {
        const uchar outer = std::max(c[x - 2], c[x + 2]);
        const uchar inner = std::max(c[x - 1], c[x + 1]);
        maximum[x] = std::max(std::max(outer, inner), c[x]);
    }
}

// Without branches, which would keep the loop from becoming one of vectors.
CRAYVELL_VERSIONS void edgeRow(const uchar *__restrict luminance, const uchar *__restrict brightest,
                               int width, uchar *__restrict edges)
{
    for (int x = radius; x < width - radius; ++x) {
        const int isBlack = brightest[x] == 0;
        const auto dividend = 65025.0F * static_cast<float>(luminance[x]);
        const int quotient =
            static_cast<int>(dividend / static_cast<float>(brightest[x] | isBlack));
        const int edge = 255 - ((quotient + (quotient >> 8) + 128) >> 8);
        edges[x] = static_cast<uchar>(edge & (isBlack - 1));
    }
    std::fill_n(edges, radius, uchar(0));
    std::fill_n(edges + width - radius, radius, uchar(0));
}

} // namespace

void bench::multiversionedEdges(const QImage &photo, unsigned char *edges)
{
    const int width = photo.width();
    const auto pitch = static_cast<std::size_t>(width);
    std::vector<uchar> space((taps + 2) * pitch);
    const auto luminance = [&](int y) { return space.data() + y % taps * pitch; };
    uchar *const columns = space.data() + taps * pitch;
    uchar *const brightest = columns + pitch;
    std::fill_n(edges, radius * pitch, uchar(0));
    for (int y = 0; y < photo.height(); ++y) {
        luminanceRow(photo.constScanLine(y), width, luminance(y));
        const int centre = y - radius;
        if (centre < radius)
            continue;
        const uchar *rows[taps];
        for (int i = 0; i < taps; ++i)
            rows[i] = luminance(centre - radius + i);
        columnMaxima(rows, width, columns);
        rowMaxima(columns, width, brightest);
        edgeRow(luminance(centre), brightest, width, edges + centre * pitch);
    }
    std::fill_n(edges + (photo.height() - radius) * pitch, radius * pitch, uchar(0));
}
