#include <QDir>

#include <malloc.h>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/exiffile.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr int warmUp = 3; // rounds: caches of the toolkit, fonts, readers
// The picture's item, without its pixels, that an open takes out of the scene and keeps.
constexpr qint64 itemMemory = 1900;
constexpr qint64 tolerance = 16 << 10;
constexpr qint64 leastAllocation = 16;

// What the program holds of the heap, exactly.
qint64 heldMemory()
{
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<qint64>(heap.uordblks + heap.hblkhd);
}

int openFiles()
{
    return static_cast<int>(
        QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size());
}

} // namespace

// Photos without end in one window, good and broken ones mixed, with the sliders between
// them: what it holds grows by the edge buffers, which stay, by an empty item of the scene
// for each photo, and by nothing else.
// CRAYVELL_OPENS says how many; a short pass unless set.
class ManyOpensTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void growsByTheEdgeBuffersOnly();
    void brokenPhotosLeaveNothing();

private:
    void put(const QString &name, const QByteArray &content);
    qint64 open(MainWindow &window, int turn, const QString &name);

    QTemporaryDir m_folder;
    QStringList m_names;
};

void ManyOpensTest::put(const QString &name, const QByteArray &content)
{
    QFile file(m_folder.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    m_names << name;
}

void ManyOpensTest::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer keeps freed memory");
    mallopt(M_MMAP_THRESHOLD, 1 << 30); // else a piece counts with the rest of its last page
    int width = 400;
    for (const char *format : {"jpeg", "png", "tiff", "webp", "bmp", "ppm"}) {
        const QImage photo = pictures::scene(width += 37, 300);
        const QByteArray file = testphotos::encoded(photo, format);
        put(QLatin1String("good.") + format, file);
        put(QLatin1String("short.") + format, file.left(file.size() / 2));
        put(QLatin1String("torn.") + format, file.left(20) + file.mid(200));
    }
    put("good.gif", testphotos::gif(pictures::scene(200, 150)));
    exiffile::Data turned;
    turned.image = {exiffile::number(0x0112, 6)};
    put("turned.jpg", exiffile::jpeg(exiffile::block(turned)));
    put("deep.tiff",
        testphotos::encoded(pictures::scene(300, 200).convertToFormat(QImage::Format_RGBX64),
                            "tiff"));
    put("segments.jpg", hostilephotos::jpegWithSegments(200, 200));
    put("empty.png", {});
    put("text.jpg", "no picture at all\n");
    m_names << "missing.jpg";
}

// The bytes of the edge buffer that stays.
qint64 ManyOpensTest::open(MainWindow &window, int turn, const QString &name)
{
    // Whether the file was good is for the window to say.
    const unsigned char *const before = MainWindowProbe::edgeBuffer(window);
    MainWindowProbe::open(window, m_folder.filePath(name));
    const bool isOpened = MainWindowProbe::edgeBuffer(window) != before;
    Ui_MainWindow &ui = MainWindowProbe::ui(window);
    ui.actionProcess->trigger();
    for (const int level : {40, 90, 20 + turn % 100}) {
        ui.horizontalSlider->setValue(level);
        ui.horizontalSlider_2->setValue(255 - level);
        QApplication::processEvents();
        // As the event loop does it.
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const QSize size = MainWindowProbe::sourceImage(window).size();
    return isOpened ? qint64(size.width()) * size.height() : 0;
}

void ManyOpensTest::growsByTheEdgeBuffersOnly()
{
    // Whole rounds: the photo that is open at the end is the one that was at the beginning.
    const auto round = static_cast<int>(m_names.size());
    const int rounds = std::max(qEnvironmentVariableIntValue("CRAYVELL_OPENS") / round, 3);
    const auto quiet = [](QtMsgType, const QMessageLogContext &, const QString &) {};
    const QtMessageHandler former = qInstallMessageHandler(quiet);
    MainWindow window;
    window.show();
    const auto openNext = [&](int turn) { return open(window, turn, m_names[turn % round]); };
    for (int turn = 0; turn < warmUp * round; ++turn)
        openNext(turn);
    const qint64 held = heldMemory();
    const qint64 resident = process::residentMemory();
    const int files = openFiles();
    qint64 edges = 0;
    int good = 0;
    for (int turn = 0; turn < rounds * round; ++turn) {
        const qint64 stays = openNext(turn);
        edges += stays;
        good += stays > 0;
    }
    qInstallMessageHandler(former);
    const qint64 growth = heldMemory() - held;
    qInfo("%d opens, %d good photos, edge buffers %lld bytes, growth %lld, resident %lld",
          rounds * round, good, static_cast<long long>(edges), static_cast<long long>(growth),
          static_cast<long long>(process::residentMemory() - resident));
    QVERIFY(good > 10);
    QVERIFY(growth >= edges);
    QVERIFY(growth < edges + good * itemMemory + tolerance);
    QCOMPARE(openFiles(), files);
}

void ManyOpensTest::brokenPhotosLeaveNothing()
{
    const auto quiet = [](QtMsgType, const QMessageLogContext &, const QString &) {};
    const QtMessageHandler former = qInstallMessageHandler(quiet);
    MainWindow window;
    window.show();
    QStringList broken;
    for (int turn = 0; turn < m_names.size(); ++turn) {
        if (open(window, turn, m_names[turn]) == 0)
            broken << m_names[turn];
    }
    const auto openAll = [&](int times) {
        for (int turn = 0; turn < times; ++turn) {
            for (const QString &name : broken)
                QCOMPARE(open(window, turn, name), 0);
        }
    };
    constexpr int times = 6;
    openAll(times);
    const qint64 held = heldMemory();
    openAll(times);
    qInstallMessageHandler(former);
    const qint64 growth = heldMemory() - held;
    QVERIFY(broken.size() > 10);
    QVERIFY2(growth < times * broken.size() * leastAllocation, QByteArray::number(growth));
}

CRAYVELL_TEST_MAIN(ManyOpensTest)
#include "tst_manyopens.moc"
