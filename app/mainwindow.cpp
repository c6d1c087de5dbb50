#include "app/mainwindow.h"

#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGraphicsPixmapItem>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QShortcut>
#include <QUrl>

#include "app/accessibility.h"
#include "app/helpdialog.h"
#include "app/homepage.h"
#include "app/toolbar.h"
#include "photo/largepages.h"
#include "photo/photofile.h"
#include "sketch/edgebuffer.h"
#include "sketch/gaussianblur.h"
#include "sketch/levels.h"
#include "ui_mainwindow.h"

namespace {

constexpr int margin = 10; // white paper around the picture, in pixels
constexpr qreal backgroundZ = 1.0;
constexpr qreal pictureZ = 10.0;
constexpr qreal overlayZ = 11.0;

constexpr double zoomInFactor = 1.2;
constexpr double zoomOutFactor = 1.0 / 1.2;

// The toolkit leaves it to the style whether a key alone opens menus.
void openMenusByKey(MainWindow &window, QMenuBar &bar, QMenu &menu, QAction &entry)
{
    const auto *key = new QShortcut(Qt::Key_F10, &window);
    QObject::connect(key, &QShortcut::activated, &window, [&bar, &menu, &entry] {
        bar.setActiveAction(menu.menuAction());
        menu.setActiveAction(&entry);
    });
}

// Never released on purpose, neither by the next open nor with the window. In
// ordinary pages on purpose: large ones it would take, for good, from those that the
// last photo has left, and the next photo would get pages which the host of a virtual
// machine has to find first. That costs several times what it would save here.
unsigned char *newEdgeBuffer(QSize size)
{
    const std::size_t pixels =
        static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
    return new unsigned char[pixels];
}

QPixmap whitePaper(QSize size)
{
    QImage paper = photo::largeImage(size, QImage::Format_RGB32);
    paper.fill(Qt::white);
    return QPixmap::fromImage(std::move(paper));
}

// The item's pixels, which it lets go: what is painted on them copies nothing,
// unless a host keeps the pixmap.
QImage takePixels(QGraphicsPixmapItem &item)
{
    QImage pixels = item.pixmap().toImage();
    item.setPixmap(QPixmap());
    return pixels;
}

// The name may itself contain a %2.
QString inWords(const QString &pattern, const QString &name, QSize size)
{
    return pattern.arg(name, QString::number(size.width()), QString::number(size.height()));
}

// Source over destination: what is marked twice becomes more opaque.
void paintRegion(QImage &image, const QRegion &region)
{
    if (image.isNull())
        return;
    QPainter painter(&image);
    painter.setClipRegion(region, Qt::ReplaceClip);
    painter.fillRect(image.rect(), QColor(255, 0, 0, 150));
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(new Ui_MainWindow)
{
    accessibility::install();
    ui->setupUi(this);
    announcement = new accessibility::Announcement(ui->statusBar);
    describePicture(tr("No photo is open"));
    ui->progressBar->setVisible(false);
    setAcceptDrops(true);
    // With a scene the canvas would accept a dragged file and then drop it.
    ui->graphicsView->setAcceptDrops(false);
    prepareToolBar(*ui->mainToolBar);
    openMenusByKey(*this, *ui->menuBar, *ui->menuFile, *ui->actionOpen);
    // The window's own context menu could hide the tool bar, and Process is
    // nowhere else.
    setContextMenuPolicy(Qt::NoContextMenu);
}

MainWindow::~MainWindow()
{
    delete ui;
}

void MainWindow::on_actionQuit_triggered()
{
    mwquit();
}

void MainWindow::on_actionZoomPlus_triggered()
{
    ui->graphicsView->scale(zoomInFactor, zoomInFactor);
}

void MainWindow::on_actionZoomMinus_triggered()
{
    ui->graphicsView->scale(zoomOutFactor, zoomOutFactor);
}

void MainWindow::on_actionOpen_triggered()
{
    const QString directory = settings.value(QStringLiteral("CurrDir"), QString()).toString();
    fileName = QFileDialog::getOpenFileName(
        this, tr("Open Image"), directory,
        tr("Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)"));
    if (fileName.isEmpty()) {
        tell(tr("No file selected"));
        return;
    }
    open(fileName);
}

void MainWindow::open(QString filename)
{
    // A photo that cannot be read still moves the remembered directory.
    settings.setValue(QStringLiteral("CurrDir"), photo::canonicalDirectory(filename));
    const photo::Photo photo = photo::readPhoto(filename);
    if (photo.image.isNull()) {
        tell(tr("Failed to read image"));
        return;
    }
    sourceImage = photo.image;
    photoName = QFileInfo(filename).fileName();
    setWindowTitle(QStringLiteral("Crayvell - ") + photoName);
    showPhoto(photo.isOpaque ? opaquePixmap(sourceImage) : QPixmap::fromImage(sourceImage));

    lastLevel2 = -100;
    lastLevel1 = -100;
    sketchImage = sourceImage;
    sketchPictures.release();
    describePicture(inWords(tr("Photo %1, %2 by %3 pixels"), photoName, sourceImage.size()));
    edgeBuffer = newEdgeBuffer(sourceImage.size());
    ui->progressBar->setVisible(true);
    inverterodesketch(&sourceImage, edgeBuffer, ui->progressBar);
    ui->progressBar->setVisible(false);
}

// Puts the photo on its white margin into the scene and fits it into the view.
void MainWindow::showPhoto(const QPixmap &photo)
{
    clearScene();

    // The last one is used again if it fits: getting new memory takes long.
    const QSize paperSize = photo.size() + QSize(2 * margin, 2 * margin);
    if (paper.size() != paperSize) {
        paper = QPixmap(); // makes room
        paper = whitePaper(paperSize);
    }
    backgroundItem = scene.addPixmap(paper);
    backgroundItem->setTransformationMode(Qt::SmoothTransformation);
    backgroundItem->setZValue(backgroundZ);
    scene.setSceneRect(0, 0, paper.width(), paper.height());
    addPicture(photo);

    ui->graphicsView->setScene(&scene);
    ui->graphicsView->fitInView(scene.sceneRect(), Qt::KeepAspectRatio);
    ui->graphicsView->setVisible(true);
}

// Items taken out here are not deleted, but their pixels are let go.
void MainWindow::clearScene()
{
    ui->graphicsView->forgetItems();
    takeOut(wireOverlayItem);
    takeOut(sketchItem);
    if (backgroundItem) {
        // Asks for the sketch a second time on purpose: the margin itself goes
        // with clear(), and the scene answers a null item with a warning only.
        scene.removeItem(sketchItem);
        sketchItem = nullptr;
    }
    scene.clear();
}

void MainWindow::takeOut(QGraphicsPixmapItem *&item)
{
    if (!item)
        return;
    scene.removeItem(item);
    item->setPixmap(QPixmap());
    item = nullptr;
}

void MainWindow::addPicture(const QPixmap &picture)
{
    sketchItem = scene.addPixmap(picture);
    sketchItem->setTransformationMode(Qt::SmoothTransformation);
    sketchItem->setPos(margin, margin);
    sketchItem->setZValue(pictureZ);
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    // Without a first URL the path is empty, as for one that is no local file.
    open(event->mimeData()->urls().value(0).toLocalFile());
    event->acceptProposedAction();
}

void MainWindow::inverterodesketch(QImage *src, unsigned char *edgebuff, QProgressBar *pb)
{
    ::inverterodesketch(*src, edgebuff, [pb](int percent) { pb->setValue(percent); });
}

void MainWindow::on_actionProcess_triggered()
{
    // The sketch shown is let go first: the next one is drawn into its memory.
    sketchImage = QImage();
    if (sketchItem)
        sketchItem->setPixmap(QPixmap());
    // As good as a copy of the photo: every pixel is overwritten.
    sketchImage = sketchPictures.next(sourceImage);
    updatePenLevels(sketchImage, ui->horizontalSlider->value(), ui->horizontalSlider_2->value());
    displaysketch();
}

void MainWindow::on_horizontalSlider_valueChanged(int)
{
    on_actionProcess_triggered();
}

void MainWindow::on_horizontalSlider_2_valueChanged(int)
{
    on_actionProcess_triggered();
}

void MainWindow::updatePenLevels(QImage &image, int low, int high)
{
    ::updatePenLevels(image, edgeBuffer, low, high);
}

void MainWindow::blur(QImage *source, QImage *destination, int size, double sigma)
{
    ::blur(source, destination, size, sigma);
}

void MainWindow::displaysketch()
{
    const QPixmap picture = opaquePixmap(sketchImage);
    if (sketchItem) {
        scene.removeItem(sketchItem);
        delete sketchItem;
        sketchItem = nullptr;
    }
    addPicture(picture);
    if (!sketchImage.isNull())
        describePicture(
            inWords(tr("Sketch of %1, %2 by %3 pixels"), photoName, sketchImage.size()));
}

// For screen readers, which may speak each change.
void MainWindow::describePicture(const QString &description)
{
    if (ui->graphicsView->accessibleDescription() != description)
        ui->graphicsView->setAccessibleDescription(description);
}

void MainWindow::tell(const QString &message)
{
    ui->statusBar->showMessage(message, 0);
    announcement->announce(message);
}

void MainWindow::on_actionSave_triggered()
{
    if (sketchImage.isNull()) {
        tell(QStringLiteral("Nothing to save."));
        return;
    }
    const QString openDirectory = settings.value(QStringLiteral("CurrDir"), QString()).toString();
    const QString directory =
        settings.value(QStringLiteral("CurrSaveDir"), openDirectory).toString();
    const QString target = QFileDialog::getSaveFileName(this, tr("Save Image"), directory,
                                                        tr("JPG Files (*.jpg);;PNG Files (*.png)"));
    if (target.isEmpty()) {
        tell(tr("No file selected"));
        return;
    }
    photo::writeSketch(sketchImage, target); // a failed save is silent
    settings.setValue(QStringLiteral("CurrSaveDir"), photo::canonicalDirectory(target));
}

void MainWindow::on_actionIndex_triggered()
{
    // Each trigger shows a further dialog; they all go with the window.
    auto *help = new HelpDialog(this);
    help->setVisible(true);
}

void MainWindow::on_actionAbout_triggered()
{
    // The title says 2.0 on purpose: the settings hang on the name that says 1.0.
    // The text holds the address itself, so that a translation replaces all of it.
    QMessageBox::about(this, tr("Crayvell 2.0"),
                       tr("Pencil sketches by Dellumbra software\nhttps://www.dellumbra.example/"));
}

void MainWindow::on_actionHome_triggered()
{
    QUrl url(homepage());
    url.setQuery(QStringLiteral("from=qzx"));
    QDesktopServices::openUrl(url);
}

// Each call replaces the item by one with the region added, so marks add up.
// The overlay stays at the scene's origin, not at the picture's position:
// region coordinates are scene coordinates.
void MainWindow::ProcessWireMarker(QRegion rgn)
{
    QImage overlay = wireOverlayItem ? takePixels(*wireOverlayItem) : emptyOverlay(sourceImage);
    paintRegion(overlay, rgn);
    if (wireOverlayItem) {
        scene.removeItem(wireOverlayItem);
        delete wireOverlayItem;
    }
    wireOverlayItem = scene.addPixmap(QPixmap::fromImage(std::move(overlay)));
    wireOverlayItem->setZValue(overlayZ);
}

// Wire detection has no implementation; the names are kept for hosts.
void MainWindow::detectwire()
{
}

void MainWindow::colorsobel()
{
}
