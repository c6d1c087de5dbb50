#include "canvas/tarngraphicsview.h"

#include <QGraphicsEllipseItem>
#include <QGraphicsScene>
#include <QPen>

#include "canvas/trackeditem.h"

namespace {

constexpr qreal outlineZ = 20.0; // above the picture, the stamps and any overlay

} // namespace

void TarnGraphicsView::forgetItems()
{
    cursorItem = nullptr;
    pathItem = nullptr;
}

void TarnGraphicsView::followInsideScene(const QRectF &rect)
{
    if (scene()->sceneRect().contains(rect))
        showOutline(rect);
    else
        dropOutline();
}

void TarnGraphicsView::showOutline(const QRectF &rect)
{
    // An outline left behind in a scene that the host has since replaced.
    if (cursorItem && cursorItem->scene() && cursorItem->scene() != scene())
        dropOutline();
    if (!cursorItem)
        addOutline();
    cursorItem->setRect(rect);
}

void TarnGraphicsView::addOutline()
{
    cursorItem = new canvas::TrackedItem<QGraphicsEllipseItem>(life, cursorItem);
    cursorItem->setPen(QPen(Qt::black, 0)); // one device pixel at any zoom
    cursorItem->setZValue(outlineZ);
    scene()->addItem(cursorItem);
}

// The item is let go and not deleted, so that a host which holds on to it is
// left with a live item.
void TarnGraphicsView::dropOutline()
{
    if (!cursorItem)
        return;
    // One that the eraser took out has no scene: the shown one is asked all the
    // same, and answers with a warning.
    QGraphicsScene *holder = cursorItem->scene() ? cursorItem->scene() : scene();
    if (holder)
        holder->removeItem(cursorItem);
    cursorItem = nullptr;
}
