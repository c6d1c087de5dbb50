#include "canvas/tarngraphicsview.h"

#include <QBrush>
#include <QGraphicsEllipseItem>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QMouseEvent>
#include <QPen>

#include "canvas/toolgeometry.h"

namespace {

constexpr qreal stampZ = 10.0;
constexpr QColor keepColour(50, 255, 50, 255);
constexpr QColor removeColour(255, 10, 10, 255);
constexpr QColor blueColour(10, 10, 255, 255);

// Width 0: one device pixel at any zoom.
QPen stampPen(const QColor &colour)
{
    return {colour, 0};
}

// The scene's width and height are compared, not its edges, and column and row
// 0 are left out: the rule is made for scenes that start at the origin.
bool takesStamp(const QRectF &sceneRect, QPointF position)
{
    const QPoint point = canvas::truncatedPoint(position);
    return point.x() > 0 && point.y() > 0 && sceneRect.width() > point.x()
        && sceneRect.height() > point.y();
}

} // namespace

void TarnGraphicsView::KeepMarkerMouseMoved(QMouseEvent *event)
{
    const QPointF position = mapToScene(event->position().toPoint());
    if (!mousePressed || !takesStamp(scene()->sceneRect(), position))
        return;
    const QRectF square(position, QSizeF(keepMarkerSize, keepMarkerSize));
    scene()->addRect(square, stampPen(keepColour), keepColour)->setZValue(stampZ);
}

void TarnGraphicsView::RemoveMarkerMouseMoved(QMouseEvent *event)
{
    const QPointF position = mapToScene(event->position().toPoint());
    if (!mousePressed || !takesStamp(scene()->sceneRect(), position))
        return;
    const QRectF square(position, QSizeF(removeMarkerSize, removeMarkerSize));
    scene()->addEllipse(square, stampPen(removeColour), removeColour)->setZValue(stampZ);
}

// The guard looks at the pointer, the outline at the whole disc: near an edge a
// stamp may be added where no outline is shown.
void TarnGraphicsView::BlueMarkerMouseMoved(QMouseEvent *event)
{
    const QPoint position = event->position().toPoint();
    const QRectF disc(canvas::brushRectangle(*this, position, blueMarkerSize >> 1));
    followInsideScene(disc);
    if (!mousePressed || !takesStamp(scene()->sceneRect(), mapToScene(position)))
        return;
    QGraphicsEllipseItem *stamp = scene()->addEllipse(disc, stampPen(blueColour), blueColour);
    stamp->setZValue(stampZ);
    stamp->setOpacity(markerOpacity / 10.0);
}

void TarnGraphicsView::KeepMarkerPressEvent(QMouseEvent *)
{
}

void TarnGraphicsView::KeepMarkerMouseReleased(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveMarkerPressEvent(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveMarkerMouseReleased(QMouseEvent *)
{
}
