#include "canvas/tarngraphicsview.h"

#include <QMouseEvent>
#include <QResizeEvent>
#include <QSettings>

namespace {

// How much one dimension of the picture follows the window: only a window that
// outgrows the displayed picture, or that shrinks, rescales it. The old size is
// not guarded against zero: a host sets the scene once the view has a size.
double resizeFactor(int newSize, int oldSize, double displayed)
{
    if (newSize > displayed || newSize < oldSize)
        return static_cast<double>(newSize) / oldSize;
    return 1.0;
}

double deviation(double factor)
{
    return factor > 1.0 ? factor : 1.0 / factor;
}

// Sizes are stored as unsigned bytes: 300 becomes 44, a text becomes 0.
quint8 readSize(const QSettings &settings, const QString &key)
{
    return static_cast<quint8>(settings.value(key, QStringLiteral("10")).toInt());
}

} // namespace

void TarnGraphicsView::updatetoolssettings()
{
    const bool sameSize =
        toolSettings->value(QStringLiteral("SAMESIZECHECKED"), QStringLiteral("true")).toBool();
    keepMarkerSize = readSize(*toolSettings, QStringLiteral("KEEPMSIZE"));
    if (sameSize) {
        removeMarkerSize = keepBrushSize = removeBrushSize = eraserSize = keepMarkerSize;
        return; // the blue marker's size and opacity stay on purpose
    }
    removeMarkerSize = readSize(*toolSettings, QStringLiteral("REMOVEMSIZE"));
    keepBrushSize = readSize(*toolSettings, QStringLiteral("KEEPBSIZE"));
    removeBrushSize = readSize(*toolSettings, QStringLiteral("REMOVEBSIZE"));
    eraserSize = readSize(*toolSettings, QStringLiteral("ERASERMSIZE"));
    blueMarkerSize = readSize(*toolSettings, QStringLiteral("BLUEMSIZE"));
    markerOpacity =
        toolSettings->value(QStringLiteral("MOPACITY"), QStringLiteral("0.6")).toDouble();
}

void TarnGraphicsView::mousePressEvent(QMouseEvent *event)
{
    mousePressed = true;
    if (!scene())
        return;
    switch (toolMode) {
    case ModePen: PenMousePressed(event); break;
    case ModeEraser: EraserMousePressed(event); break;
    case ModeKeepBrush: KeepBrushMousePressed(event); break;
    case ModeRemoveBrush: RemoveBrushMousePressed(event); break;
    case ModeHand: HandMousePressed(event); break;
    case ModeWireSmartMarker: WireSmartMarkerMousePressed(event); break;
    default: break;
    }
    QGraphicsView::mousePressEvent(event);
}

void TarnGraphicsView::mouseReleaseEvent(QMouseEvent *event)
{
    mousePressed = false;
    if (!scene())
        return;
    switch (toolMode) {
    case ModePen: PenMouseReleased(event); break;
    case ModeHand: HandMouseReleased(event); break;
    default: break;
    }
    QGraphicsView::mouseReleaseEvent(event);
}

void TarnGraphicsView::mouseMoveEvent(QMouseEvent *event)
{
    if (!scene())
        return;
    switch (toolMode) {
    case ModePen: PenMouseMoved(event); break;
    case ModeKeepMarker: KeepMarkerMouseMoved(event); break;
    case ModeRemoveMarker: RemoveMarkerMouseMoved(event); break;
    case ModeKeepBrush: KeepBrushMouseMoved(event); break;
    case ModeRemoveBrush: RemoveBrushMouseMoved(event); break;
    case ModeHand: HandMouseMoved(event); break;
    case ModeBlueMarker: BlueMarkerMouseMoved(event); break;
    case ModeWireSmartMarker: WireSmartMarkerMouseMoved(event); break;
    default: break;
    }
    QGraphicsView::mouseMoveEvent(event);
}

void TarnGraphicsView::leaveEvent(QEvent *)
{
    dropOutline();
}

void TarnGraphicsView::resizeEvent(QResizeEvent *event)
{
    if (!scene())
        return;
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);

    const QRectF displayed = transform().mapRect(sceneRect());
    const double sx =
        resizeFactor(event->size().width(), event->oldSize().width(), displayed.width());
    const double sy =
        resizeFactor(event->size().height(), event->oldSize().height(), displayed.height());
    const double factor = deviation(sx) > deviation(sy) ? sx : sy;
    scale(factor, factor);
    QGraphicsView::resizeEvent(event);
}
