#include "canvas/toolgeometry.h"

#include <QGraphicsView>

#include <algorithm>
#include <cmath>

namespace canvas {

namespace {

// Half of what an int holds: the sum of a position and a size still fits.
constexpr double farthest = (1 << 30) - 1;

int truncated(double coordinate)
{
    if (std::isnan(coordinate))
        return 0;
    return static_cast<int>(std::clamp(coordinate, -farthest, farthest));
}

int rounded(double coordinate)
{
    return truncated(std::floor(coordinate + 0.5));
}

} // namespace

QPoint truncatedPoint(QPointF point)
{
    return {truncated(point.x()), truncated(point.y())};
}

QPoint roundedPoint(QPointF point)
{
    return {rounded(point.x()), rounded(point.y())};
}

QRect roundedRect(const QRectF &rect)
{
    return {rounded(rect.x()), rounded(rect.y()), rounded(rect.width()), rounded(rect.height())};
}

QRect brushRectangle(const QGraphicsView &view, QPoint position, int halfSize)
{
    const QPoint reach(halfSize, halfSize);
    const QPointF far = view.mapToScene(position + reach);
    const QPointF near = view.mapToScene(position - reach);
    const QPoint size = truncatedPoint(far - near);
    return {truncatedPoint(near), QSize(size.x(), size.y())};
}

} // namespace canvas
