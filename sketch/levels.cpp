#include "sketch/levels.h"

#include "sketch/levelskernel.h"

namespace {

constexpr int white = 255;

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
    if (image.isNull())
        return;
    uchar *const pixels = image.bits(); // detaches
    const sketch::PaperView paper {pixels, image.bytesPerLine(), image.width(), image.height()};
    sketch::levelsKernel(edges, low, high, paper);
}
