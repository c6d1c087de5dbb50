#include "sketch/levels.h"

#include <array>

namespace {

constexpr int white = 255;

using LevelsTable = std::array<QRgb, 256>;

// Indexed by the edge value, that is by 255 minus the grey level.
LevelsTable levelsTable(int low, int high)
{
    LevelsTable table {};
    for (int edge = 0; edge < 256; ++edge)
        table[edge] = level(255 - edge, low, high, Qt::black, Qt::white);
    return table;
}

int weight(int value, int low, int high)
{
    if (value > high)
        return white;
    if (value < low)
        return 0;
    const int divisor = high > low ? high - low : 1;
    const int t = (value - low) * white / divisor;
    return t > white ? white : t;
}

} // namespace

QRgb level(int value, int low, int high, QColor first, QColor second)
{
    const int t = weight(value, low, high);
    const double w1 = (white - t) / 255.0;
    const double w2 = t / 255.0;
    const auto blend = [=](int from, int to) { return static_cast<int>(from * w1 + to * w2); };
    return qRgb(blend(first.red(), second.red()), blend(first.green(), second.green()),
                blend(first.blue(), second.blue()));
}

void updatePenLevels(QImage &image, const unsigned char *edges, int low, int high)
{
    const int width = image.width();
    const int height = image.height();
    if (width <= 0)
        return;
    const LevelsTable table = levelsTable(low, high);
    uchar *const bits = image.bits();
    const qsizetype stride = image.bytesPerLine();
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(bits + y * stride);
        const unsigned char *edgeLine = edges + static_cast<std::size_t>(y) * width;
        for (int x = 0; x < width; ++x)
            line[x] = table[edgeLine[x]];
    }
}
