#pragma once

#include <QApplication>
#include <QEvent>
#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QMouseEvent>
#include <QTest>

#include "canvas/tarngraphicsview.h"

// A canvas with a scene and one tool, worked through the events that its
// viewport gets. Nothing is scrolled or centred: at the start, viewport
// position (x, y) shows scene position (x, y) of a scene that begins at the
// origin; after zoom(k) it shows (x / k, y / k).
class ToolStage
{
public:
    QGraphicsScene scene;
    TarnGraphicsView view;

    explicit ToolStage(int tool, const QRectF &sceneRect = {0, 0, 200, 150})
        : scene(sceneRect)
    {
        view.toolMode = tool;
        view.setFrameShape(QFrame::NoFrame);
        view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        view.setAlignment(Qt::AlignLeft | Qt::AlignTop);
        view.setTransformationAnchor(QGraphicsView::NoAnchor);
        view.setMouseTracking(true);
        view.resize(400, 300);
        view.show(); // before the scene: the first resize event has no old size
        view.setScene(&scene);
    }

    void zoom(double factor) { view.scale(factor, factor); }

    void press(QPointF position, Qt::MouseButton button = Qt::LeftButton)
    {
        held |= button;
        send(QEvent::MouseButtonPress, position, button);
    }
    void move(QPointF position) { send(QEvent::MouseMove, position, Qt::NoButton); }
    void release(QPointF position, Qt::MouseButton button = Qt::LeftButton)
    {
        held &= ~Qt::MouseButtons(button);
        send(QEvent::MouseButtonRelease, position, button);
    }
    void drag(const QList<QPointF> &points, Qt::MouseButton button = Qt::LeftButton)
    {
        press(points.first(), button);
        for (const QPointF point : points.mid(1))
            move(point);
        release(points.last(), button);
    }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(&view, &event);
    }

    // In the order in which they were added, among equal z values.
    QList<QGraphicsItem *> items() const { return scene.items(Qt::AscendingOrder); }

private:
    void send(QEvent::Type type, QPointF position, Qt::MouseButton button)
    {
        const QPointF global = view.viewport()->mapToGlobal(position);
        QMouseEvent event(type, position, global, button, held, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &event);
    }

    Qt::MouseButtons held = Qt::NoButton;
};

// The rows of a test that holds for any button.
inline void everyButton()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("left button") << Qt::LeftButton;
    QTest::newRow("right button") << Qt::RightButton;
    QTest::newRow("middle button") << Qt::MiddleButton;
}

// The scene complains of an item that it does not hold, and of no item.
inline void expectNotHeldWarning()
{
    static const QRegularExpression notHeld(
        QStringLiteral("^QGraphicsScene::removeItem: item .* is different from this scene"));
    QTest::ignoreMessage(QtWarningMsg, notHeld);
}

inline void expectNullItemWarning()
{
    QTest::ignoreMessage(QtWarningMsg, "QGraphicsScene::removeItem: cannot remove 0-item");
}
