#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QResizeEvent>
#include <QSet>
#include <QWheelEvent>

#include <cstdint>
#include <memory>

#include "canvas/tarngraphicsview.h"
#include "tests/fuzz/application.h"

namespace {

constexpr int mostEvents = 200;

// Draws numbers from the input; zeros behind its end.
class Numbers
{
public:
    Numbers(const std::uint8_t *bytes, std::size_t count)
        : m_bytes(bytes)
        , m_left(count)
    {
    }
    bool isEmpty() const { return m_left == 0; }
    int byte()
    {
        if (m_left == 0)
            return 0;
        --m_left;
        return *m_bytes++;
    }
    // -32,768 to 32,767: also far outside the view.
    int wide() { return static_cast<std::int16_t>(byte() << 8 | byte()); }
    // Mostly inside the view.
    int position() { return byte() * 2 - 50; }

private:
    const std::uint8_t *m_bytes;
    std::size_t m_left;
};

// The items that a canvas takes out of its scene and leaves to whoever knows them.
class ItemsTakenOut
{
public:
    ItemsTakenOut() = default;
    ~ItemsTakenOut() { qDeleteAll(m_items); }
    Q_DISABLE_COPY_MOVE(ItemsTakenOut)

    void lookAt(const QGraphicsScene &scene)
    {
        for (QGraphicsItem *const item : scene.items())
            m_items.insert(item);
    }
    // Before a scene goes, with what is still in it.
    void leaveAlone(const QGraphicsScene &scene)
    {
        for (QGraphicsItem *const item : scene.items())
            m_items.remove(item);
    }

private:
    QSet<QGraphicsItem *> m_items;
};

class Stage
{
public:
    Stage()
    {
        m_view->setScene(m_scene.get());
        m_view->setMouseTracking(true);
        m_view->resize(400, 300);
        m_view->show();
    }
    ~Stage()
    {
        m_view.reset(); // takes items out, too
        m_takenOut.leaveAlone(*m_scene);
    }
    Q_DISABLE_COPY_MOVE(Stage)

    void step(Numbers &numbers)
    {
        change(numbers);
        m_takenOut.lookAt(*m_scene);
    }

private:
    void change(Numbers &numbers)
    {
        switch (numbers.byte() % 12) {
        case 0: return press(numbers);
        case 1: return move(numbers);
        case 2: return release(numbers);
        case 3: return wheel(numbers);
        case 4: return key(numbers);
        case 5: return m_view->resize(numbers.byte(), numbers.byte());
        case 6: m_view->toolMode = numbers.byte() % 14; return;
        case 7: return sizes(numbers);
        case 8: return scene(numbers);
        case 9: return item(numbers);
        case 10: return zoom(numbers);
        default: return leave();
        }
    }
    void send(QEvent::Type type, QPointF position, Qt::MouseButton button)
    {
        QMouseEvent event(type, position, m_view->viewport()->mapToGlobal(position), button, m_held,
                          Qt::NoModifier);
        QApplication::sendEvent(m_view->viewport(), &event);
    }
    static Qt::MouseButton button(Numbers &numbers)
    {
        constexpr Qt::MouseButton buttons[] = {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton};
        return buttons[numbers.byte() % 3];
    }
    static QPointF point(Numbers &numbers)
    {
        if (numbers.byte() % 8 == 0)
            return QPointF(numbers.wide(), numbers.wide());
        return QPointF(numbers.position(), numbers.position());
    }
    void press(Numbers &numbers)
    {
        const Qt::MouseButton pressed = button(numbers);
        m_held |= pressed;
        const bool isDouble = numbers.byte() % 8 == 0;
        send(isDouble ? QEvent::MouseButtonDblClick : QEvent::MouseButtonPress, point(numbers),
             pressed);
    }
    void move(Numbers &numbers) { send(QEvent::MouseMove, point(numbers), Qt::NoButton); }
    void release(Numbers &numbers)
    {
        const Qt::MouseButton released = button(numbers);
        m_held &= ~Qt::MouseButtons(released);
        send(QEvent::MouseButtonRelease, point(numbers), released);
    }
    void wheel(Numbers &numbers)
    {
        const QPointF at = point(numbers);
        QWheelEvent event(at, m_view->viewport()->mapToGlobal(at), QPoint(),
                          QPoint(numbers.wide(), numbers.wide()), m_held, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(m_view->viewport(), &event);
    }
    void key(Numbers &numbers)
    {
        QKeyEvent event(numbers.byte() % 2 ? QEvent::KeyPress : QEvent::KeyRelease,
                        numbers.byte() % 2 ? Qt::Key_Space + numbers.byte()
                                           : Qt::Key_Escape + numbers.byte(),
                        Qt::NoModifier);
        QApplication::sendEvent(m_view.get(), &event);
    }
    void sizes(Numbers &numbers)
    {
        for (quint8 *const size :
             {&m_view->keepMarkerSize, &m_view->removeMarkerSize, &m_view->keepBrushSize,
              &m_view->removeBrushSize, &m_view->eraserSize, &m_view->blueMarkerSize})
            *size = static_cast<quint8>(numbers.byte());
        m_view->markerOpacity = numbers.byte() / 25.0;
    }
    void scene(Numbers &numbers)
    {
        if (numbers.byte() % 4 == 0)
            m_view->setScene(nullptr);
        m_view->forgetItems();
        m_takenOut.leaveAlone(*m_scene);
        m_scene = std::make_unique<QGraphicsScene>(0, 0, numbers.wide(), numbers.wide());
        m_view->setScene(m_scene.get());
    }
    void item(Numbers &numbers)
    {
        const QRectF place(numbers.position(), numbers.position(), numbers.byte(), numbers.byte());
        if (numbers.byte() % 2)
            m_scene->addRect(place);
        else
            m_scene->addEllipse(place);
    }
    void zoom(Numbers &numbers)
    {
        const double scale = (numbers.byte() + 1) / 64.0;
        m_view->scale(scale, scale);
    }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(m_view.get(), &event);
    }

    ItemsTakenOut m_takenOut; // goes last
    std::unique_ptr<QGraphicsScene> m_scene = std::make_unique<QGraphicsScene>(0, 0, 200, 150);
    std::unique_ptr<TarnGraphicsView> m_view = std::make_unique<TarnGraphicsView>();
    Qt::MouseButtons m_held = Qt::NoButton;
};

} // namespace

// What users and hosts do to a canvas, in any order.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    startApplication();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    Numbers numbers(bytes, count);
    Stage stage;
    for (int i = 0; i < mostEvents && !numbers.isEmpty(); ++i)
        stage.step(numbers);
    // What the window system would say, and painting; else it waits for ever in a queue.
    QCoreApplication::processEvents();
    return 0;
}
