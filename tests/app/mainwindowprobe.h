#pragma once

#include "app/mainwindow.h"

// Lets a test look at what the main window keeps to itself.
struct MainWindowProbe
{
    static QGraphicsScene &scene(MainWindow &w) { return w.scene; }
    static QGraphicsPixmapItem *&wireOverlayItem(MainWindow &w) { return w.wireOverlayItem; }
};
