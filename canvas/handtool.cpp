#include "canvas/tarngraphicsview.h"

void TarnGraphicsView::HandMousePressed(QMouseEvent *)
{
}

void TarnGraphicsView::HandMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::HandMouseReleased(QMouseEvent *)
{
}
