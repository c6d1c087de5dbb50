#include "canvas/tarngraphicsview.h"

void TarnGraphicsView::KeepBrushMousePressed(QMouseEvent *)
{
}

void TarnGraphicsView::KeepBrushMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::KeepBrushMouseReleased(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveBrushMousePressed(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveBrushMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveBrushMouseReleased(QMouseEvent *)
{
}
