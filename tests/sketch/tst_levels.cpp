#include "sketch/levels.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "sketch/reference/levels.h"
#include "tests/sketch/kernel/variantmain.h"
#include "tests/support/pictures.h"

namespace {

int grey(int value, int low, int high)
{
    return qBlue(level(value, low, high, Qt::black, Qt::white));
}

std::vector<unsigned char> ramp(std::size_t size)
{
    std::vector<unsigned char> edges(size);
    for (std::size_t i = 0; i < size; ++i)
        edges[i] = static_cast<unsigned char>(i * 37);
    return edges;
}

} // namespace

class LevelsTest : public QObject
{
    Q_OBJECT

private slots:
    void mapsAValue_data();
    void mapsAValue();
    void everyValueAndLevelPair();
    void blendsColours_data();
    void blendsColours();
    void defaultLevelsInvertTheEdges();
    void everySizeEqualsTheReference();
    void everyLevelPairEqualsTheReference();
    void oddStrideEqualsTheReference();
    void largePicturesEqualTheReference_data();
    void largePicturesEqualTheReference();
    void detachesFromSharedImages();
    void emptyImageTouchesNothing();
};

void LevelsTest::mapsAValue_data()
{
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("high");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("below the black level") << 100 << 200 << 99 << 0;
    QTest::newRow("at the black level") << 100 << 200 << 100 << 0;
    QTest::newRow("half way, truncated") << 100 << 200 << 150 << 127;
    QTest::newRow("at the white level") << 100 << 200 << 200 << 255;
    QTest::newRow("above the white level") << 100 << 200 << 201 << 255;
    QTest::newRow("equal levels, below") << 128 << 128 << 127 << 0;
    QTest::newRow("equal levels, at") << 128 << 128 << 128 << 0;
    QTest::newRow("equal levels, above") << 128 << 128 << 129 << 255;
    QTest::newRow("black level above white level, high value") << 200 << 100 << 101 << 255;
    QTest::newRow("black level above white level, value at white") << 200 << 100 << 100 << 0;
    QTest::newRow("black level above white level, low value") << 200 << 100 << 5 << 0;
    QTest::newRow("all black, brightest value") << 255 << 255 << 255 << 0;
    QTest::newRow("all black, darkest value") << 255 << 255 << 0 << 0;
    QTest::newRow("both levels zero, above") << 0 << 0 << 1 << 255;
    QTest::newRow("both levels zero, at") << 0 << 0 << 0 << 0;
}

void LevelsTest::mapsAValue()
{
    QFETCH(int, low);
    QFETCH(int, high);
    QFETCH(int, value);
    QFETCH(int, expected);
    QCOMPARE(level(value, low, high, Qt::black, Qt::white), qRgb(expected, expected, expected));
}

void LevelsTest::everyValueAndLevelPair()
{
    for (int low = 0; low < 256; ++low) {
        for (int high = 0; high < 256; ++high) {
            for (int value = 0; value < 256; ++value) {
                const int expected = sketch::reference::greyLevel(value, low, high);
                if (grey(value, low, high) != expected)
                    QFAIL(qPrintable(QStringLiteral("%1 between %2 and %3: %4 instead of %5")
                                         .arg(value)
                                         .arg(low)
                                         .arg(high)
                                         .arg(grey(value, low, high))
                                         .arg(expected)));
            }
        }
    }
}

void LevelsTest::blendsColours_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QRgb>("expected");
    QTest::newRow("first colour, alpha ignored") << 10 << qRgb(10, 200, 30);
    QTest::newRow("second colour") << 240 << qRgb(110, 0, 255);
    // t = (100 - 50) * 255 div 150 = 85, a third of the way, each channel truncated
    QTest::newRow("a third of the way") << 100 << qRgb(43, 133, 105);
}

void LevelsTest::blendsColours()
{
    QFETCH(int, value);
    QFETCH(QRgb, expected);
    const QColor first(10, 200, 30, 7);
    const QColor second(110, 0, 255, 90);
    const QRgb actual = level(value, 50, 200, first, second);
    QVERIFY2(actual == expected, qPrintable(QString::number(actual, 16)));
}

void LevelsTest::defaultLevelsInvertTheEdges()
{
    QImage image(256, 1, QImage::Format_ARGB32);
    std::vector<unsigned char> edges(256);
    for (int i = 0; i < 256; ++i)
        edges[i] = static_cast<unsigned char>(i);
    updatePenLevels(image, edges.data(), 0, 255);
    for (int i = 0; i < 256; ++i)
        QCOMPARE(image.pixel(i, 0), qRgb(255 - i, 255 - i, 255 - i));
}

void LevelsTest::everySizeEqualsTheReference()
{
    for (int width = 1; width <= 70; ++width) {
        for (const int height : {1, 2, 7}) {
            const auto edges = ramp(static_cast<std::size_t>(width) * height);
            QImage actual(width, height, QImage::Format_ARGB32);
            QImage expected(width, height, QImage::Format_ARGB32);
            updatePenLevels(actual, edges.data(), 40, 210);
            sketch::reference::updatePenLevels(expected, edges.data(), 40, 210);
            QCOMPARE(pictures::difference(actual, expected), QString());
        }
    }
}

void LevelsTest::everyLevelPairEqualsTheReference()
{
    const auto edges = ramp(256);
    QImage actual(256, 1, QImage::Format_ARGB32);
    QImage expected(256, 1, QImage::Format_ARGB32);
    for (int low = 0; low < 256; ++low) {
        for (int high = 0; high < 256; ++high) {
            updatePenLevels(actual, edges.data(), low, high);
            sketch::reference::updatePenLevels(expected, edges.data(), low, high);
            QVERIFY2(actual == expected, qPrintable(QStringLiteral("%1, %2").arg(low).arg(high)));
        }
    }
}

void LevelsTest::oddStrideEqualsTheReference()
{
    const int width = 33;
    const int height = 9;
    const qsizetype stride = (width + 5) * 4;
    std::vector<uchar> memory(stride * height + 4, 0x77);
    QImage actual(memory.data() + 4, width, height, stride, QImage::Format_ARGB32);
    QImage expected(width, height, QImage::Format_ARGB32);
    const auto edges = ramp(width * height);
    updatePenLevels(actual, edges.data(), 3, 250);
    sketch::reference::updatePenLevels(expected, edges.data(), 3, 250);
    QCOMPARE(pictures::difference(actual, expected), QString());
    QCOMPARE(int(memory[4 + width * 4]), 0x77); // between the rows nothing is written
    QCOMPARE(int(memory[3]), 0x77);
}

void LevelsTest::largePicturesEqualTheReference_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("between"); // pixels between two rows
    QTest::addColumn<int>("before"); // pixels between the memory's start and the first
    QTest::newRow("whole vectors") << 2048 << 0 << 0;
    QTest::newRow("rows that begin anywhere") << 2039 << 0 << 0;
    QTest::newRow("a first pixel that begins anywhere") << 2048 << 0 << 3;
    QTest::newRow("gaps between the rows") << 2045 << 6 << 1;
}

// More than what stays in the caches is written past them.
void LevelsTest::largePicturesEqualTheReference()
{
    QFETCH(int, width);
    QFETCH(int, between);
    QFETCH(int, before);
    const int height = 1000;
    const qsizetype stride = (width + between) * 4;
    QVERIFY(stride * height > 8'000'000);
    alignas(64) static uchar memory[8'500'000];
    std::fill(std::begin(memory), std::end(memory), uchar(0x77));
    QImage actual(memory + 4 * before, width, height, stride, QImage::Format_ARGB32);
    QImage expected(width, height, QImage::Format_ARGB32);
    const auto edges = ramp(static_cast<std::size_t>(width) * height);
    updatePenLevels(actual, edges.data(), 40, 210);
    sketch::reference::updatePenLevels(expected, edges.data(), 40, 210);
    QCOMPARE(pictures::difference(actual, expected), QString());
    const auto gap = [&](int y) { return memory + 4 * before + y * stride + 4 * width; };
    for (int y = 0; y < height; ++y)
        QVERIFY(std::all_of(gap(y), gap(y) + 4 * between, [](uchar b) { return b == 0x77; }));
    QCOMPARE(int(*gap(height - 1)), 0x77);
}

void LevelsTest::detachesFromSharedImages()
{
    const QImage photo = pictures::noise(30, 20);
    const QImage before = photo.copy();
    QImage sketch = photo;
    updatePenLevels(sketch, ramp(30 * 20).data(), 0, 255);
    QCOMPARE(pictures::difference(photo, before), QString());
    QVERIFY(sketch != photo);
}

void LevelsTest::emptyImageTouchesNothing()
{
    QImage image;
    updatePenLevels(image, nullptr, 0, 255);
    QVERIFY(image.isNull());
}

CRAYVELL_VARIANT_TEST_MAIN(LevelsTest)
#include "tst_levels.moc"
