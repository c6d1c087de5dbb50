#pragma once

#include <QByteArray>
#include <QGraphicsView>
#include <QMutex>
#include <QPoint>
#include <QRect>
#include <QRegion>

#include <memory>

class QGraphicsEllipseItem;
class QGraphicsPathItem;
class QSettings;

// A graphics view that keeps its picture in proportion to the window and offers
// a set of mouse tools. Everything happens on the GUI thread. A complete host of
// a dozen lines is in examples/canvas-tour/README.md.
//
// A host
//  - sets a scene once the view has its size, since the first resize event of a
//    view (whose old size is invalid) would scale the picture by nonsense;
//    without a scene every mouse and resize event is swallowed;
//  - gives the scene a rectangle that starts at (0, 0): the markers expect it;
//  - switches mouse tracking on, so that the outline of a tool also follows a
//    pointer whose buttons are up;
//  - writes toolSettings and calls updatetoolssettings() before it selects a
//    tool that has a size, and again whenever it has changed the settings, or
//    writes the sizes and the opacity itself;
//  - selects a tool by writing toolMode, at any time, and connects the signals
//    that it needs. After each tool the event also takes the way that it has in
//    any QGraphicsView.
//
// The items that tools add belong to the scene, like the host's own. The view
// deletes none of them, and what it or the eraser takes out of the scene is not
// deleted either: it is left to whoever still knows it. All outlines (of tools,
// strokes and stamps) are one device pixel wide at any zoom.
//
// The outline is an unfilled black ellipse at z 20, one for the brushes, the
// blue marker and the wire smart marker. It appears with the first move whose
// rectangle lies in the scene (for the wire smart marker: touches it) and
// follows the pointer; a move out of the scene or the pointer leaving the view
// takes it out, and the next move inside makes a new one. Choosing another tool
// leaves it where it is, as releasing a button does. The eraser can take it out
// like any ellipse; it is then missing until the pointer has left the view
// once, which the scene answers with a warning. It also warns of each item that
// the eraser meets and leaves.
//
// A host may clear, replace or delete its scene at any time, in the middle of a
// drag and in a slot connected to one of the signals too: the view's pointers
// to items become null with them. The one thing it must do: before it takes the
// outline or a stroke out of the scene by itself and keeps it, call
// forgetItems(). It must not delete the view in a slot connected to it.
//
// What a host may not expect, and what it can do about it:
//  - The second press of a double click reaches no tool and leaves mousePressed
//    false; its release reaches the tool. A host that wants both presses filters
//    the viewport's events and sends a MouseButtonPress in place of each
//    MouseButtonDblClick.
//  - Releasing one of two held buttons ends the drag for every tool, as if both
//    were up.
//  - Choosing another tool in the middle of a stroke leaves pathItem set, and
//    the pen goes on with that stroke once it is chosen again and a button is
//    held: set pathItem to null with toolMode. Nor does it take the hand's
//    cursor off: viewport()->unsetCursor() does.
//  - Each resize with a scene shows both scroll bars for good. They take room
//    from the viewport, the first time by a resize of their own: with both
//    policies at Qt::ScrollBarAlwaysOn from the start nothing changes then.
//  - A viewport that is squeezed to no width or no height scales by zero, and no
//    later resize undoes that, nor does fitInView() by itself. Keep it from
//    collapsing (by a minimum size, in a QSplitter by setChildrenCollapsible())
//    or call resetTransform() and then fitInView().
//  - A resize looks at the view's sceneRect(), the tools at the scene's: a host
//    that gives the view a rectangle of its own has two.
//  - With a scene the view takes part in drag and drop for the scene's items and
//    a window around it sees no drop there, unless the host calls
//    setAcceptDrops(false) on the view.
class TarnGraphicsView : public QGraphicsView
{
    Q_OBJECT

public:
    // Any mouse button works a tool unless one is named.
    enum ToolMode {
        ModeNone = 0, // an ordinary QGraphicsView, like every unknown number
        ModePen = 1, // the left button draws a yellow line at z 10; ProgressStage
        ModeEraser = 2, // each press takes rectangle and ellipse items out
        ModeKeepMarker = 3, // a drag stamps green squares at z 10
        ModeRemoveMarker = 4, // a drag stamps red discs at z 10
        ModeKeepBrush = 5, // outline; AnyBrush
        ModeRemoveBrush = 6, // outline; AnyBrush
        ModeHand = 7, // a drag reports its steps, nothing moves by itself; HandTool
        ModeBlueMarker = 8, // outline; a drag stamps faint blue discs at z 10
        ModeWireMarker = 9, // nothing: the host may give it a meaning
        ModeWireEraser = 10, // nothing: the host may give it a meaning
        ModeWireSmartMarker = 11 // outline; SmartSelect
    };

    int toolMode = ModeNone; // a ToolMode, written by the host
    QGraphicsPathItem *pathItem = nullptr; // the stroke between press and release
    QGraphicsEllipseItem *cursorItem = nullptr; // the outline while it is shown
    QMutex mutex; // unused: nothing locks it, and it makes nothing safe
    QSettings *toolSettings = nullptr; // written by the host, which keeps it alive
    QPoint lastPos; // last reported pointer position, in viewport pixels
    // The brushes, the eraser and the blue marker reach half their size, rounded
    // down, to each side of the pointer, in viewport pixels: 11 works like 10,
    // 0 and 1 reach nothing. Keep and remove stamps have their top-left corner
    // at the pointer and their size in scene units.
    quint8 keepMarkerSize = 0; // scene units
    quint8 removeMarkerSize = 0; // scene units
    quint8 keepBrushSize = 0; // viewport pixels
    quint8 removeBrushSize = 0; // viewport pixels
    quint8 eraserSize = 0; // viewport pixels
    quint8 blueMarkerSize = 0; // viewport pixels
    double markerOpacity = 0.0; // 0 to 10; a blue stamp is a tenth as opaque
    bool mousePressed = false; // a button is held over the view

    explicit TarnGraphicsView(QWidget *parent = nullptr)
        : QGraphicsView(parent)
    {
    }

    // Reads the six sizes and the opacity from the current group of
    // toolSettings, which must be set; it writes nothing there.
    // While "SAMESIZECHECKED" is true (its default), "KEEPMSIZE" (10) alone is
    // read and serves every tool but the blue marker, whose size and opacity
    // stay as they were: a host that uses that marker sets the flag to false
    // or writes blueMarkerSize and markerOpacity itself. Otherwise
    // "REMOVEMSIZE", "KEEPBSIZE", "REMOVEBSIZE", "ERASERMSIZE", "BLUEMSIZE"
    // (10 each) and "MOPACITY" (0.6) are read too. A size keeps its low 8 bits;
    // a text that is no number counts as 0.
    void updatetoolssettings();

    // Lets go of the outline and of the stroke being drawn, which stay where
    // they are. The next move starts a new outline, the next press a new stroke.
    void forgetItems();

    // Rectangles, points and regions are in scene coordinates, in whole units,
    // truncated towards zero unless said otherwise; what an int cannot hold is
    // cut off where ints end. So a square of fewer viewport pixels than the zoom
    // is empty: above zoom 10 that of the wire smart marker is. A brush
    // rectangle is the square around the pointer described at the sizes.
signals:
    // The pen: "mouse moved", then "path empty" on a stroke's first move, then
    // "path z is 0" on every move of a stroke; "Released" on any release. The
    // number is no z value: it tells whether the item is clipped, 1 only if the
    // host has given it a parent that clips. The text is valid during the
    // emission only: copy it, and connect directly.
    void ProgressStage(char *msg);
    // Never emitted: both brushes report through AnyBrush, and toolMode tells
    // them apart.
    void KeepBrush(QRect rect);
    void RemoveBrush(QRect rect);
    // A brush: the press, if the rectangle lies wholly in the scene's (now is
    // true), and every move with a button held, inside the scene or not and not
    // clipped to it (now is false). A size of 0 or 1 gives an empty rectangle.
    void AnyBrush(QRect rect, bool now);
    // The hand: the ends of each step of a drag, rounded, halves up, both
    // mapped with the view's transform of this moment. To pan, move the view
    // or the picture by their difference.
    void HandTool(QPoint, QPoint);
    // Never emitted by the view: for a host that makes regions of wires, from
    // what SmartSelect reports for example, and paints them. Connect the signal
    // of whatever makes them to this one.
    void WireMarker(QRegion rgn);
    // The wire smart marker: the 10 by 10 viewport pixels around the pointer,
    // clipped to the scene rectangle (rounded). Emitted on each press (pressed
    // is true, right tells the right button), even with an empty rectangle, and
    // on each move to a new position, unless it is empty there, whether or not a
    // button is held (both are false): a host that follows drags notes the last
    // press.
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

    // The outline shared by the tools; see canvas/outline.cpp.
    void followInsideScene(const QRectF &rect);
    void showOutline(const QRectF &rect);
    void addOutline();
    void dropOutline();

    void pressBrush(QMouseEvent *event, int size);
    void moveBrush(QMouseEvent *event, int size);
    void reportProgress(QByteArray text);

    // Expires with this view, for items that outlive it.
    std::shared_ptr<void> life = std::make_shared<char>();
};
