#include "sketch/reference/levels.h"

namespace sketch::reference {

int greyLevel(int value, int low, int high)
{
    if (value > high)
        return 255;
    if (value < low)
        return 0;
    return (value - low) * 255 / (high - low > 0 ? high - low : 1);
}

void updatePenLevels(QImage &image, const unsigned char *edges, int low, int high)
{
    QRgb table[256];
    for (int value = 0; value < 256; ++value) {
        const int grey = greyLevel(value, low, high);
        table[value] = qRgb(grey, grey, grey);
    }
    const int width = image.width();
    const int height = image.height();
    auto *pixels = reinterpret_cast<QRgb *>(image.bits());
    const qsizetype pitch = image.bytesPerLine() / 4;
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y)
            pixels[y * pitch + x] = table[255 - edges[static_cast<std::size_t>(y) * width + x]];
    }
}

} // namespace sketch::reference
