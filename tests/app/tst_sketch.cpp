#include <QGraphicsPixmapItem>

#include <memory>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

class SketchTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void processShowsTheSketch();
    void slidersRender_data();
    void slidersRender();
    void stepsDrawIntoTheSameMemory();
    void levelsSurviveAnotherPhoto();
    void photoPixelsDoNotInfluenceARendering();
    void withoutAPhotoAnEmptyPictureIsShown();

private:
    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(QStringLiteral("photo.png"));
    QImage m_photo = pictures::scene(120, 80);
    std::unique_ptr<MainWindow> m_window;
};

void SketchTest::initTestCase()
{
    QVERIFY(m_photo.save(m_path));
    QVERIFY(pictures::noise(50, 40).save(m_folder.filePath(QStringLiteral("noise.png"))));
}

void SketchTest::init()
{
    m_window = std::make_unique<MainWindow>();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void SketchTest::processShowsTheSketch()
{
    MainWindowProbe::open(*m_window, m_path);
    QGraphicsScene &scene = MainWindowProbe::scene(*m_window);
    auto *stamp = scene.addRect(0, 0, 5, 5);
    stamp->setZValue(10.0);
    MainWindowProbe::ui(*m_window).actionProcess->trigger();

    const QImage expected = pictures::expectedSketch(m_photo, 0, 255);
    const QImage &sketch = MainWindowProbe::sketchImage(*m_window);
    QCOMPARE(pictures::difference(sketch, expected), QString());
    QCOMPARE(sketch.format(), QImage::Format_ARGB32);
    QCOMPARE(pictures::difference(MainWindowProbe::sourceImage(*m_window), m_photo), QString());

    const auto *item = MainWindowProbe::sketchItem(*m_window);
    QCOMPARE(pictures::difference(item->pixmap().toImage(), expected), QString());
    QCOMPARE(item->pos(), QPointF(10, 10));
    QCOMPARE(item->zValue(), 10.0);
    QCOMPARE(item->transformationMode(), Qt::SmoothTransformation);
    QCOMPARE(scene.sceneRect(), QRectF(0, 0, 140, 100));
    // The new sketch was added last, so that it covers older stamps of its z.
    QCOMPARE(scene.items(Qt::AscendingOrder),
             QList<QGraphicsItem *>({MainWindowProbe::backgroundItem(*m_window), stamp,
                                     MainWindowProbe::sketchItem(*m_window)}));
}

void SketchTest::slidersRender_data()
{
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("high");
    QTest::newRow("black level alone") << 100 << 255;
    QTest::newRow("white level alone") << 0 << 200;
    QTest::newRow("both levels") << 100 << 200;
    QTest::newRow("black level above white level") << 200 << 100;
    QTest::newRow("equal levels") << 128 << 128;
    QTest::newRow("all black") << 255 << 254;
}

void SketchTest::slidersRender()
{
    QFETCH(int, low);
    QFETCH(int, high);
    MainWindowProbe::open(*m_window, m_path);
    const Ui_MainWindow &ui = MainWindowProbe::ui(*m_window);
    ui.horizontalSlider->setValue(low);
    ui.horizontalSlider_2->setValue(high);
    const QImage expected = pictures::expectedSketch(m_photo, low, high);
    QCOMPARE(pictures::difference(MainWindowProbe::sketchImage(*m_window), expected), QString());
    const QPixmap shown = MainWindowProbe::sketchItem(*m_window)->pixmap();
    QCOMPARE(pictures::difference(shown.toImage(), expected), QString());
    QCOMPARE(MainWindowProbe::scene(*m_window).items().size(), 2);
}

void SketchTest::stepsDrawIntoTheSameMemory()
{
    MainWindowProbe::open(*m_window, m_path);
    const Ui_MainWindow &ui = MainWindowProbe::ui(*m_window);
    ui.actionProcess->trigger();
    const uchar *memory = MainWindowProbe::sketchImage(*m_window).constBits();
    for (const int low : {10, 20, 30}) {
        ui.horizontalSlider->setValue(low);
        QCOMPARE(MainWindowProbe::sketchImage(*m_window).constBits(), memory);
        const QPixmap shown = MainWindowProbe::sketchItem(*m_window)->pixmap();
        QCOMPARE(shown.toImage().constBits(), memory);
    }

    // A picture that somebody keeps is not drawn over.
    const QImage kept = MainWindowProbe::sketchImage(*m_window);
    ui.horizontalSlider->setValue(100);
    QCOMPARE(pictures::difference(kept, pictures::expectedSketch(m_photo, 30, 255)), QString());
}

void SketchTest::levelsSurviveAnotherPhoto()
{
    MainWindowProbe::open(*m_window, m_path);
    const Ui_MainWindow &ui = MainWindowProbe::ui(*m_window);
    ui.horizontalSlider->setValue(60);
    QTest::ignoreMessage(QtWarningMsg, "QGraphicsScene::removeItem: cannot remove 0-item");
    MainWindowProbe::open(*m_window, m_folder.filePath(QStringLiteral("noise.png")));
    QCOMPARE(ui.horizontalSlider->value(), 60);
    ui.actionProcess->trigger();
    const QImage expected = pictures::expectedSketch(pictures::noise(50, 40), 60, 255);
    QCOMPARE(pictures::difference(MainWindowProbe::sketchImage(*m_window), expected), QString());
}

void SketchTest::photoPixelsDoNotInfluenceARendering()
{
    MainWindowProbe::open(*m_window, m_path);
    MainWindowProbe::sourceImage(*m_window).fill(Qt::red);
    MainWindowProbe::ui(*m_window).actionProcess->trigger();
    const QImage expected = pictures::expectedSketch(m_photo, 0, 255);
    QCOMPARE(pictures::difference(MainWindowProbe::sketchImage(*m_window), expected), QString());
}

void SketchTest::withoutAPhotoAnEmptyPictureIsShown()
{
    MainWindowProbe::ui(*m_window).horizontalSlider->setValue(17);
    const auto *item = MainWindowProbe::sketchItem(*m_window);
    QVERIFY(item);
    QVERIFY(item->pixmap().isNull());
    QCOMPARE(item->pos(), QPointF(10, 10));
    MainWindowProbe::ui(*m_window).actionProcess->trigger();
    QCOMPARE(MainWindowProbe::scene(*m_window).items().size(), 1);
    QVERIFY(MainWindowProbe::sketchImage(*m_window).isNull());
}

CRAYVELL_TEST_MAIN(SketchTest)
#include "tst_sketch.moc"
