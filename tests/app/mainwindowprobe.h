#pragma once

#include "app/mainwindow.h"
#include "ui_mainwindow.h"

// Lets tests look at the members of a main window.
struct MainWindowProbe
{
    static Ui_MainWindow &ui(MainWindow &window) { return *window.ui; }
    static QGraphicsScene &scene(MainWindow &window) { return window.scene; }
    static QSettings &settings(MainWindow &window) { return window.settings; }
    static QString fileName(MainWindow &window) { return window.fileName; }
    static QGraphicsPixmapItem *&sketchItem(MainWindow &window) { return window.sketchItem; }
    static QGraphicsPixmapItem *&wireOverlayItem(MainWindow &window)
    {
        return window.wireOverlayItem;
    }
    static QGraphicsPixmapItem *&backgroundItem(MainWindow &window)
    {
        return window.backgroundItem;
    }
    static QList<int> numbers(MainWindow &window)
    {
        return {window.lastLevel1, window.lastLevel2, window.spareThreshold, int(window.spare1),
                int(window.spare2)};
    }
    static QUndoStack &undoStack(MainWindow &window) { return window.undoStack; }
    static const void *extraItem(MainWindow &window) { return window.extraItem; }
    static qsizetype codeCount(MainWindow &window) { return window.codeList.size(); }
    static QImage &sourceImage(MainWindow &window) { return window.sourceImage; }
    static QImage &sketchImage(MainWindow &window) { return window.sketchImage; }
    static unsigned char *edgeBuffer(MainWindow &window) { return window.edgeBuffer; }
    static void open(MainWindow &window, const QString &fileName) { window.open(fileName); }
};
