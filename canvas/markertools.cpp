#include "canvas/tarngraphicsview.h"

void TarnGraphicsView::KeepMarkerPressEvent(QMouseEvent *)
{
}

void TarnGraphicsView::KeepMarkerMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::KeepMarkerMouseReleased(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveMarkerPressEvent(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveMarkerMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::RemoveMarkerMouseReleased(QMouseEvent *)
{
}

void TarnGraphicsView::BlueMarkerMouseMoved(QMouseEvent *)
{
}
