#include "canvas/toolgeometry.h"

#include <QGraphicsView>

#include <algorithm>
#include <cmath>
#include <limits>

namespace canvas {

namespace {

using Int = std::numeric_limits<int>;

int truncated(double coordinate)
{
    if (std::isnan(coordinate))
        return 0;
    return static_cast<int>(std::clamp<double>(coordinate, Int::min(), Int::max()));
}

double rounded(double coordinate)
{
    return std::isnan(coordinate) ? 0.0 : std::floor(coordinate + 0.5);
}

// Columns or rows, both ends included, in doubles: they hold every int exactly,
// and the sums of two.
struct Span
{
    double first;
    double last;

    // A negative size counts from the other end.
    static Span fromSize(double first, double size)
    {
        return size < 0 ? Span {first + size, first - 1} : Span {first, first + size - 1};
    }
    static Span fromEdges(double first, double last) { return fromSize(first, last - first + 1); }

    bool isEmpty() const { return last < first; }
    bool meets(const Span &other) const { return first <= other.last && other.first <= last; }
    Span operator&(const Span &other) const
    {
        return {std::max(first, other.first), std::min(last, other.last)};
    }
};

// The last column or row of a size that may be negative: the lowest int has no
// counterpart above, and QRect would overflow when it computes that size again.
int lastOf(int first, int size)
{
    return truncated(double(first) + std::max(size, -Int::max()) - 1);
}

} // namespace

QPoint truncatedPoint(QPointF point)
{
    return {truncated(point.x()), truncated(point.y())};
}

QPoint roundedPoint(QPointF point)
{
    return {truncated(rounded(point.x())), truncated(rounded(point.y()))};
}

// The toolkit's own intersection would take a rectangle that spans all ints for
// one without any.
QRect clipped(const QRect &rect, const QRectF &bounds)
{
    const Span columns = Span::fromEdges(rect.left(), rect.right());
    const Span rows = Span::fromEdges(rect.top(), rect.bottom());
    const Span allColumns = Span::fromSize(rounded(bounds.x()), rounded(bounds.width()));
    const Span allRows = Span::fromSize(rounded(bounds.y()), rounded(bounds.height()));
    const bool none =
        (columns.isEmpty() && rows.isEmpty()) || (allColumns.isEmpty() && allRows.isEmpty());
    if (none || !columns.meets(allColumns) || !rows.meets(allRows))
        return {};
    const Span x = columns & allColumns;
    const Span y = rows & allRows;
    return {QPoint(truncated(x.first), truncated(y.first)),
            QPoint(truncated(x.last), truncated(y.last))};
}

QRect brushRectangle(const QGraphicsView &view, QPoint position, int halfSize)
{
    const QPoint reach(halfSize, halfSize);
    const QPointF far = view.mapToScene(position + reach);
    const QPointF near = view.mapToScene(position - reach);
    const QPoint corner = truncatedPoint(near);
    const QPoint size = truncatedPoint(far - near);
    return {corner, QPoint(lastOf(corner.x(), size.x()), lastOf(corner.y(), size.y()))};
}

} // namespace canvas
