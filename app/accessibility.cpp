#include "app/accessibility.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

#include "app/mainwindow.h"
#include "canvas/tarngraphicsview.h"

namespace accessibility {

namespace {

bool isInMainWindow(const QObject *object)
{
    while (object && !qobject_cast<const MainWindow *>(object))
        object = object->parent();
    return object != nullptr;
}

// The toolkit presses at once. All else here is as with its own interface for a button
// without a menu.
class ToolButton : public QAccessibleWidget
{
public:
    explicit ToolButton(QToolButton &button)
        : QAccessibleWidget(&button, QAccessible::Button)
        , m_button(button)
    {
        addControllingSignal(QStringLiteral("clicked()"));
    }

    QString text(QAccessible::Text kind) const override
    {
        const QString text = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && text.isEmpty() ? m_button.text() : text;
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.pressed = m_button.isDown();
        state.hotTracked = state.hotTracked || m_button.autoRaise();
        return state;
    }

    QStringList actionNames() const override
    {
        if (!m_button.isEnabled())
            return {};
        return QStringList {pressAction()} + QAccessibleWidget::actionNames();
    }

    void doAction(const QString &name) override
    {
        if (name == pressAction())
            QMetaObject::invokeMethod(&m_button, &QToolButton::click, Qt::QueuedConnection);
        else
            QAccessibleWidget::doAction(name);
    }

private:
    QToolButton &m_button;
};

// The menu in which an action stands that opens no menu itself; null for others.
QMenu *menuWith(const QAction &action)
{
    if (action.menu() || action.isSeparator())
        return nullptr;
    for (QObject *place : action.associatedObjects())
        if (auto *menu = qobject_cast<QMenu *>(place))
            return menu;
    return nullptr;
}

// The toolkit triggers at once. All else here is as with its own interface.
class MenuItem : public QAccessibleObject, public QAccessibleActionInterface
{
public:
    MenuItem(QAction &action, QMenu &menu)
        : QAccessibleObject(&action)
        , m_action(action)
        , m_menu(&menu)
    {
    }

    bool isValid() const override { return QAccessibleObject::isValid() && m_menu; }
    QWindow *window() const override { return m_menu ? m_menu->windowHandle() : nullptr; }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_menu);
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::MenuItem; }

    QRect rect() const override
    {
        if (!m_menu)
            return {};
        return m_menu->actionGeometry(&m_action).translated(m_menu->mapToGlobal(QPoint(0, 0)));
    }

    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name)
            return m_action.iconText();
        return kind == QAccessible::Accelerator ? m_action.shortcut().toString() : QString();
    }

    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!m_menu)
            return state;
        state.invisible = !m_menu->isVisible() || !m_action.isVisible();
        state.focused = m_menu->activeAction() == &m_action;
        state.hotTracked = m_menu->style()->styleHint(QStyle::SH_Menu_MouseTracking) != 0;
        state.disabled = !m_action.isEnabled();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
            ? static_cast<QAccessibleActionInterface *>(this)
            : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

    void doAction(const QString &name) override
    {
        if (name == pressAction() && m_action.isEnabled())
            QMetaObject::invokeMethod(&m_action, &QAction::trigger, Qt::QueuedConnection);
    }

private:
    QAction &m_action;
    QPointer<QMenu> m_menu;
};

// Of all kinds of objects and events, readers speak this one by itself.
class Notification : public QAccessibleObject
{
public:
    explicit Notification(Announcement &announcement)
        : QAccessibleObject(&announcement)
        , m_announcement(announcement)
    {
    }

    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_announcement.parent());
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Notification; }
    QAccessible::State state() const override { return {}; }
    QRect rect() const override { return parent() ? parent()->rect() : QRect(); }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? m_announcement.text() : QString();
    }

private:
    Announcement &m_announcement;
};

// The toolkit asks once for each class of the object, from the last one to QObject.
QAccessibleInterface *interfaceFor(const QString &, QObject *object)
{
    if (auto *announcement = qobject_cast<Announcement *>(object))
        return new Notification(*announcement);
    if (!isInMainWindow(object))
        return nullptr;
    if (auto *canvas = qobject_cast<TarnGraphicsView *>(object))
        return new QAccessibleWidget(canvas, QAccessible::Graphic);
    if (auto *button = qobject_cast<QToolButton *>(object);
        button && button->defaultAction() && qobject_cast<QToolBar *>(button->parent()))
        return new ToolButton(*button);
    if (auto *action = qobject_cast<QAction *>(object);
        action && qobject_cast<MainWindow *>(action->parent()))
        if (QMenu *menu = menuWith(*action))
            return new MenuItem(*action, *menu);
    return nullptr;
}

} // namespace

void install()
{
    QAccessible::installFactory(interfaceFor);
}

void Announcement::announce(const QString &text)
{
    m_text = text;
    QAccessibleEvent shown(this, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}

} // namespace accessibility
