#include "sketch/edgekernel.h"

#include <algorithm>
#include <vector>

namespace sketch {

namespace {

constexpr int radius = 2; // of the 5x5 neighbourhood
constexpr int taps = 2 * radius + 1;

// Rows between two reports of progress.
constexpr int bandHeight = 32;

void luminanceRow(const quint32 *photo, int width, uchar *luminance)
{
    for (int x = 0; x < width; ++x) {
        const quint32 pixel = photo[x];
        const int red = (pixel >> 16) & 0xff;
        const int green = (pixel >> 8) & 0xff;
        const int blue = pixel & 0xff;
        luminance[x] = static_cast<uchar>((red * 0.3 + green * 0.59) + blue * 0.11);
    }
}

// The maximum of five neighbours in a row, for all columns but the border's.
void rowMaximum(const uchar *luminance, int width, uchar *maximum)
{
    for (int x = radius; x < width - radius; ++x) {
        const uchar left = std::max(luminance[x - 2], luminance[x - 1]);
        const uchar right = std::max(luminance[x + 1], luminance[x + 2]);
        maximum[x] = std::max({left, luminance[x], right});
    }
}

// 255 minus the dodged level of a pixel of luminance l whose neighbourhood's
// brightest is m >= l. With s = 255 - m eroded onto d = l the level is
// d * 255 / (255 - s), rounded as a raster painter does on 0 to 65025.
uchar dodgedEdge(int l, int m)
{
    // Single precision is exact here: 65025 * 255 has 24 bits, and no quotient
    // of these ranges rounds up to a whole number.
    const int x = static_cast<int>(static_cast<float>(65025 * l) / static_cast<float>(m));
    return static_cast<uchar>(255 - ((x + (x >> 8) + 128) >> 8));
}

void edgeRow(const uchar *luminance, const uchar *const *maxima, int width, uchar *edges)
{
    for (int x = radius; x < width - radius; ++x) {
        const uchar outer = std::max(maxima[0][x], maxima[4][x]);
        const uchar inner = std::max(maxima[1][x], maxima[3][x]);
        const uchar brightest = std::max({outer, inner, maxima[2][x]});
        const uchar edge = dodgedEdge(luminance[x], std::max<int>(brightest, 1));
        edges[x] = luminance[x] == brightest ? 0 : edge;
    }
    std::fill_n(edges, radius, uchar(0));
    std::fill_n(edges + width - radius, radius, uchar(0));
}

// The luminance and the row maxima of the last five rows.
class RowRing
{
public:
    explicit RowRing(int width)
        : m_width(width)
        , m_rows(2 * taps * static_cast<std::size_t>(width))
    {
    }
    uchar *luminance(int y) { return row(y % taps); }
    uchar *maximum(int y) { return row(taps + y % taps); }

private:
    uchar *row(int index) { return m_rows.data() + static_cast<std::size_t>(index) * m_width; }

    std::size_t m_width;
    std::vector<uchar> m_rows;
};

} // namespace

void edgeKernel(const PhotoView &photo, uchar *edges, const RowsDone &rowsDone)
{
    const std::size_t width = photo.width;
    const auto edgeLine = [&](int y) { return edges + static_cast<std::size_t>(y) * width; };
    if (photo.width < taps || photo.height < taps) {
        std::fill_n(edges, width * photo.height, uchar(0));
        rowsDone(photo.height);
        return;
    }
    RowRing ring(photo.width);
    std::fill_n(edges, radius * width, uchar(0));
    for (int y = 0; y < photo.height; ++y) {
        const auto *line = reinterpret_cast<const quint32 *>(photo.pixels + y * photo.stride);
        luminanceRow(line, photo.width, ring.luminance(y));
        rowMaximum(ring.luminance(y), photo.width, ring.maximum(y));
        const int centre = y - radius;
        if (centre < radius)
            continue;
        const uchar *const maxima[taps] = {ring.maximum(y - 4), ring.maximum(y - 3),
                                           ring.maximum(y - 2), ring.maximum(y - 1),
                                           ring.maximum(y)};
        edgeRow(ring.luminance(centre), maxima, photo.width, edgeLine(centre));
        if (centre % bandHeight == 0)
            rowsDone(centre + 1);
    }
    std::fill_n(edgeLine(photo.height - radius), radius * width, uchar(0));
    rowsDone(photo.height);
}

} // namespace sketch
