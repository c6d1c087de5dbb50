#include "sketch/kernel/edgekernel.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/sketch/edges.h"
#include "tests/sketch/kernel/variantmain.h"
#include "tests/support/pictures.h"

namespace {

std::atomic<std::size_t> allocated; // bytes that the program has asked new for

} // namespace

void *operator new(std::size_t size)
{
    allocated += size;
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

void computeEdges(const QImage &photo, Edges &edges)
{
    sketch::edgeKernel({photo.constBits(), photo.bytesPerLine(), photo.width(), photo.height()},
                       edges.data(), [](int) {});
}

Edges edgesOf(const QImage &photo)
{
    Edges edges(static_cast<std::size_t>(photo.width()) * photo.height(), 0x5a);
    computeEdges(photo, edges);
    return edges;
}

QString differenceFromReference(const QImage &photo)
{
    return difference(edgesOf(photo), referenceEdges(photo), photo.width());
}

// Every picture is shown to the engine one pixel further inside a canvas, so
// that rows start off any alignment and the stride is wider than the row.
QImage misaligned(const QImage &photo)
{
    QImage canvas(photo.width() + 7, photo.height() + 2, QImage::Format_ARGB32);
    canvas.fill(Qt::white);
    for (int y = 0; y < photo.height(); ++y)
        memcpy(canvas.scanLine(y + 1) + 4, photo.constScanLine(y), photo.width() * 4);
    uchar *start = canvas.scanLine(1) + 4;
    const qsizetype stride = canvas.bytesPerLine();
    auto *owner = new QImage(canvas);
    return {start,  photo.width(),         photo.height(),
            stride, QImage::Format_ARGB32, [](void *image) { delete static_cast<QImage *>(image); },
            owner};
}

// Noise whose pixels lose their colour in stretches: so many coloured ones, so
// many grey ones, and again.
QImage greyStretches(int coloured, int grey)
{
    QImage photo = pictures::noise(997, 23, coloured + grey);
    for (int i = 0; i < photo.width() * photo.height(); ++i) {
        const QPoint place(i % photo.width(), i / photo.width());
        const int level = qGreen(photo.pixel(place));
        if (i % (coloured + grey) >= coloured)
            photo.setPixel(place, qRgba(level, level, level, i));
    }
    return photo;
}

// For each luminance a colour that has it; greys alone leave some out.
std::vector<QRgb> coloursOfEveryLevel()
{
    std::vector<QRgb> colours(256, 0);
    for (int grey = 0; grey < 256; ++grey) {
        for (int blue = 0; blue < 256; ++blue) {
            const QRgb colour = qRgb(grey, grey, blue);
            colours[sketch::reference::luminance(colour)] = colour;
        }
    }
    return colours;
}

} // namespace

class EdgeKernelTest : public QObject
{
    Q_OBJECT

private slots:
    void everySizeEqualsTheReference();
    void vectorWidthsEqualTheReference_data();
    void vectorWidthsEqualTheReference();
    void borderColoursEqualTheReference();
    void greyStretchesEqualTheReference_data();
    void greyStretchesEqualTheReference();
    void everyLevelAndMaximumEqualsTheReference();
    void everyMultipleOfAHundred();
    void alphaIsIgnored();
    void memoryIsAFewRows();
};

void EdgeKernelTest::everySizeEqualsTheReference()
{
    for (int width = 1; width <= 40; ++width) {
        for (int height = 1; height <= 40; ++height) {
            const QImage photo = pictures::noise(width, height, width * 41 + height);
            const QString wrong = differenceFromReference(photo);
            QVERIFY2(wrong.isEmpty(),
                     qPrintable(QStringLiteral("%1x%2 %3").arg(width).arg(height).arg(wrong)));
        }
    }
}

void EdgeKernelTest::vectorWidthsEqualTheReference_data()
{
    QTest::addColumn<int>("width");
    for (const int vector : {64, 128, 256, 1024, 4096}) {
        for (int width = vector - 2; width <= vector + 6; ++width)
            QTest::addRow("width %d", width) << width;
    }
}

void EdgeKernelTest::vectorWidthsEqualTheReference()
{
    QFETCH(int, width);
    for (const int height : {1, 5, 6, 9, 37}) {
        const QImage photo = misaligned(pictures::noise(width, height, width + height));
        const QString wrong = differenceFromReference(photo);
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    }
}

void EdgeKernelTest::borderColoursEqualTheReference()
{
    const QRgb palette[] {0xff000000, 0xffffffff, 0xff010101, 0xff808080, 0xfffefefe,
                          0xff0000ff, 0xff00ff00, 0xffff0000, 0x00000000, 0x80646464};
    QImage photo = pictures::noise(301, 97, 5);
    for (int y = 0; y < photo.height(); ++y) {
        for (int x = 0; x < photo.width(); ++x)
            photo.setPixel(x, y, palette[photo.pixel(x, y) % std::size(palette)]);
    }
    const QString wrong = differenceFromReference(photo);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

void EdgeKernelTest::greyStretchesEqualTheReference_data()
{
    QTest::addColumn<int>("coloured");
    QTest::addColumn<int>("grey");
    QTest::newRow("all grey") << 0 << 1;
    QTest::newRow("one coloured pixel in a vector") << 1 << 31;
    QTest::newRow("one coloured pixel in many") << 1 << 300;
    QTest::newRow("one grey pixel in a vector") << 31 << 1;
    QTest::newRow("one grey pixel in many") << 300 << 1;
    QTest::newRow("in turns") << 1 << 1;
    QTest::newRow("a few of each") << 7 << 5;
    QTest::newRow("vectors of each") << 100 << 130;
}

void EdgeKernelTest::greyStretchesEqualTheReference()
{
    QFETCH(int, coloured);
    QFETCH(int, grey);
    const QString wrong = differenceFromReference(greyStretches(coloured, grey));
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

void EdgeKernelTest::everyLevelAndMaximumEqualsTheReference()
{
    const std::vector<QRgb> colours = coloursOfEveryLevel();
    int pairs = 0;
    for (int brightest = 0; brightest < 256; ++brightest) {
        QImage photo = uniform(256 * 5, 5, qRgb(0, 0, 0));
        for (int l = 0; l <= brightest; ++l) {
            photo.setPixel(l * 5 + 2, 2, colours[l]);
            photo.setPixel(l * 5, 0, colours[brightest]);
        }
        const Edges edges = edgesOf(photo);
        for (int l = 0; l <= brightest; ++l, ++pairs) {
            const int expected = 255 - sketch::reference::colorDodge(l, 255 - brightest);
            const int actual = edges[2 * photo.width() + l * 5 + 2];
            QVERIFY2(actual == expected,
                     qPrintable(QStringLiteral("level %1 of %2: %3 instead of %4")
                                    .arg(l)
                                    .arg(brightest)
                                    .arg(actual)
                                    .arg(expected)));
        }
    }
    QCOMPARE(pairs, 256 * 257 / 2);
}

void EdgeKernelTest::everyMultipleOfAHundred()
{
    std::vector<QRgb> colours;
    for (int r = 0; r < 256; ++r) {
        for (int g = 0; g < 256; ++g) {
            for (int b = 0; b < 256; ++b) {
                if ((30 * r + 59 * g + 11 * b) % 100 == 0)
                    colours.push_back(qRgb(r, g, b));
            }
        }
    }
    QCOMPARE(colours.size(), std::size_t(167832));
    const int width = static_cast<int>(colours.size());
    QImage photo = uniform(width + 4, 5, qRgb(255, 255, 255));
    auto *middle = reinterpret_cast<QRgb *>(photo.scanLine(2));
    std::copy(colours.begin(), colours.end(), middle + 2);
    const Edges edges = edgesOf(photo);
    for (int i = 0; i < width; ++i) {
        const int actual = 255 - edges[2 * photo.width() + 2 + i];
        const int expected = sketch::reference::luminance(colours[i]);
        QVERIFY2(actual == expected,
                 qPrintable(QStringLiteral("0x%1: %2 instead of %3")
                                .arg(colours[i], 8, 16)
                                .arg(actual)
                                .arg(expected)));
    }
}

void EdgeKernelTest::alphaIsIgnored()
{
    QImage photo = pictures::noise(50, 20);
    const Edges opaque = edgesOf(photo);
    for (int y = 0; y < photo.height(); ++y) {
        for (int x = 0; x < photo.width(); ++x)
            photo.setPixel(x, y, (photo.pixel(x, y) & 0xffffffU) | (quint32(x * 5) << 24));
    }
    QCOMPARE(edgesOf(photo), opaque);
}

void EdgeKernelTest::memoryIsAFewRows()
{
    const auto needed = [](int height) {
        const QImage photo = pictures::noise(12000, height);
        Edges edges(std::size_t(12000) * height);
        const std::size_t before = allocated;
        computeEdges(photo, edges);
        return allocated - before;
    };
    const std::size_t low = needed(20);
    QVERIFY(low > 0);
    QVERIFY2(low < 16 * 12000, qPrintable(QString::number(low)));
    QCOMPARE(needed(200), low);
}

CRAYVELL_VARIANT_TEST_MAIN(EdgeKernelTest)
#include "tst_edgekernel.moc"
