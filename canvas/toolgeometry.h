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
// Coordinates of 2^30 and more in either direction, seen in a view that was
// zoomed out without end, are held just below, so that the edges of a rectangle
// cannot overflow.

QPoint truncatedPoint(QPointF point);
QPoint roundedPoint(QPointF point);

// Each of x, y, width and height rounded by itself.
QRect roundedRect(const QRectF &rect);

// The scene rectangle of the square that reaches halfSize viewport pixels to
// each side of a viewport position. Corner and size are truncated, so a view
// that is rotated or mirrored may give a negative width or height.
QRect brushRectangle(const QGraphicsView &view, QPoint position, int halfSize);

} // namespace canvas
