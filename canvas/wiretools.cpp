#include "canvas/tarngraphicsview.h"

void TarnGraphicsView::WireMarkerMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::WireEraserMouseMoved(QMouseEvent *)
{
}

void TarnGraphicsView::WireSmartMarkerMousePressed(QMouseEvent *)
{
}

void TarnGraphicsView::WireSmartMarkerMouseMoved(QMouseEvent *)
{
}
