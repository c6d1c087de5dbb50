// From a file to the canvas, in the window itself (offscreen): opening a JPEG
// photo, in colour and grey, against the toolkit's loading of the same file, one
// step of a level slider, its repaint included, against copying the picture's
// bytes, and marking a wire against the plain way to do it. The progress bar is
// kept from repainting, which costs a fixed 30 to 45 ms.
//
// usage: bench_canvas [options] [JPEG ...]
// Named photos of a camera are opened too, each against the toolkit's loading.

#include <QApplication>
#include <QGraphicsPixmapItem>
#include <QGraphicsView>
#include <QImageReader>
#include <QPainter>
#include <QProgressBar>
#include <QRegion>
#include <QSlider>
#include <QTemporaryDir>
#include <QWindow>

#include <cstring>
#include <memory>

#include "app/mainwindow.h"
#include "app/sketchpictures.h"
#include "bench/support/benchmain.h"
#include "photo/largepages.h"
#include "photo/photofile.h"
#include "photo/photoinput.h"
#include "photo/readingbounds.h"
#include "sketch/edgebuffer.h"
#include "sketch/levels.h"

namespace {

// Each open keeps its edge buffer on purpose, so their number is bounded.
constexpr int opens = 8;

class Window
{
public:
    explicit Window(const QString &fileName)
        : m_fileName(fileName)
    {
        m_window.show();
        while (!m_window.windowHandle()->isExposed())
            QApplication::processEvents();
        find<QProgressBar>("progressBar")->setUpdatesEnabled(false);
        open();
        QApplication::processEvents(); // what the first photo makes the canvas lay out
    }

    void open() { QMetaObject::invokeMethod(&m_window, "open", Q_ARG(QString, m_fileName)); }
    void mark(const QRegion &region)
    {
        QMetaObject::invokeMethod(&m_window, "ProcessWireMarker", Q_ARG(QRegion, region));
    }
    void moveSlider(int value) { find<QSlider>("horizontalSlider")->setValue(value); }
    void repaint() { find<QGraphicsView>("graphicsView")->viewport()->repaint(); }

private:
    template <typename Widget> Widget *find(const char *name)
    {
        return m_window.findChild<Widget *>(QString::fromLatin1(name));
    }

    QString m_fileName;
    MainWindow m_window;
};

void copy(benchmark::State &state, const QImage &photo)
{
    std::vector<uchar> bytes(static_cast<std::size_t>(photo.sizeInBytes()));
    for (auto _ : state) {
        std::memcpy(bytes.data(), photo.constBits(), bytes.size());
        benchmark::ClobberMemory();
    }
}

// Upright and in the window's format.
QImage loadWithToolkit(const QString &fileName)
{
    QImageReader reader(fileName);
    reader.setAutoTransform(true);
    QImage picture = reader.read();
    picture.convertTo(QImage::Format_ARGB32);
    return picture;
}

void toolkitLoad(benchmark::State &state, const QString &fileName)
{
    if (photo::readPhoto(fileName).image != loadWithToolkit(fileName))
        state.SkipWithError("the photo differs from the toolkit's");
    for (auto _ : state)
        benchmark::DoNotOptimize(loadWithToolkit(fileName).constBits());
}

void unconvertedLoad(benchmark::State &state, const QString &fileName)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(QImage(fileName).constBits());
}

// Looking through the file for what would take a decoder too long.
void bounds(benchmark::State &state, const QString &fileName)
{
    for (auto _ : state) {
        photo::PhotoInput input(QFile::encodeName(fileName).toStdString(), 0);
        photo::checkReadingBounds(input.device(), photo::PhotoFormat::Jpeg,
                                  photo::JpegReach::WholeFile);
    }
}

void read(benchmark::State &state, const QString &fileName)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(photo::readPhoto(fileName).image.constBits());
}

void paper(benchmark::State &state, QSize size)
{
    for (auto _ : state) {
        QImage paper = photo::largeImage(size + QSize(20, 20), QImage::Format_RGB32);
        paper.fill(Qt::white);
        benchmark::DoNotOptimize(QPixmap::fromImage(std::move(paper)).cacheKey());
    }
}

// Into memory that was used before; the window takes new memory, whose page faults
// come on top.
void edges(benchmark::State &state, const QString &fileName)
{
    const QImage photo = photo::readPhoto(fileName).image;
    const std::size_t count = static_cast<std::size_t>(photo.width()) * photo.height();
    for (auto _ : state) {
        const std::unique_ptr<unsigned char[]> buffer(new unsigned char[count]);
        inverterodesketch(photo, buffer.get(), {});
    }
}

void open(benchmark::State &state, const QString &fileName)
{
    Window window(fileName);
    for (auto _ : state)
        window.open();
}

// Small regions that wander over the picture and overlap.
QRegion wire(int number)
{
    return QRegion(number * 37 % 200, number * 23 % 150, 40, 12);
}

// On a copy of what is shown, which is then shown instead.
void plainMark(QGraphicsScene &scene, QGraphicsPixmapItem *&item, const QRegion &region)
{
    QImage picture = item->pixmap().toImage();
    QPainter painter(&picture);
    painter.setClipRegion(region);
    painter.fillRect(picture.rect(), QColor(255, 0, 0, 150));
    painter.end();
    delete item;
    item = scene.addPixmap(QPixmap::fromImage(picture));
}

void plainMarks(benchmark::State &state, QSize size)
{
    QImage empty(size, QImage::Format_ARGB32_Premultiplied);
    empty.fill(Qt::transparent);
    QGraphicsScene scene;
    QGraphicsPixmapItem *item = scene.addPixmap(QPixmap::fromImage(std::move(empty)));
    int number = 0;
    for (auto _ : state)
        plainMark(scene, item, wire(++number));
}

void marks(benchmark::State &state, const QString &fileName)
{
    Window window(fileName);
    int number = 0;
    window.mark(wire(number)); // makes the overlay
    for (auto _ : state)
        window.mark(wire(++number));
}

void levels(benchmark::State &state, const QImage &photo)
{
    const std::vector<unsigned char> buffer(
        static_cast<std::size_t>(photo.width()) * photo.height(), 100);
    SketchPictures pictures;
    QPixmap shown;
    const auto render = [&] {
        shown = QPixmap(); // as the window does
        QImage sketch = pictures.next(photo);
        updatePenLevels(sketch, buffer.data(), 10, 250);
        shown = opaquePixmap(sketch);
    };
    render(); // gets the memory that all later ones use
    for (auto _ : state)
        render();
}

void pixmap(benchmark::State &state, const QImage &photo)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(opaquePixmap(photo).cacheKey());
}

void repaint(benchmark::State &state, const QString &fileName)
{
    Window window(fileName);
    window.moveSlider(40);
    for (auto _ : state)
        window.repaint();
}

void firstStep(benchmark::State &state, const QString &fileName)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto window = std::make_unique<Window>(fileName);
        state.ResumeTiming();
        window->moveSlider(40);
        window->repaint();
        state.PauseTiming();
        window.reset();
        state.ResumeTiming();
    }
}

void step(benchmark::State &state, const QString &fileName)
{
    Window window(fileName);
    int value = 0;
    const auto moveOn = [&] {
        window.moveSlider(value = (value + 1) % 100);
        window.repaint();
    };
    moveOn(); // gets the memory that all later steps use
    for (auto _ : state)
        moveOn();
}

// A photo to open.
struct Subject
{
    std::string name; // the end of its benchmarks' names
    QString fileName;
};

void addOpening(const Subject &subject, const auto &add, std::vector<Ratio> &ratios)
{
    using State = benchmark::State;
    const QString fileName = subject.fileName;
    const auto name = [&](const char *what) { return what + subject.name; };
    add(name("load/toolkit"), [=](State &state) { toolkitLoad(state, fileName); });
    add(name("load/unconverted"), [=](State &state) { unconvertedLoad(state, fileName); });
    add(name("open/bounds"), [=](State &state) { bounds(state, fileName); });
    add(name("open/read"), [=](State &state) { read(state, fileName); });
    add(name("open/edges"), [=](State &state) { edges(state, fileName); });
    add(name("open/total"), [=](State &state) { open(state, fileName); })->Iterations(opens);
    ratios.push_back({name("load/toolkit"), name("open/total")});
}

// Takes the names of photos from the arguments.
std::vector<Subject> takeNamedPhotos(std::vector<char *> &arguments)
{
    std::vector<Subject> photos;
    const auto isName = [&](const char *argument) { return argument[0] != '-'; };
    for (auto it = arguments.begin() + 1; it != arguments.end();) {
        if (!isName(*it)) {
            ++it;
            continue;
        }
        const QString fileName = QFile::decodeName(*it);
        photos.push_back({"/" + QFileInfo(fileName).fileName().toStdString(), fileName});
        it = arguments.erase(it);
    }
    return photos;
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir folder;
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME"})
        qputenv(variable, folder.path().toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);

    const QSize size = bench::pictureSize(argc, argv);
    const std::string suffix = "/" + bench::sizeName(size);
    const QImage photo = bench::photo(size);
    const QString fileName = folder.filePath(QStringLiteral("photo.jpg"));
    photo.save(fileName, "jpg", 90);
    const QString greyName = folder.filePath(QStringLiteral("grey.jpg"));
    bench::photo(size, true).convertToFormat(QImage::Format_Grayscale8).save(greyName, "jpg", 90);
    std::vector<char *> arguments(argv, argv + argc);
    std::vector<Subject> subjects {{suffix, fileName}, {"-grey" + suffix, greyName}};
    for (const Subject &subject : takeNamedPhotos(arguments))
        subjects.push_back(subject);

    using State = benchmark::State;
    const auto add = [&](const std::string &name, const auto &function) {
        return benchmark::RegisterBenchmark(name.c_str(), function)
            ->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime(); // the toolkit paints with several threads
    };
    std::vector<Ratio> ratios;
    add("copy" + suffix, [&](State &state) { copy(state, photo); });
    add("open/paper" + suffix, [&](State &state) { paper(state, size); });
    for (const Subject &subject : subjects)
        addOpening(subject, add, ratios);
    add("step/levels" + suffix, [&](State &state) { levels(state, photo); });
    add("step/pixmap" + suffix, [&](State &state) { pixmap(state, photo); });
    add("step/repaint" + suffix, [&](State &state) { repaint(state, fileName); });
    add("step/first" + suffix, [&](State &state) { firstStep(state, fileName); })->Iterations(4);
    add("step/total" + suffix, [&](State &state) { step(state, fileName); });
    add("mark/plain" + suffix, [&](State &state) { plainMarks(state, size); });
    add("mark/total" + suffix, [&](State &state) { marks(state, fileName); });
    ratios.push_back({"copy" + suffix, "step/total" + suffix});
    ratios.push_back({"mark/total" + suffix, "mark/plain" + suffix});
    return bench::run(static_cast<int>(arguments.size()), arguments.data(), ratios);
}
