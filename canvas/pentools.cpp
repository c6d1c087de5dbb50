#include "canvas/tarngraphicsview.h"

#include <QGraphicsEllipseItem>
#include <QGraphicsPathItem>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QMouseEvent>
#include <QPainterPath>
#include <QPen>

#include "canvas/trackeditem.h"

namespace {

constexpr qreal strokeZ = 10.0;

// Width 0: one device pixel at any zoom.
QPen strokePen()
{
    return {QColor(255, 255, 10, 255), 0};
}

} // namespace

// The receiver gets a text of its own that lives as long as the emission.
void TarnGraphicsView::reportProgress(QByteArray text)
{
    emit ProgressStage(text.data());
}

void TarnGraphicsView::PenMousePressed(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    QPainterPath path;
    path.moveTo(mapToScene(event->position().toPoint()));
    pathItem = new canvas::TrackedItem<QGraphicsPathItem>(life, pathItem);
    pathItem->setPath(path);
    pathItem->setPen(strokePen());
    scene()->addItem(pathItem);
    mousePressed = true;
}

// A receiver may clear the scene, and the stroke with it, at any of the texts.
void TarnGraphicsView::PenMouseMoved(QMouseEvent *event)
{
    if (!mousePressed || !pathItem)
        return;
    reportProgress("mouse moved");
    if (!pathItem)
        return;
    // Taken before the next text: what its receiver gives the stroke is lost.
    QPainterPath path = pathItem->path();
    if (path.isEmpty())
        reportProgress("path empty");
    if (!pathItem)
        return;
    path.lineTo(mapToScene(event->position().toPoint()));
    pathItem->setPath(path);
    pathItem->setPen(strokePen());
    pathItem->setZValue(strokeZ);
    // The text says z and carries the clipped flag: both are fixed.
    reportProgress("path z is " + QByteArray::number(int(pathItem->isClipped())));
}

void TarnGraphicsView::PenMouseReleased(QMouseEvent *)
{
    pathItem = nullptr;
    mousePressed = false;
    reportProgress("Released");
}

void TarnGraphicsView::EraserMousePressed(QMouseEvent *event)
{
    const int half = eraserSize >> 1;
    const QPoint reach(half, half);
    const QPoint position = event->position().toPoint();
    const QRectF area(mapToScene(position - reach), mapToScene(position + reach));
    for (QGraphicsItem *item : scene()->items(area, Qt::IntersectsItemShape)) {
        const bool erasable = qgraphicsitem_cast<QGraphicsRectItem *>(item)
            || qgraphicsitem_cast<QGraphicsEllipseItem *>(item);
        // What stays is answered by the scene with a warning, on purpose.
        scene()->removeItem(erasable ? item : nullptr);
    }
}
