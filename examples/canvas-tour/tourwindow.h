#pragma once

#include <QGraphicsScene>
#include <QMainWindow>
#include <QRegion>
#include <QSettings>

class QGraphicsPathItem;
class QLabel;
class QListWidget;
class TarnGraphicsView;

// A host of the canvas: buttons that choose its tools, controls for their
// sizes, and a list of everything that it reports.
class TourWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit TourWindow(QWidget *parent = nullptr);

    // To be called once the window is shown.
    void showPicture(const QPixmap &picture);

signals:
    // All that the smart marker has picked so far; connected to WireMarker of the
    // canvas, like any producer of wires.
    void wiresPicked(const QRegion &region);

private:
    QWidget *makeToolButtons();
    QWidget *makeSizeControls();
    QLayout *makeCanvas();
    QWidget *makeSignalList();
    void listSignals();
    void chooseTool(int mode);
    void note(const char *signal, const QString &arguments);

    void pan(QPoint from, QPoint to);
    void pickWire(QRect rect, bool pressed, bool right);
    void paintWires(const QRegion &region);

    QSettings settings;
    QGraphicsScene scene;
    TarnGraphicsView *canvas;
    QLabel *hint;
    QListWidget *signalList;
    QGraphicsPathItem *wireOverlay = nullptr;
    QRegion wires;
    bool unmarking = false;
};
