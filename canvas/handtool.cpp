#include "canvas/tarngraphicsview.h"

#include <QMouseEvent>

#include "canvas/toolgeometry.h"

void TarnGraphicsView::HandMousePressed(QMouseEvent *event)
{
    lastPos = event->position().toPoint();
    viewport()->setCursor(Qt::ClosedHandCursor);
}

void TarnGraphicsView::HandMouseMoved(QMouseEvent *event)
{
    if (!mousePressed)
        return;
    const QPoint position = event->position().toPoint();
    // Both ends are mapped now: a host that has scrolled or zoomed since the
    // last step must not see its own movement in this one.
    const QPoint to = canvas::roundedPoint(mapToScene(position));
    const QPoint from = canvas::roundedPoint(mapToScene(lastPos));
    emit HandTool(from, to);
    lastPos = position;
}

void TarnGraphicsView::HandMouseReleased(QMouseEvent *)
{
    viewport()->setCursor(Qt::OpenHandCursor);
}
