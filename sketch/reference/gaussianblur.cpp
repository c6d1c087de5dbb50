#include "sketch/reference/gaussianblur.h"

#include <cmath>
#include <memory>

namespace sketch::reference {

namespace {

std::unique_ptr<double[]> gaussianKernel(int size, double sigma)
{
    const int half = size / 2;
    std::unique_ptr<double[]> kernel(new double[size]);
    double sum = 0;
    for (int i = 0; i < size; ++i) {
        const int e = (half - i) * (i - half);
        kernel[i] = sqrt(exp(e / (sigma * (sigma + sigma))) / ((sigma * 6.283) * sigma));
        sum += kernel[i];
    }
    for (int i = 0; i < size; ++i)
        kernel[i] /= sum;
    return kernel;
}

uchar truncated(double level)
{
    return static_cast<uchar>(static_cast<int>(level));
}

} // namespace

void blur(QImage *source, QImage *destination, int size, double sigma)
{
    const int width = source->width();
    const int height = source->height();
    const qsizetype pitch = source->bytesPerLine();
    const int half = size / 2;
    const auto kernel = gaussianKernel(size, sigma);
    const std::unique_ptr<uchar[]> intermediate(new uchar[pitch * height]);

    const uchar *from = source->bits();
    for (int y = 0; y < height; ++y) {
        for (int x = half; x < width - half; ++x) {
            for (int c = 0; c < 3; ++c) {
                const uchar *centre = from + y * pitch + 4 * x + c;
                double sum = *centre * kernel[half];
                for (int j = 1; j <= half; ++j)
                    sum += (centre[4 * j] + centre[-4 * j]) * kernel[half - j];
                intermediate[y * pitch + 4 * x + c] = truncated(sum);
            }
        }
    }

    uchar *to = destination->bits();
    const qsizetype toPitch = destination->bytesPerLine();
    for (int y = half; y < height - half; ++y) {
        for (int x = half; x < width - half; ++x) {
            for (int c = 0; c < 3; ++c) {
                const uchar *centre = intermediate.get() + y * pitch + 4 * x + c;
                uchar &level = to[y * toPitch + 4 * x + c];
                level = truncated(*centre * kernel[half]);
                for (int j = 1; j <= half; ++j)
                    level = truncated(
                        level + (centre[j * pitch] + centre[-j * pitch]) * kernel[half - j]);
            }
        }
    }
}

} // namespace sketch::reference
