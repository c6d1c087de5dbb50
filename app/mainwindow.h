#pragma once

#include <QGraphicsScene>
#include <QImage>
#include <QList>
#include <QMainWindow>
#include <QRegion>
#include <QSettings>
#include <QString>
#include <QUndoStack>

#include "app/sketchpictures.h"

class QGraphicsPixmapItem;
class QProgressBar;
class Ui_MainWindow;
namespace accessibility {
class Announcement;
}

// The program's one window: a photo, its sketch, and the two levels between
// them. It joins the canvas (canvas/) to the sketch arithmetic (sketch/).
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

signals:
    void mwquit();

    // The slots named on_<object>_<signal> are connected by their names when
    // the layout is set up.
private slots:
    void on_actionHome_triggered();
    void on_horizontalSlider_valueChanged(int value);
    void on_actionIndex_triggered();
    void on_actionAbout_triggered();
    void on_actionQuit_triggered();
    void on_actionSave_triggered();
    void on_actionProcess_triggered();
    void on_actionZoomMinus_triggered();
    void on_actionZoomPlus_triggered();
    void on_actionOpen_triggered();
    void ProcessWireMarker(QRegion rgn);
    void inverterodesketch(QImage *src, unsigned char *edgebuff, QProgressBar *pb);
    void on_horizontalSlider_2_valueChanged(int value);
    void open(QString filename);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void showPhoto(const QPixmap &photo);
    void clearScene();
    void takeOut(QGraphicsPixmapItem *&item);
    void addPicture(const QPixmap &picture);
    void describePicture(const QString &description);
    void tell(const QString &message);
    void displaysketch();
    void updatePenLevels(QImage &image, int low, int high);
    void blur(QImage *source, QImage *destination, int size, double sigma);
    void detectwire();
    void colorsobel();

    Ui_MainWindow *ui;
    QGraphicsScene scene;
    QSettings settings;
    QString fileName; // the path last chosen in the Open dialog
    QGraphicsPixmapItem *sketchItem = nullptr; // shows the photo, later the sketch
    QGraphicsPixmapItem *wireOverlayItem = nullptr;
    void *extraItem = nullptr;
    QGraphicsPixmapItem *backgroundItem = nullptr; // the white margin
    int lastLevel1 = 0;
    int lastLevel2 = 0;
    QUndoStack undoStack;
    quint64 spare1 = 0;
    quint64 spare2 = 0;
    int spareThreshold = 55;
    QImage sourceImage; // the photo, Format_ARGB32
    QImage sketchImage; // what Save writes, Format_ARGB32
    QList<unsigned short> codeList;
    // One byte a pixel of sourceImage, row-major: 0 is white paper, 255 the
    // darkest stroke. Each open allocates its own and none is ever released.
    unsigned char *edgeBuffer = nullptr;
    SketchPictures sketchPictures;
    QPixmap paper; // of the last photo's size, white
    QString photoName; // the photo's file, without its folder
    accessibility::Announcement *announcement;

    friend struct MainWindowProbe; // lets the tests look at the members
};
