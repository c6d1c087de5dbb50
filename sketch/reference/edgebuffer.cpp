#include "sketch/reference/edgebuffer.h"

#include <algorithm>

namespace sketch::reference {

namespace {

QRgb opaqueGrey(int level)
{
    return qRgb(level, level, level);
}

int neighbourhoodMinimum(const QImage &negative, int x, int y)
{
    int least = 255;
    for (int i = x - 2; i <= x + 2; ++i) {
        for (int j = y - 2; j <= y + 2; ++j)
            least = std::min(least, qRed(negative.pixel(i, j)));
    }
    return least;
}

} // namespace

int luminance(QRgb pixel)
{
    const double red = qRed(pixel) * 0.3;
    const double green = qGreen(pixel) * 0.59;
    const double blue = qBlue(pixel) * 0.11;
    return static_cast<int>((red + green) + blue);
}

int colorDodge(int d, int s)
{
    if (d + s >= 255)
        return 255;
    const int x = 65025 * d / (255 - s);
    return (x + (x >> 8) + 128) >> 8;
}

void edgeBuffer(const QImage &photo, unsigned char *edges)
{
    const int width = photo.width();
    const int height = photo.height();
    QImage grey = photo.copy();
    QImage negative = photo.copy();
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            const int level = luminance(photo.pixel(x, y));
            grey.setPixel(x, y, opaqueGrey(level));
            negative.setPixel(x, y, opaqueGrey(255 - level));
        }
    }
    QImage eroded = negative.copy();
    for (int x = 2; x < width - 2; ++x) {
        for (int y = 2; y < height - 2; ++y)
            eroded.setPixel(x, y, opaqueGrey(neighbourhoodMinimum(negative, x, y)));
    }
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            const int dodged = colorDodge(qRed(grey.pixel(x, y)), qRed(eroded.pixel(x, y)));
            edges[static_cast<std::size_t>(y) * width + x] =
                static_cast<unsigned char>(255 - dodged);
        }
    }
}

} // namespace sketch::reference
