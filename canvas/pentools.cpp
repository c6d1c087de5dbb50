#include "canvas/tarngraphicsview.h"

void TarnGraphicsView::PenMousePressed(QMouseEvent *)
{
}

void TarnGraphicsView::PenMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::PenMouseReleased(QMouseEvent *)
{
}

void TarnGraphicsView::EraserMousePressed(QMouseEvent *)
{
}
