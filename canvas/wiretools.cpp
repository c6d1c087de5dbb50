#include "canvas/tarngraphicsview.h"

#include <QGraphicsScene>
#include <QMouseEvent>

#include "canvas/toolgeometry.h"

namespace {

constexpr int pickHalfSize = 5; // viewport pixels; no setting changes it

QRect pickRectangle(const QGraphicsView &view, QPoint position)
{
    return canvas::clipped(canvas::brushRectangle(view, position, pickHalfSize),
                           view.scene()->sceneRect());
}

} // namespace

void TarnGraphicsView::WireSmartMarkerMousePressed(QMouseEvent *event)
{
    const QRect rect = pickRectangle(*this, event->position().toPoint());
    emit SmartSelect(rect, true, event->button() == Qt::RightButton);
}

void TarnGraphicsView::WireSmartMarkerMouseMoved(QMouseEvent *event)
{
    const QPoint position = event->position().toPoint();
    const QRect rect = pickRectangle(*this, position);
    if (rect.isEmpty()) {
        dropOutline();
        return;
    }
    showOutline(QRectF(rect));
    if (position != lastPos)
        emit SmartSelect(rect, false, false);
    lastPos = position;
}

void TarnGraphicsView::WireMarkerMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::WireEraserMouseMoved(QMouseEvent *)
{
}
