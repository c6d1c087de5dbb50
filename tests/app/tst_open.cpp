#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGraphicsPixmapItem>
#include <QMimeData>
#include <QSignalSpy>

#include <memory>

#include "sketch/reference/edgebuffer.h"
#include "tests/app/mainwindowprobe.h"
#include "tests/support/dialogs.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

namespace {

QString message(MainWindow &window)
{
    return MainWindowProbe::ui(window).statusBar->currentMessage();
}

QString currentDirectory(MainWindow &window)
{
    return MainWindowProbe::settings(window).value(QStringLiteral("CurrDir")).toString();
}

// Drags a list of URLs over a place of the window and lets go, in the way the
// platform does: the toolkit finds the widget that takes it. Whether the window
// took the drop.
bool drop(MainWindow &window, QPoint place, const QList<QUrl> &list)
{
    QMimeData data;
    data.setUrls(list);
    QWindow *handle = window.windowHandle();
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(handle, &enter);
    QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    drop.ignore();
    QApplication::sendEvent(handle, &drop);
    return enter.isAccepted() && drop.isAccepted();
}

constexpr QPoint onTheFrame(5, 5);

} // namespace

class OpenTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void cancelledDialogChangesNothing();
    void dialogHasItsTexts();
    void photoIsShownOnItsMargin();
    void edgesAreComputed();
    void progressIsShown();
    void secondPhotoReplacesTheFirst();
    void secondPhotoOfTheSameSizeLiesOnWhitePaper();
    void onePixelPhoto();
    void failureMovesOnlyTheDirectory();
    void failureKeepsTheFirstPhoto();
    void directoryIsCanonical();
    void dragIsAccepted_data();
    void dragIsAccepted();
    void droppedFileOpens();
    void dropOpensTheFirstOfSeveral();
    void dropOfNoLocalFileFails();
    void dropOfAnEmptyListFails();
    void dropOnTheCanvasOpens_data();
    void dropOnTheCanvasOpens();

private:
    QString path(const char *name) const { return m_folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir m_folder;
    QImage m_photo = pictures::scene(120, 80);
    std::unique_ptr<MainWindow> m_window;
};

void OpenTest::initTestCase()
{
    QVERIFY(m_photo.save(path("beach.png")));
    QVERIFY(pictures::noise(61, 47).save(path("noise.png")));
    QVERIFY(pictures::noise(1, 1).save(path("dot.png")));
}

void OpenTest::init()
{
    m_window = std::make_unique<MainWindow>();
    MainWindowProbe::settings(*m_window).clear();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void OpenTest::cleanup()
{
    m_window.reset();
}

void OpenTest::cancelledDialogChangesNothing()
{
    MainWindowProbe::open(*m_window, path("beach.png"));
    dialogs::cancelNext();
    MainWindowProbe::ui(*m_window).actionOpen->trigger();
    QCOMPARE(message(*m_window), QStringLiteral("No file selected"));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - beach.png"));
    QCOMPARE(MainWindowProbe::sourceImage(*m_window).size(), m_photo.size());
    QVERIFY(MainWindowProbe::fileName(*m_window).isEmpty());
}

void OpenTest::dialogHasItsTexts()
{
    MainWindowProbe::settings(*m_window).setValue(QStringLiteral("CurrDir"), m_folder.path());
    QString title;
    QString directory;
    QStringList filters;
    dialogs::whenFileDialogOpens([&](QFileDialog &dialog) {
        title = dialog.windowTitle();
        directory = dialog.directory().path();
        filters = dialog.nameFilters();
        dialogs::choose(dialog, path("beach.png"));
    });
    MainWindowProbe::ui(*m_window).actionOpen->trigger();
    QCOMPARE(title, QStringLiteral("Open Image"));
    QCOMPARE(directory, m_folder.path());
    QCOMPARE(
        filters,
        QStringList({QStringLiteral("Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif)"),
                     QStringLiteral("All files (*.*)")}));
    QCOMPARE(MainWindowProbe::fileName(*m_window), path("beach.png"));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - beach.png"));
}

void OpenTest::photoIsShownOnItsMargin()
{
    MainWindowProbe::open(*m_window, path("beach.png"));
    QGraphicsScene &scene = MainWindowProbe::scene(*m_window);
    const auto *margin = MainWindowProbe::backgroundItem(*m_window);
    const auto *photo = MainWindowProbe::sketchItem(*m_window);
    QCOMPARE(scene.sceneRect(), QRectF(0, 0, 140, 100));
    QCOMPARE(scene.items(Qt::AscendingOrder).size(), 2);

    QCOMPARE(margin->pos(), QPointF(0, 0));
    QCOMPARE(margin->zValue(), 1.0);
    QCOMPARE(margin->transformationMode(), Qt::SmoothTransformation);
    QCOMPARE(margin->pixmap().size(), QSize(140, 100));
    QImage white(140, 100, QImage::Format_RGB32);
    white.fill(Qt::white);
    QCOMPARE(pictures::difference(margin->pixmap().toImage(), white), QString());

    QCOMPARE(photo->pos(), QPointF(10, 10));
    QCOMPARE(photo->zValue(), 10.0);
    QCOMPARE(photo->transformationMode(), Qt::SmoothTransformation);
    QCOMPARE(pictures::difference(photo->pixmap().toImage(), m_photo), QString());

    const auto *view = MainWindowProbe::ui(*m_window).graphicsView;
    QCOMPARE(view->scene(), &scene);
    QVERIFY(view->isVisible());
    QCOMPARE(view->transform().m11(), view->transform().m22());
    QCOMPARE(MainWindowProbe::numbers(*m_window).first(2), QList<int>({-100, -100}));
    QCOMPARE(MainWindowProbe::sourceImage(*m_window).format(), QImage::Format_ARGB32);
    QCOMPARE(MainWindowProbe::sketchImage(*m_window), MainWindowProbe::sourceImage(*m_window));
    QVERIFY(message(*m_window).isEmpty());
}

void OpenTest::edgesAreComputed()
{
    MainWindowProbe::open(*m_window, path("noise.png"));
    const QImage photo = pictures::noise(61, 47);
    std::vector<unsigned char> expected(61 * 47);
    sketch::reference::edgeBuffer(photo, expected.data());
    const unsigned char *edges = MainWindowProbe::edgeBuffer(*m_window);
    QVERIFY(std::equal(expected.begin(), expected.end(), edges));
}

void OpenTest::progressIsShown()
{
    const auto *bar = MainWindowProbe::ui(*m_window).progressBar;
    QList<int> values;
    bool visible = true;
    connect(bar, &QProgressBar::valueChanged, this, [&](int value) {
        values += value;
        visible &= bar->isVisible();
    });
    MainWindowProbe::open(*m_window, path("beach.png"));
    QList<int> expected;
    const auto expect = [&](int value) {
        if (expected.isEmpty() || expected.constLast() != value)
            expected += value;
    };
    expect(30);
    for (int x = 2; x < 118; ++x)
        expect(30 + 30 * x / 120);
    expect(60);
    expect(70);
    for (int x = 0; x < 120; ++x)
        expect(70 + 30 * x / 120);
    expect(99);
    QCOMPARE(values, expected);
    QVERIFY(visible);
    QVERIFY(bar->isHidden());
}

void OpenTest::secondPhotoReplacesTheFirst()
{
    MainWindowProbe::open(*m_window, path("beach.png"));
    MainWindowProbe::ui(*m_window).actionProcess->trigger();
    const unsigned char *firstEdges = MainWindowProbe::edgeBuffer(*m_window);
    QGraphicsScene &scene = MainWindowProbe::scene(*m_window);
    auto *overlay = scene.addPixmap(QPixmap(120, 80));
    MainWindowProbe::wireOverlayItem(*m_window) = overlay;
    scene.addRect(0, 0, 5, 5);
    // Taking the sketch out twice is answered by the scene with a warning.
    QTest::ignoreMessage(QtWarningMsg, "QGraphicsScene::removeItem: cannot remove 0-item");

    MainWindowProbe::open(*m_window, path("noise.png"));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - noise.png"));
    QCOMPARE(scene.sceneRect(), QRectF(0, 0, 81, 67));
    const QList<QGraphicsItem *> expected {MainWindowProbe::backgroundItem(*m_window),
                                           MainWindowProbe::sketchItem(*m_window)};
    QCOMPARE(scene.items(Qt::AscendingOrder), expected);
    QVERIFY(!MainWindowProbe::wireOverlayItem(*m_window));
    QVERIFY(!overlay->scene()); // taken out, not deleted ...
    QVERIFY(overlay->pixmap().isNull()); // ... but its pixels are let go
    delete overlay;
    QVERIFY(MainWindowProbe::edgeBuffer(*m_window) != firstEdges);
}

void OpenTest::secondPhotoOfTheSameSizeLiesOnWhitePaper()
{
    MainWindowProbe::open(*m_window, path("beach.png"));
    QGraphicsPixmapItem *paper = MainWindowProbe::backgroundItem(*m_window);
    const QSize size = paper->pixmap().size();
    QPixmap painted(size);
    painted.fill(Qt::red);
    paper->setPixmap(painted); // as a host might
    QTest::ignoreMessage(QtWarningMsg, "QGraphicsScene::removeItem: cannot remove 0-item");

    MainWindowProbe::open(*m_window, path("beach.png"));
    const QImage margin = MainWindowProbe::backgroundItem(*m_window)->pixmap().toImage();
    QImage white(size, margin.format());
    white.fill(Qt::white);
    QCOMPARE(margin, white);
}

void OpenTest::onePixelPhoto()
{
    MainWindowProbe::open(*m_window, path("dot.png"));
    QCOMPARE(MainWindowProbe::scene(*m_window).sceneRect(), QRectF(0, 0, 21, 21));
    QCOMPARE(MainWindowProbe::sketchItem(*m_window)->pos(), QPointF(10, 10));
    QCOMPARE(int(MainWindowProbe::edgeBuffer(*m_window)[0]), 0);
}

void OpenTest::failureMovesOnlyTheDirectory()
{
    QFile broken(path("broken.png"));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("no picture");
    broken.close();
    MainWindowProbe::open(*m_window, broken.fileName());
    QCOMPARE(message(*m_window), QStringLiteral("Failed to read image"));
    QCOMPARE(currentDirectory(*m_window), QFileInfo(m_folder.path()).canonicalFilePath());
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell"));
    QVERIFY(!MainWindowProbe::ui(*m_window).graphicsView->scene());
    QVERIFY(MainWindowProbe::ui(*m_window).progressBar->isHidden());
}

void OpenTest::failureKeepsTheFirstPhoto()
{
    MainWindowProbe::open(*m_window, path("beach.png"));
    const auto *item = MainWindowProbe::sketchItem(*m_window);
    const unsigned char *edges = MainWindowProbe::edgeBuffer(*m_window);
    MainWindowProbe::open(*m_window, path("missing.png"));
    QCOMPARE(message(*m_window), QStringLiteral("Failed to read image"));
    QCOMPARE(currentDirectory(*m_window), QString());
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - beach.png"));
    QCOMPARE(MainWindowProbe::sketchItem(*m_window), item);
    QCOMPARE(MainWindowProbe::edgeBuffer(*m_window), edges);
    QCOMPARE(pictures::difference(MainWindowProbe::sourceImage(*m_window), m_photo), QString());
}

void OpenTest::directoryIsCanonical()
{
    const QString link = path("link");
    QVERIFY(QFile::link(m_folder.path(), link));
    MainWindowProbe::open(*m_window, link + QStringLiteral("/beach.png"));
    QCOMPARE(currentDirectory(*m_window), QFileInfo(m_folder.path()).canonicalFilePath());
    QVERIFY(QFile::remove(link));
}

void OpenTest::dragIsAccepted_data()
{
    QTest::addColumn<bool>("hasUrls");
    QTest::newRow("files") << true;
    QTest::newRow("text") << false;
}

void OpenTest::dragIsAccepted()
{
    QFETCH(bool, hasUrls);
    QMimeData data;
    if (hasUrls)
        data.setUrls({QUrl::fromLocalFile(path("notes.txt"))});
    else
        data.setText(QStringLiteral("beach.png"));
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QApplication::sendEvent(m_window.get(), &enter);
    QCOMPARE(enter.isAccepted(), hasUrls);
}

void OpenTest::droppedFileOpens()
{
    QVERIFY(drop(*m_window, onTheFrame, {QUrl::fromLocalFile(path("beach.png"))}));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - beach.png"));
}

void OpenTest::dropOpensTheFirstOfSeveral()
{
    drop(*m_window, onTheFrame,
         {QUrl::fromLocalFile(path("noise.png")), QUrl::fromLocalFile(path("beach.png"))});
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - noise.png"));
}

void OpenTest::dropOfNoLocalFileFails()
{
    drop(*m_window, onTheFrame, {QUrl(QStringLiteral("https://a.example/b.png"))});
    QCOMPARE(message(*m_window), QStringLiteral("Failed to read image"));
}

// A drag can announce a list of URLs and then bring none.
void OpenTest::dropOfAnEmptyListFails()
{
    QMimeData data;
    data.setData(QStringLiteral("text/uri-list"), "");
    QVERIFY(data.hasUrls());
    QDropEvent drop(onTheFrame, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject *>(m_window.get())->event(&drop);
    QCOMPARE(message(*m_window), QStringLiteral("Failed to read image"));
}

void OpenTest::dropOnTheCanvasOpens_data()
{
    QTest::addColumn<bool>("afterAPhoto");
    QTest::newRow("before a first photo") << false;
    QTest::newRow("after a first photo") << true;
}

void OpenTest::dropOnTheCanvasOpens()
{
    QFETCH(bool, afterAPhoto);
    if (afterAPhoto)
        MainWindowProbe::open(*m_window, path("noise.png"));
    const QWidget *viewport = MainWindowProbe::ui(*m_window).graphicsView->viewport();
    const QPoint middle = viewport->mapTo(m_window.get(), viewport->rect().center());
    if (afterAPhoto)
        QTest::ignoreMessage(QtWarningMsg, "QGraphicsScene::removeItem: cannot remove 0-item");
    QVERIFY(drop(*m_window, middle, {QUrl::fromLocalFile(path("beach.png"))}));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Crayvell - beach.png"));
}

CRAYVELL_TEST_MAIN(OpenTest)
#include "tst_open.moc"
