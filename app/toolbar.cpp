#include "app/toolbar.h"

#include <QAction>
#include <QPainter>
#include <QRegularExpression>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>

namespace {

const QSize largestIcon(25, 25);

// The button of an action that lives in no menu must be reachable by Tab.
void makeButtonsFocusable(QToolBar &toolBar)
{
    for (QToolButton *button : toolBar.findChildren<QToolButton *>())
        button->setFocusPolicy(Qt::TabFocus);
}

// Beside a text in an eastern script its key stands in brackets: "(&O)". The toolkit
// takes the ampersand out of a tool tip and leaves the rest.
void dropKeysFromToolTips(const QToolBar &toolBar)
{
    static const QRegularExpression key(QStringLiteral("\\s*\\(&[A-Z]\\)"));
    for (QAction *action : toolBar.actions()) {
        QString text = action->text();
        if (!text.contains(key))
            continue;
        text.remove(key);
        action->setIconText(text);
        if (action->toolTip() == QString(action->text()).remove(QLatin1Char('&')))
            action->setToolTip(text);
    }
}

// The icon in a frame of the largest one's size. A tool bar has one size for all its
// icons, and to that the toolkit would enlarge, and blur, the smaller ones on a screen of
// double resolution, though not on others.
QIcon framed(const QIcon &icon)
{
    const QList<QSize> sizes = icon.availableSizes();
    const auto isNarrower = [](QSize a, QSize b) { return a.width() < b.width(); };
    const QSize size = *std::min_element(sizes.begin(), sizes.end(), isNarrower);
    QIcon result;
    for (const int resolution : {1, 2}) {
        QPixmap picture = icon.pixmap(size, resolution);
        if (picture.size() != size * resolution)
            continue; // there is no such screen, and so no such picture
        picture.setDevicePixelRatio(1);
        QPixmap frame(largestIcon * resolution);
        frame.fill(Qt::transparent);
        const QSize border = (frame.size() - picture.size()) / 2;
        QPainter(&frame).drawPixmap(border.width(), border.height(), picture);
        result.addPixmap(frame);
    }
    return result;
}

void showIconsUnscaled(QToolBar &toolBar)
{
    toolBar.setIconSize(largestIcon);
    for (QAction *action : toolBar.actions()) {
        auto *button = qobject_cast<QToolButton *>(toolBar.widgetForAction(action));
        if (!button || action->icon().availableSizes().isEmpty())
            continue;
        const auto show = [action, button] { button->setIcon(framed(action->icon())); };
        show();
        // The button takes the action's own icon at each change of a text.
        QObject::connect(action, &QAction::changed, button, show);
    }
}

} // namespace

void prepareToolBar(QToolBar &toolBar)
{
    makeButtonsFocusable(toolBar);
    dropKeysFromToolTips(toolBar);
    showIconsUnscaled(toolBar);
}
