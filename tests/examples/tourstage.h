#pragma once

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "tests/support/xserver.h"

// How many pixels of an area of the screen are wanted ones.
template <typename Wanted> int count(const QImage &screen, QRect area, const Wanted &wanted)
{
    int result = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            result += wanted(screen.pixel(x, y)) ? 1 : 0;
    return result;
}

inline int count(const QImage &screen, QRect area, QRgb colour)
{
    return count(screen, area,
                 [=](QRgb pixel) { return (pixel & RGB_MASK) == (colour & RGB_MASK); });
}

inline bool alike(QRgb a, QRgb b, int tolerance)
{
    return qAbs(qRed(a) - qRed(b)) <= tolerance && qAbs(qGreen(a) - qGreen(b)) <= tolerance
        && qAbs(qBlue(a) - qBlue(b)) <= tolerance;
}

// The tour in a real window, worked from outside like a user would. Its photo has
// a colour of its own at every place.
class TourStage
{
protected:
    void openScreen();
    void closeTour();
    static void scales();
    bool startTour(int displayScale, const char *photo = "photo.png");
    // Through its button; the mode is what the button writes.
    bool selectTool(const char *mnemonic, int mode);
    // A point of the photo, in hundredths of its size.
    QPoint at(int x, int y) const;
    // What the tour has written since the tool was chosen, or of that what one
    // signal caused.
    QStringList output(const char *signal = "");
    // Looks at the screen until something is to be seen there, and keeps the
    // picture.
    template <typename Seen> bool eventually(const Seen &seen);
    // Leaves a picture of the window in the build folder.
    void finish(const char *name);

    XServer server {QSize(2400, 1700)};
    QTemporaryDir folder;
    QProcess tour;
    QString window;
    QStringList lines;
    int scale = 1;
    QRect area; // of the photo, on the screen
    QImage screen;
};

template <typename Seen> bool TourStage::eventually(const Seen &seen)
{
    return QTest::qWaitFor(
        [&] {
            screen = server.screenshot();
            return !screen.isNull() && seen();
        },
        30000);
}
