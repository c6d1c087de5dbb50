#include "canvas/tarngraphicsview.h"

#include <QGraphicsScene>
#include <QMouseEvent>

#include "canvas/toolgeometry.h"

void TarnGraphicsView::pressBrush(QMouseEvent *event, int size)
{
    const QRect rect = canvas::brushRectangle(*this, event->position().toPoint(), size >> 1);
    if (scene()->sceneRect().contains(QRectF(rect)))
        emit AnyBrush(rect, true);
}

// Unlike a press, a move with the button held is reported outside the scene
// too, and never clipped to it.
void TarnGraphicsView::moveBrush(QMouseEvent *event, int size)
{
    const QPoint position = event->position().toPoint();
    const QRect rect = canvas::brushRectangle(*this, position, size >> 1);
    followInsideScene(QRectF(rect));
    if (!mousePressed)
        return;
    emit AnyBrush(rect, false);
    lastPos = position;
}

void TarnGraphicsView::KeepBrushMousePressed(QMouseEvent *event)
{
    pressBrush(event, keepBrushSize);
}

void TarnGraphicsView::KeepBrushMouseMoved(QMouseEvent *event)
{
    moveBrush(event, keepBrushSize);
}

void TarnGraphicsView::KeepBrushMouseReleased(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveBrushMousePressed(QMouseEvent *event)
{
    pressBrush(event, removeBrushSize);
}

void TarnGraphicsView::RemoveBrushMouseMoved(QMouseEvent *event)
{
    moveBrush(event, removeBrushSize);
}

void TarnGraphicsView::RemoveBrushMouseReleased(QMouseEvent *)
{
}
