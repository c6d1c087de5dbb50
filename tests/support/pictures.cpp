#include "tests/support/pictures.h"

#include <QPainter>
#include <QStringList>

#include <random>
#include <vector>

#include "sketch/reference/edgebuffer.h"
#include "sketch/reference/levels.h"

namespace pictures {

QImage noise(int width, int height, quint32 seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = 0xff000000U | (random() & 0xffffffU);
    }
    return image;
}

QImage scene(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, width, height);
    sky.setColorAt(0, QColor(150, 190, 240));
    sky.setColorAt(1, QColor(240, 210, 150));
    painter.fillRect(image.rect(), sky);
    painter.setPen(QPen(QColor(60, 40, 30), 3));
    painter.setBrush(QColor(200, 80, 60));
    painter.drawEllipse(QRect(width / 4, height / 4, width / 2, height / 2));
    painter.drawLine(0, height, width, height / 3);
    return image;
}

QImage expectedSketch(const QImage &photo, int low, int high)
{
    QImage sketch = photo.convertToFormat(QImage::Format_ARGB32);
    std::vector<unsigned char> edges(static_cast<std::size_t>(photo.width()) * photo.height());
    sketch::reference::edgeBuffer(sketch, edges.data());
    sketch::reference::updatePenLevels(sketch, edges.data(), low, high);
    return sketch;
}

QString difference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return QStringLiteral("size %1x%2 instead of %3x%4")
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    }
    QStringList places;
    for (int y = 0; y < actual.height() && places.size() < 3; ++y) {
        for (int x = 0; x < actual.width() && places.size() < 3; ++x) {
            const QRgb is = actual.pixel(x, y);
            const QRgb should = expected.pixel(x, y);
            if (is != should) {
                places += QStringLiteral("(%1, %2): 0x%3 instead of 0x%4")
                              .arg(x)
                              .arg(y)
                              .arg(is, 8, 16, QLatin1Char('0'))
                              .arg(should, 8, 16, QLatin1Char('0'));
            }
        }
    }
    return places.join(QStringLiteral("; "));
}

} // namespace pictures
