#include "sketch/gaussianblur.h"

#include <limits>
#include <vector>

#include "sketch/kernel/gaussianblurplan.h"
#include "sketch/reference/gaussianblur.h"
#include "tests/sketch/kernel/variantmain.h"
#include "tests/support/pictures.h"

namespace {

// Noise in all four channels.
QImage noise(int width, int height, quint32 seed = 1)
{
    QImage image = pictures::noise(width, height, seed);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = (line[x] & 0xffffffU) | (line[x] * 41 << 24);
    }
    return image;
}

QImage uniform(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

// A picture inside memory of its own, where rows start off any alignment and
// are an odd number of pixels apart.
class Misaligned
{
public:
    // between: pixels, an even number, that at least lie between two rows.
    explicit Misaligned(const QImage &picture, int between = 2)
        : m_stride(((picture.width() | 1) + between) * 4)
        , m_memory(m_stride * picture.height() + 8, 0x77)
        , image(m_memory.data() + 4, picture.width(), picture.height(), m_stride,
                QImage::Format_ARGB32)
    {
        for (int y = 0; y < picture.height(); ++y)
            memcpy(image.scanLine(y), picture.constScanLine(y), picture.width() * 4);
    }

    // Whether the bytes around the rows are what they were.
    bool isIntact() const
    {
        std::vector<uchar> memory = m_memory;
        for (int y = 0; y < image.height(); ++y)
            std::fill_n(memory.begin() + 4 + y * m_stride, image.width() * 4, uchar(0x77));
        return memory == std::vector<uchar>(memory.size(), 0x77);
    }

private:
    qsizetype m_stride;
    std::vector<uchar> m_memory;

public:
    QImage image;
};

// Where the engine's result differs from the plain code's, in a destination that
// held something else and in place; empty when nowhere.
QString differenceFromReference(const QImage &picture, int size, double sigma)
{
    const QImage before = noise(picture.width(), picture.height(), 99);
    QImage source = picture.copy();
    QImage expected = before.copy();
    sketch::reference::blur(&source, &expected, size, sigma);
    Misaligned from(picture);
    Misaligned to(before, 6);
    blur(&from.image, &to.image, size, sigma);
    QString wrong = pictures::difference(to.image, expected);
    if (!from.isIntact() || !to.isIntact())
        wrong += QStringLiteral(" wrote outside");
    if (from.image != picture)
        wrong += QStringLiteral(" changed the source");

    QImage expectedInPlace = picture.copy();
    sketch::reference::blur(&expectedInPlace, &expectedInPlace, size, sigma);
    blur(&from.image, &from.image, size, sigma);
    const QString wrongInPlace = pictures::difference(from.image, expectedInPlace);
    if (!wrongInPlace.isEmpty())
        wrong += QStringLiteral(" in place: ") + wrongInPlace;
    return wrong;
}

// Every level as a flat area wider than the taps, the channels in different
// orders, and slopes of several steepnesses beyond.
QImage flatAreas(int taps, int height)
{
    const int step = taps + 3;
    QImage image(256 * step + 512, height, QImage::Format_ARGB32);
    auto *line = reinterpret_cast<QRgb *>(image.scanLine(0));
    for (int x = 0; x < image.width(); ++x) {
        const int level = x < 256 * step ? x / step : x * (1 + x / 64 % 4) & 0xff;
        line[x] = qRgb(level, 255 - level, level ^ 0x55);
    }
    for (int y = 1; y < height; ++y)
        memcpy(image.scanLine(y), line, image.bytesPerLine());
    return image;
}

} // namespace

class GaussianBlurTest : public QObject
{
    Q_OBJECT

private slots:
    void uniformPictures_data();
    void uniformPictures();
    void sizeOneCopiesColours_data();
    void sizeOneCopiesColours();
    void aBrightPixelSpreads();
    void everySizeEqualsTheReference_data();
    void everySizeEqualsTheReference();
    void everyWidthEqualsTheReference_data();
    void everyWidthEqualsTheReference();
    void everyHeightEqualsTheReference();
    void flatAreasEqualTheReference_data();
    void flatAreasEqualTheReference();
    void unusualSigmasEqualTheReference_data();
    void unusualSigmasEqualTheReference();
    void usualKernelsHaveSteps();
    void smallPicturesStay_data();
    void smallPicturesStay();
    void unusableArgumentsChangeNothing_data();
    void unusableArgumentsChangeNothing();
    void detachesFromSharedImages();
    void emptyImagesAreLeftAlone();
};

void GaussianBlurTest::uniformPictures_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("expected");
    // Row 200; column 78.2, 78 + 121.8 = 199.8
    QTest::newRow("three taps lose a level") << 3 << 200 << 199;
    // Row 225.2; column 76.9, 76 + 119.8 = 195.8, 195 + 56.6 = 251.6
    QTest::newRow("four taps brighten") << 4 << 200 << 251;
    // Row 287.1 - 256; column 10.6, 10 + 16.5 = 26.5, 26 + 7.8 = 33.8
    QTest::newRow("four taps wrap around") << 4 << 255 << 33;
    QTest::newRow("five taps lose two levels") << 5 << 200 << 198;
    QTest::newRow("five taps darken white") << 5 << 255 << 253;
    QTest::newRow("black stays black") << 5 << 0 << 0;
}

void GaussianBlurTest::uniformPictures()
{
    QFETCH(int, size);
    QFETCH(int, level);
    QFETCH(int, expected);
    const int half = size / 2;
    QImage picture = uniform(50, 23, qRgba(level, level, level, 0x3c));
    QImage destination = uniform(50, 23, 0x12345678);
    blur(&picture, &destination, size, 1);
    blur(&picture, &picture, size, 1);
    const QRect inner = picture.rect().adjusted(half, half, -half, -half);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const bool isInner = inner.contains(x, y);
            const int now = isInner ? expected : level;
            QCOMPARE(picture.pixel(x, y), qRgba(now, now, now, 0x3c));
            QCOMPARE(destination.pixel(x, y),
                     isInner ? qRgba(now, now, now, 0x12) : QRgb(0x12345678));
        }
    }
}

void GaussianBlurTest::sizeOneCopiesColours_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("sigma");
    QTest::newRow("one tap") << 1 << 1.0;
    QTest::newRow("one tap, wide sigma") << 1 << 10.0;
    QTest::newRow("sigma so small that only the centre has weight") << 9 << 0.01;
    QTest::newRow("the same with an even size") << 4 << 0.01;
}

void GaussianBlurTest::sizeOneCopiesColours()
{
    QFETCH(int, size);
    QFETCH(double, sigma);
    QImage picture = noise(45, 31);
    const QImage before = noise(45, 31, 5);
    QImage destination = before.copy();
    blur(&picture, &destination, size, sigma);
    const int half = size / 2;
    const QRect inner = picture.rect().adjusted(half, half, -half, -half);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb colours = (inner.contains(x, y) ? picture : before).pixel(x, y);
            QCOMPARE(destination.pixel(x, y) & 0xffffffU, colours & 0xffffffU);
            QCOMPARE(qAlpha(destination.pixel(x, y)), qAlpha(before.pixel(x, y)));
        }
    }
}

// Weights 0.3045, 0.3910, 0.3045. Rows: 77.6, 99.7, 77.6. Columns: 23.4, 30.2 and
// 23.4 above and below; 30.1, 38.7 and 30.1 between.
void GaussianBlurTest::aBrightPixelSpreads()
{
    const int block[3][3] = {{23, 30, 23}, {30, 38, 30}, {23, 30, 23}};
    QImage picture = uniform(33, 20, 0xff000000);
    picture.setPixel(20, 7, qRgb(0, 255, 0));
    QImage expected = picture.copy();
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 3; ++x)
            expected.setPixel(19 + x, 6 + y, qRgb(0, block[y][x], 0));
    }
    blur(&picture, &picture, 3, 1);
    QCOMPARE(pictures::difference(picture, expected), QString());
}

void GaussianBlurTest::everySizeEqualsTheReference_data()
{
    QTest::addColumn<int>("size");
    for (int size = 1; size <= 31; ++size)
        QTest::addRow("%d taps", size) << size;
}

void GaussianBlurTest::everySizeEqualsTheReference()
{
    QFETCH(int, size);
    const QImage rough = noise(83, 49, size);
    const QImage smooth = pictures::scene(83, 49);
    for (const double sigma : {0.3, 0.5, 0.8, 1.0, 1.41, 2.5, 5.0, 10.0}) {
        for (const QImage &picture : {rough, smooth}) {
            const QString wrong = differenceFromReference(picture, size, sigma);
            QVERIFY2(wrong.isEmpty(),
                     qPrintable(QStringLiteral("sigma %1 %2").arg(sigma).arg(wrong)));
        }
    }
}

void GaussianBlurTest::everyWidthEqualsTheReference_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {1, 2, 5, 8, 31})
        QTest::addRow("%d taps", size) << size;
}

void GaussianBlurTest::everyWidthEqualsTheReference()
{
    QFETCH(int, size);
    for (int width = 1; width <= 140; ++width) {
        const QString wrong = differenceFromReference(noise(width, size + 2, width), size, 1.2);
        QVERIFY2(wrong.isEmpty(), qPrintable(QStringLiteral("width %1 %2").arg(width).arg(wrong)));
    }
}

void GaussianBlurTest::everyHeightEqualsTheReference()
{
    for (int height = 1; height <= 24; ++height) {
        for (const int size : {1, 4, 5, 9}) {
            const QString wrong = differenceFromReference(noise(37, height, height), size, 1);
            QVERIFY2(wrong.isEmpty(),
                     qPrintable(QStringLiteral("height %1 %2").arg(height).arg(wrong)));
        }
    }
}

void GaussianBlurTest::flatAreasEqualTheReference_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {2, 3, 5, 7, 12, 31})
        QTest::addRow("%d taps", size) << size;
}

void GaussianBlurTest::flatAreasEqualTheReference()
{
    QFETCH(int, size);
    const QImage picture = flatAreas(size, size + 1);
    for (const double sigma : {0.3, 1.0, 1.9, 10.0}) {
        const QString wrong = differenceFromReference(picture, size, sigma);
        QVERIFY2(wrong.isEmpty(), qPrintable(QStringLiteral("sigma %1 %2").arg(sigma).arg(wrong)));
    }
}

void GaussianBlurTest::unusualSigmasEqualTheReference_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("sigma");
    QTest::addColumn<bool>("hasSteps");
    QTest::newRow("hardly any neighbours") << 5 << 0.1 << true;
    QTest::newRow("neighbours at the end of the doubles") << 31 << 0.2 << true;
    QTest::newRow("wide") << 9 << 1000.0 << true;
    QTest::newRow("equal weights, columns round up") << 5 << 1e8 << false;
    QTest::newRow("equal weights, even size") << 8 << 1e8 << false;
    QTest::newRow("equal weights, many taps") << 31 << 1e8 << false;
    QTest::newRow("more taps than levels") << 601 << 500.0 << false;
    QTest::newRow("many taps, few with weight") << 601 << 2.0 << true;
}

void GaussianBlurTest::unusualSigmasEqualTheReference()
{
    QFETCH(int, size);
    QFETCH(double, sigma);
    QFETCH(bool, hasSteps);
    QCOMPARE(!sketch::BlurPlan(size, sigma).steps.empty(), hasSteps);
    QString wrong = differenceFromReference(noise(size + 20, size + 3, 3), size, sigma);
    if (wrong.isEmpty())
        wrong = differenceFromReference(flatAreas(9, size + 2).copy(0, 0, size + 70, size + 2),
                                        size, sigma);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

// Without them columns take as long as in plain code.
void GaussianBlurTest::usualKernelsHaveSteps()
{
    for (int size = 1; size <= 31; ++size) {
        for (int sigma = 30; sigma <= 1000; sigma += 7) {
            if (sketch::BlurPlan(size, sigma / 100.0).steps.empty())
                QFAIL(qPrintable(QStringLiteral("size %1, sigma %2").arg(size).arg(sigma / 100.0)));
        }
    }
}

void GaussianBlurTest::smallPicturesStay_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("size");
    QTest::newRow("one column short") << 4 << 40 << 5;
    QTest::newRow("one row short") << 40 << 4 << 5;
    QTest::newRow("even size") << 4 << 40 << 4;
    QTest::newRow("one pixel") << 1 << 1 << 2;
    QTest::newRow("far more taps than pixels") << 40 << 40 << 1001;
    QTest::newRow("the largest size") << 40 << 40 << std::numeric_limits<int>::max();
}

void GaussianBlurTest::smallPicturesStay()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, size);
    QImage source = noise(width, height);
    QImage destination = noise(width, height, 2);
    const QImage before = destination.copy();
    blur(&source, &destination, size, 1);
    QCOMPARE(pictures::difference(destination, before), QString());
}

void GaussianBlurTest::unusableArgumentsChangeNothing_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("sigma");
    QTest::newRow("no taps") << 0 << 1.0;
    QTest::newRow("fewer than none") << -5 << 1.0;
    QTest::newRow("sigma zero") << 5 << 0.0;
    QTest::newRow("sigma below zero") << 5 << -1.0;
    QTest::newRow("sigma not a number") << 5 << std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("sigma infinite") << 5 << std::numeric_limits<double>::infinity();
    QTest::newRow("square of sigma vanishes") << 5 << 1e-200;
    QTest::newRow("square of sigma is infinite") << 5 << 1e200;
}

void GaussianBlurTest::unusableArgumentsChangeNothing()
{
    QFETCH(int, size);
    QFETCH(double, sigma);
    QImage source = noise(30, 20);
    QImage destination = noise(30, 20, 2);
    const QImage before = destination.copy();
    blur(&source, &destination, size, sigma);
    QCOMPARE(pictures::difference(destination, before), QString());
}

void GaussianBlurTest::detachesFromSharedImages()
{
    const QImage photo = noise(30, 20);
    const QImage before = photo.copy();
    QImage source = photo;
    QImage destination = photo;
    blur(&source, &destination, 5, 1);
    QCOMPARE(pictures::difference(photo, before), QString());
    QCOMPARE(pictures::difference(source, before), QString());
    QVERIFY(source.constBits() != photo.constBits());
    QVERIFY(destination != photo);
}

void GaussianBlurTest::emptyImagesAreLeftAlone()
{
    QImage source;
    QImage destination;
    blur(&source, &destination, 5, 1);
    blur(&source, &source, 1, 1);
    QVERIFY(source.isNull() && destination.isNull());
}

CRAYVELL_VARIANT_TEST_MAIN(GaussianBlurTest)
#include "tst_gaussianblur.moc"
