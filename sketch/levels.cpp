#include "sketch/levels.h"

#include "sketch/kernel/levelscurve.h"
#include "sketch/kernel/levelskernel.h"

QRgb level(int value, int low, int high, QColor first, QColor second)
{
    const int t = sketch::stretchedLevel(value, low, high);
    const double w1 = (sketch::white - t) / 255.0;
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
    const sketch::ImageView paper {pixels, image.bytesPerLine(), image.width(), image.height()};
    sketch::levelsKernel(edges, low, high, paper);
}
