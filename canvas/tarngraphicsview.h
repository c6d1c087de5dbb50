#pragma once

#include <QGraphicsView>
#include <QMutex>
#include <QPoint>
#include <QRect>
#include <QRegion>

class QGraphicsEllipseItem;
class QGraphicsPathItem;
class QSettings;

// A graphics view that keeps its scene in proportion to the window and offers
// a set of mouse tools. A host writes toolSettings, calls
// updatetoolssettings(), writes toolMode and listens to the signals.
class TarnGraphicsView : public QGraphicsView {
    Q_OBJECT

public:
    enum ToolMode {
        ModeNone = 0,
        ModePen = 1,
        ModeEraser = 2,
        ModeKeepMarker = 3,
        ModeRemoveMarker = 4,
        ModeKeepBrush = 5,
        ModeRemoveBrush = 6,
        ModeHand = 7,
        ModeBlueMarker = 8,
        ModeWireMarker = 9,
        ModeWireEraser = 10,
        ModeWireSmartMarker = 11
    };

    int toolMode = ModeNone; // a ToolMode; any other value means ModeNone
    QGraphicsPathItem *pathItem = nullptr; // the pen stroke being drawn
    QGraphicsEllipseItem *cursorItem = nullptr; // the outline under the pointer
    QMutex mutex; // for hosts that draw from a thread; the view never locks it
    QSettings *toolSettings = nullptr; // read by updatetoolssettings(); not owned
    QPoint lastPos; // last reported pointer position, in viewport pixels
    quint8 keepMarkerSize = 0; // scene units
    quint8 removeMarkerSize = 0; // scene units
    quint8 keepBrushSize = 0; // viewport pixels
    quint8 removeBrushSize = 0; // viewport pixels
    quint8 eraserSize = 0; // viewport pixels
    quint8 blueMarkerSize = 0; // viewport pixels
    double markerOpacity = 0.0; // 0 to 1; a stamp gets a tenth of it
    bool mousePressed = false; // a button is held over the view

    explicit TarnGraphicsView(QWidget *parent = nullptr)
        : QGraphicsView(parent)
    {
    }

    // Reads the six sizes and the opacity from toolSettings, which must be set.
    // While "SAMESIZECHECKED" is true (its default), "KEEPMSIZE" alone is read
    // and serves every tool but the blue marker, whose size and opacity stay.
    void updatetoolssettings();

signals:
    void ProgressStage(char *msg);
    void KeepBrush(QRect rect);
    void RemoveBrush(QRect rect);
    void AnyBrush(QRect rect, bool now);
    void HandTool(QPoint, QPoint);
    void WireMarker(QRegion rgn);
    void SmartSelect(QRect rect, bool pressed, bool right = false);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void PenMousePressed(QMouseEvent *event);
    void PenMouseMoved(QMouseEvent *event);
    void PenMouseReleased(QMouseEvent *event);
    void EraserMousePressed(QMouseEvent *event);

    void KeepMarkerPressEvent(QMouseEvent *event);
    void KeepMarkerMouseMoved(QMouseEvent *event);
    void KeepMarkerMouseReleased(QMouseEvent *event);
    void RemoveMarkerPressEvent(QMouseEvent *event);
    void RemoveMarkerMouseMoved(QMouseEvent *event);
    void RemoveMarkerMouseReleased(QMouseEvent *event);
    void BlueMarkerMouseMoved(QMouseEvent *event);

    void KeepBrushMousePressed(QMouseEvent *event);
    void KeepBrushMouseMoved(QMouseEvent *event);
    void KeepBrushMouseReleased(QMouseEvent *event);
    void RemoveBrushMousePressed(QMouseEvent *event);
    void RemoveBrushMouseMoved(QMouseEvent *event);
    void RemoveBrushMouseReleased(QMouseEvent *event);

    void HandMousePressed(QMouseEvent *event);
    void HandMouseMoved(QMouseEvent *event);
    void HandMouseReleased(QMouseEvent *event);

    void WireMarkerMouseMoved(QMouseEvent *event);
    void WireEraserMouseMoved(QMouseEvent *event);
    void WireSmartMarkerMousePressed(QMouseEvent *event);
    void WireSmartMarkerMouseMoved(QMouseEvent *event);
};
