// From a file to the canvas, in the window itself (offscreen): opening a JPEG
// photo against the toolkit's loading of the same file, and one step of a level
// slider, its repaint included, against copying the picture's bytes. The
// progress bar is kept from repainting, which costs a fixed 30 to 45 ms.

#include <QApplication>
#include <QGraphicsPixmapItem>
#include <QGraphicsView>
#include <QProgressBar>
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

void toolkitLoad(benchmark::State &state, const QString &fileName)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(QImage(fileName).constBits());
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

// Into memory that was never touched, as an open does.
void edges(benchmark::State &state, const QImage &photo)
{
    const std::size_t count = static_cast<std::size_t>(photo.width()) * photo.height();
    for (auto _ : state) {
        const std::unique_ptr<unsigned char[]> buffer(new unsigned char[count]);
        photo::preferLargePages(buffer.get(), count);
        inverterodesketch(photo, buffer.get(), {});
    }
}

void open(benchmark::State &state, const QString &fileName)
{
    Window window(fileName);
    for (auto _ : state)
        window.open();
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

    const auto add = [&](const std::string &name, const auto &function) {
        return benchmark::RegisterBenchmark((name + suffix).c_str(), function)
            ->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime(); // the toolkit paints with several threads
    };
    using State = benchmark::State;
    add("copy", [&](State &state) { copy(state, photo); });
    add("load/toolkit", [&](State &state) { toolkitLoad(state, fileName); });
    add("open/read", [&](State &state) { read(state, fileName); });
    add("open/paper", [&](State &state) { paper(state, size); });
    add("open/edges", [&](State &state) { edges(state, photo); });
    add("open/total", [&](State &state) { open(state, fileName); })->Iterations(opens);
    add("step/levels", [&](State &state) { levels(state, photo); });
    add("step/pixmap", [&](State &state) { pixmap(state, photo); });
    add("step/repaint", [&](State &state) { repaint(state, fileName); });
    add("step/first", [&](State &state) { firstStep(state, fileName); })->Iterations(4);
    add("step/total", [&](State &state) { step(state, fileName); });
    return bench::run(argc, argv,
                      {{"load/toolkit" + suffix, "open/total" + suffix},
                       {"copy" + suffix, "step/total" + suffix}});
}
