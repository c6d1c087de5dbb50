// The frei0r filter as a host calls it.

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QXmlStreamReader>

#include <atomic>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <thread>
#include <vector>

#include "tests/plugins/frei0r/frei0rplugin.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

namespace {

std::atomic<bool> hasMemory = true;
std::atomic<long> inUse; // pieces of memory of this program and the plug-in

} // namespace

void *operator new(std::size_t size)
{
    void *const memory = hasMemory ? std::malloc(size) : nullptr;
    if (!memory)
        throw std::bad_alloc();
    ++inUse;
    return memory;
}

void operator delete(void *memory) noexcept
{
    inUse -= memory != nullptr;
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

} // namespace

class SketchFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void tellsWhatItIs();
    void tellsItsParameters();
    void isDescribedForTheEditor();
    void showsNothingElse();
    void framesOfAnySize_data();
    void framesOfAnySize();
    void levels_data();
    void levels();
    void everyLevelCanBeReached();
    void valuesAreReadBack();
    void unknownParameters();
    void ignoresAlpha();
    void sketchesInPlace();
    void impossibleSizes_data();
    void impossibleSizes();
    void goesOnWithoutAnInstance();
    void passesTheFrameOnWithoutMemory();
    void instancesAreGivenBack();
    void instancesInThreads();
    void oneInstanceInThreads();

private:
    Plugin m_plugin;
};

void SketchFilterTest::initTestCase()
{
    QVERIFY2(m_plugin.isComplete, qPrintable(m_plugin.module.errorString()));
    QVERIFY(m_plugin.init() >= 0); // what hosts ask for
}

void SketchFilterTest::cleanupTestCase()
{
    m_plugin.deinit();
}

void SketchFilterTest::tellsWhatItIs()
{
    f0r_plugin_info_t info {};
    m_plugin.pluginInfo(&info);
    QVERIFY(QByteArray(info.name).contains("sketch"));
    QCOMPARE(info.plugin_type, F0R_PLUGIN_TYPE_FILTER);
    QCOMPARE(info.color_model, F0R_COLOR_MODEL_BGRA8888);
    QCOMPARE(info.frei0r_version, FREI0R_MAJOR_VERSION);
    QCOMPARE(info.num_params, 2);
    QVERIFY(info.explanation && *info.explanation);
}

void SketchFilterTest::tellsItsParameters()
{
    const char *const names[] = {"black", "white"};
    for (int i = 0; i < 2; ++i) {
        f0r_param_info_t info {};
        m_plugin.parameterInfo(&info, i);
        QCOMPARE(info.name, names[i]);
        QCOMPARE(info.type, F0R_PARAM_DOUBLE);
        QVERIFY(info.explanation && *info.explanation);
    }
    f0r_param_info_t untouched {"before", -1, nullptr};
    m_plugin.parameterInfo(&untouched, 2);
    QCOMPARE(untouched.name, "before");
}

// Sliders that show levels and hand over what the filter takes for them.
void SketchFilterTest::isDescribedForTheEditor()
{
    QFile file(CRAYVELL_FREI0R_EFFECT);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    int count = 0;
    int effects = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        if (xml.name() == u"effect") {
            QCOMPARE(attributes.value("tag"), u"frei0r.crayvell");
            ++effects;
        }
        if (xml.name() != u"parameter")
            continue;
        f0r_param_info_t info {};
        m_plugin.parameterInfo(&info, count);
        QCOMPARE(attributes.value("name"), QLatin1String(info.name));
        QCOMPARE(attributes.value("default").toDouble(), Filter(m_plugin, {8, 8}).value(count));
        QCOMPARE(attributes.value("min"), u"0");
        QCOMPARE(attributes.value("max"), u"255");
        QCOMPARE(attributes.value("factor"), u"255");
        ++count;
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QCOMPARE(count, 2);
    QCOMPARE(effects, 1);
}

void SketchFilterTest::showsNothingElse()
{
    QProcess names;
    names.start("nm", {"-D", "--defined-only", "--format=posix", CRAYVELL_FREI0R});
    QVERIFY(names.waitForFinished());
    QVERIFY(names.exitCode() == 0);
    const QList<QByteArray> lines = names.readAllStandardOutput().trimmed().split('\n');
    QCOMPARE(lines.size(), 9);
    for (const QByteArray &line : lines)
        QVERIFY2(line.startsWith("f0r_"), line);
    QProcess libraries;
    libraries.start("readelf", {"-d", CRAYVELL_FREI0R});
    QVERIFY(libraries.waitForFinished());
    const QByteArray dynamic = libraries.readAllStandardOutput();
    QVERIFY(dynamic.contains("NEEDED"));
    QVERIFY(!dynamic.contains("Qt"));
}

void SketchFilterTest::framesOfAnySize_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(1, 1), QSize(1, 9), QSize(9, 1), QSize(2, 2), QSize(3, 5),
                             QSize(4, 40), QSize(5, 5), QSize(6, 5), QSize(7, 31), QSize(8, 8),
                             QSize(33, 17), QSize(157, 61), QSize(641, 479), QSize(1920, 1080)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
}

void SketchFilterTest::framesOfAnySize()
{
    QFETCH(QSize, size);
    Filter filter(m_plugin, size);
    QVERIFY(filter);
    for (quint32 frame = 1; frame <= 3; ++frame) {
        const QImage photo = pictures::noise(size.width(), size.height(), frame);
        QCOMPARE(
            pictures::difference(filter.sketchOf(photo), pictures::expectedSketch(photo, 0, 255)),
            QString());
    }
}

void SketchFilterTest::levels_data()
{
    QTest::addColumn<double>("black");
    QTest::addColumn<double>("white");
    QTest::addColumn<int>("blackLevel");
    QTest::addColumn<int>("whiteLevel");
    QTest::newRow("wide open") << 0.0 << 1.0 << 0 << 255;
    QTest::newRow("a half above") << 0.2 << 0.9 << 51 << 230;
    QTest::newRow("two halves") << 0.3 << 0.7 << 77 << 179;
    QTest::newRow("just below a half") << 0.49999 / 255 << 254.49999 / 255 << 0 << 254;
    QTest::newRow("a step of a slider") << 100 / 255.0 << 200 / 255.0 << 100 << 200;
    QTest::newRow("crossed") << 200 / 255.0 << 100 / 255.0 << 200 << 100;
    QTest::newRow("equal") << 128 / 255.0 << 128 / 255.0 << 128 << 128;
    QTest::newRow("both white") << 1.0 << 1.0 << 255 << 255;
    QTest::newRow("beyond the ends") << -3.0 << 255.0 << 0 << 255;
    QTest::newRow("far beyond") << 1e300 << -1e300 << 255 << 0;
    QTest::newRow("infinite") << -infinity << infinity << 0 << 255;
    QTest::newRow("no numbers") << notANumber << notANumber << 0 << 255;
}

void SketchFilterTest::levels()
{
    QFETCH(double, black);
    QFETCH(double, white);
    QFETCH(int, blackLevel);
    QFETCH(int, whiteLevel);
    const QImage photo = pictures::noise(64, 48);
    Filter filter(m_plugin, photo.size());
    filter.set(0, 0.5);
    filter.set(1, 0.5);
    filter.set(0, black);
    filter.set(1, white);
    QCOMPARE(pictures::difference(filter.sketchOf(photo),
                                  pictures::expectedSketch(photo, blackLevel, whiteLevel)),
             QString());
}

void SketchFilterTest::everyLevelCanBeReached()
{
    const QImage photo = pictures::noise(32, 24);
    Filter filter(m_plugin, photo.size());
    for (int level = 0; level <= 255; ++level) {
        // Hosts write the numbers with six digits.
        filter.set(0, QByteArray::number(level / 255.0, 'f', 6).toDouble());
        QCOMPARE(pictures::difference(filter.sketchOf(photo),
                                      pictures::expectedSketch(photo, level, 255)),
                 QString());
    }
}

void SketchFilterTest::valuesAreReadBack()
{
    Filter filter(m_plugin, {8, 8});
    QCOMPARE(filter.value(0), 0.0);
    QCOMPARE(filter.value(1), 1.0);
    filter.set(0, 0.123);
    filter.set(1, 7);
    QCOMPARE(filter.value(0), 0.123);
    QCOMPARE(filter.value(1), 1.0);
    filter.set(1, notANumber);
    QCOMPARE(filter.value(1), 1.0);
}

void SketchFilterTest::unknownParameters()
{
    Filter filter(m_plugin, {8, 8});
    for (const int index : {-1, 2, INT_MAX}) {
        filter.set(index, 0.5);
        QCOMPARE(filter.value(index, 42), 42.0);
    }
    QCOMPARE(filter.value(0), 0.0);
    QCOMPARE(filter.value(1), 1.0);
}

void SketchFilterTest::ignoresAlpha()
{
    const QImage photo = pictures::noise(64, 48);
    QImage veiled = photo;
    for (int y = 0; y < veiled.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(veiled.scanLine(y));
        for (int x = 0; x < veiled.width(); ++x)
            line[x] = (line[x] & 0xffffffU) | static_cast<QRgb>(x * 4) << 24;
    }
    Filter filter(m_plugin, photo.size());
    QCOMPARE(pictures::difference(filter.sketchOf(veiled), pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void SketchFilterTest::sketchesInPlace()
{
    QImage frame = pictures::noise(157, 61);
    const QImage expected = pictures::expectedSketch(frame, 0, 255);
    Filter filter(m_plugin, frame.size());
    uchar *const pixels = frame.bits();
    filter.update(pixels, pixels);
    QCOMPARE(pictures::difference(frame, expected), QString());
}

void SketchFilterTest::impossibleSizes_data()
{
    QTest::addColumn<unsigned>("width");
    QTest::addColumn<unsigned>("height");
    QTest::newRow("no columns") << 0U << 8U;
    QTest::newRow("no rows") << 8U << 0U;
    QTest::newRow("wider than a number") << UINT_MAX << 1U;
    QTest::newRow("higher than a number") << 1U << UINT_MAX;
    QTest::newRow("larger than any memory") << unsigned(INT_MAX) << unsigned(INT_MAX);
}

void SketchFilterTest::impossibleSizes()
{
    QFETCH(unsigned, width);
    QFETCH(unsigned, height);
    QVERIFY(!m_plugin.construct(width, height));
}

// As melt does where there was no memory for one.
void SketchFilterTest::goesOnWithoutAnInstance()
{
    double value = 0.5;
    m_plugin.setValue(nullptr, &value, 0);
    m_plugin.value(nullptr, &value, 0);
    QCOMPARE(value, 0.5);
    const uint32_t frame = 0xff123456;
    uint32_t paper = 7;
    m_plugin.update(nullptr, 0, &frame, &paper);
    QCOMPARE(paper, 7U);
    m_plugin.destruct(nullptr);
}

void SketchFilterTest::passesTheFrameOnWithoutMemory()
{
    const QImage photo = pictures::noise(157, 61);
    Filter filter(m_plugin, photo.size());
    QImage paper(photo.size(), QImage::Format_ARGB32);
    paper.fill(0x12345678);
    uchar *const pixels = paper.bits();
    hasMemory = false;
    filter.update(photo.constBits(), pixels);
    const f0r_instance_t none = m_plugin.construct(8, 8);
    hasMemory = true;
    QVERIFY(!none);
    QCOMPARE(pictures::difference(paper, photo), QString());
    QCOMPARE(pictures::difference(filter.sketchOf(photo), pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void SketchFilterTest::instancesAreGivenBack()
{
    const QImage photo = pictures::noise(32, 24);
    const long before = inUse;
    {
        Filter filter(m_plugin, photo.size());
        QVERIFY(inUse > before);
        filter.sketchOf(photo);
    }
    QCOMPARE(long(inUse), before);
}

void SketchFilterTest::instancesInThreads()
{
    constexpr int count = 16;
    std::vector<QString> faults(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([this, i, &faults] {
            const QImage photo = pictures::noise(100 + i, 80 + i, static_cast<quint32>(i));
            const QImage expected = pictures::expectedSketch(photo, 4 * i, 255 - 4 * i);
            Filter filter(m_plugin, photo.size());
            filter.set(0, 4 * i / 255.0);
            filter.set(1, (255 - 4 * i) / 255.0);
            for (int frame = 0; frame < 50 && faults[i].isEmpty(); ++frame)
                faults[i] = pictures::difference(filter.sketchOf(photo), expected);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (const QString &fault : faults)
        QCOMPARE(fault, QString());
}

void SketchFilterTest::oneInstanceInThreads()
{
    constexpr int count = 4;
    Filter filter(m_plugin, {333, 222});
    std::vector<QString> faults(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([i, &filter, &faults] {
            const QImage slice = pictures::noise(333, 222, static_cast<quint32>(i));
            const QImage expected = pictures::expectedSketch(slice, 0, 255);
            for (int frame = 0; frame < 50 && faults[i].isEmpty(); ++frame)
                faults[i] = pictures::difference(filter.sketchOf(slice), expected);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (const QString &fault : faults)
        QCOMPARE(fault, QString());
}

CRAYVELL_TEST_MAIN(SketchFilterTest)
#include "tst_sketchfilter.moc"
