#pragma once

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>

class QGraphicsView;

namespace canvas {

// How the tools turn floating scene coordinates into whole ones. All of it
// truncates towards zero unless it says "rounded", and rounds halves towards
// positive infinity (2.5 gives 3, -2.5 gives -2): the toolkit's own
// QPointF::toPoint and QRectF::toRect round halves away from zero, and derive a
// rectangle's size from its rounded edges.
// What no int holds, seen in a view that was zoomed out without end, becomes the
// nearest int; what is no number becomes 0.

QPoint truncatedPoint(QPointF point);
QPoint roundedPoint(QPointF point);

// What lies inside bounds, each of whose x, y, width and height is rounded by
// itself; bounds may be larger than any QRect. A rectangle of negative width or
// height is turned the right way up, like QRect's intersection does it.
QRect clipped(const QRect &rect, const QRectF &bounds);

// The scene rectangle of the square that reaches halfSize viewport pixels to
// each side of a viewport position. Corner and size are truncated, so a view
// that is rotated or mirrored may give a negative width or height. An edge is
// cut off where ints end; width() and height() of the result never overflow.
QRect brushRectangle(const QGraphicsView &view, QPoint position, int halfSize);

} // namespace canvas
