#pragma once

#include <QObject>
#include <QString>

// What a screen reader learns of the window beyond what the toolkit tells by itself.
namespace accessibility {

// Makes, for the objects of every MainWindow from now on, interfaces that
// - call the canvas a picture;
// - answer the call that presses a button or an entry of a menu before they do as
//   told: a dialog would keep the caller, and with it the reader, until it is closed.
void install();

// What appears somewhere in the window and shall be spoken as it does.
class Announcement : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void announce(const QString &text);
    QString text() const { return m_text; }

private:
    QString m_text;
};

} // namespace accessibility
