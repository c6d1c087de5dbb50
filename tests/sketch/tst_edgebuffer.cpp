#include "sketch/edgebuffer.h"

#include <QImageReader>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "sketch/reference/edgebuffer.h"
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

using Edges = std::vector<unsigned char>;

Edges edgesOf(const QImage &photo)
{
    Edges edges(static_cast<std::size_t>(photo.width()) * photo.height(), 0x5a);
    inverterodesketch(photo, edges.data(), {});
    return edges;
}

Edges referenceEdges(const QImage &photo)
{
    Edges edges(static_cast<std::size_t>(photo.width()) * photo.height(), 0xa5);
    sketch::reference::edgeBuffer(photo, edges.data());
    return edges;
}

// The first places at which two edge buffers differ; empty when equal.
QString difference(const Edges &actual, const Edges &expected, int width)
{
    QStringList places;
    for (std::size_t i = 0; i < expected.size() && places.size() < 3; ++i) {
        if (actual[i] != expected[i]) {
            places += QStringLiteral("(%1, %2): %3 instead of %4")
                          .arg(i % width)
                          .arg(i / width)
                          .arg(actual[i])
                          .arg(expected[i]);
        }
    }
    return places.join(QStringLiteral("; "));
}

QString differenceFromReference(const QImage &photo)
{
    return difference(edgesOf(photo), referenceEdges(photo), photo.width());
}

QImage uniform(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
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

QList<int> progressOf(int width, int height)
{
    QList<int> values;
    const QImage photo = pictures::noise(width, height);
    Edges edges(static_cast<std::size_t>(width) * height);
    inverterodesketch(photo, edges.data(), [&](int percent) { values += percent; });
    return values;
}

} // namespace

class EdgeBufferTest : public QObject
{
    Q_OBJECT

private slots:
    void luminanceTruncates_data();
    void luminanceTruncates();
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
    void uniformPicturesAreBlank_data();
    void uniformPicturesAreBlank();
    void aDarkPixelStaysAlone();
    void borderIsBlank();
    void progressOfWidthAHundred();
    void progressOfSmallPictures_data();
    void progressOfSmallPictures();
    void progressMovesWithTheWork();
    void whiteIs255();
};

void EdgeBufferTest::luminanceTruncates_data()
{
    QTest::addColumn<QRgb>("colour");
    QTest::addColumn<int>("level");
    QTest::newRow("black") << qRgb(0, 0, 0) << 0;
    QTest::newRow("darkest grey loses its level") << qRgb(1, 1, 1) << 0;
    QTest::newRow("middle grey loses a level") << qRgb(128, 128, 128) << 127;
    QTest::newRow("white keeps its level") << qRgb(255, 255, 255) << 255;
    QTest::newRow("red") << qRgb(255, 0, 0) << 76;
    QTest::newRow("green") << qRgb(0, 255, 0) << 150;
    QTest::newRow("blue") << qRgb(0, 0, 255) << 28;
}

// A lone pixel of grey L inside white gets 255 - L, which shows its luminance.
void EdgeBufferTest::luminanceTruncates()
{
    QFETCH(QRgb, colour);
    QFETCH(int, level);
    QImage photo = uniform(5, 5, qRgb(255, 255, 255));
    photo.setPixel(2, 2, colour);
    QCOMPARE(255 - int(edgesOf(photo)[2 * 5 + 2]), level);
    QCOMPARE(sketch::reference::luminance(colour), level);
}

void EdgeBufferTest::everySizeEqualsTheReference()
{
    for (int width = 0; width <= 40; ++width) {
        for (int height = 0; height <= 40; ++height) {
            const QImage photo = pictures::noise(width, height, width * 41 + height);
            const QString wrong = differenceFromReference(photo);
            QVERIFY2(wrong.isEmpty(),
                     qPrintable(QStringLiteral("%1x%2 %3").arg(width).arg(height).arg(wrong)));
        }
    }
}

void EdgeBufferTest::vectorWidthsEqualTheReference_data()
{
    QTest::addColumn<int>("width");
    for (const int vector : {64, 128, 256, 1024, 4096}) {
        for (int width = vector - 2; width <= vector + 6; ++width)
            QTest::addRow("width %d", width) << width;
    }
}

void EdgeBufferTest::vectorWidthsEqualTheReference()
{
    QFETCH(int, width);
    for (const int height : {1, 5, 6, 9, 37}) {
        const QImage photo = misaligned(pictures::noise(width, height, width + height));
        const QString wrong = differenceFromReference(photo);
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    }
}

// Pictures of few colours have equal maxima, black neighbourhoods and greys.
void EdgeBufferTest::borderColoursEqualTheReference()
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

void EdgeBufferTest::greyStretchesEqualTheReference_data()
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

void EdgeBufferTest::greyStretchesEqualTheReference()
{
    QFETCH(int, coloured);
    QFETCH(int, grey);
    const QString wrong = differenceFromReference(greyStretches(coloured, grey));
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

// All pairs of a level and the brightest level around it: every five columns a
// pixel of the level, with a pixel of the brightest in its neighbourhood.
void EdgeBufferTest::everyLevelAndMaximumEqualsTheReference()
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

// Where 30 r + 59 g + 11 b is a multiple of 100 the double sum decides whether
// a level is lost. The picture shows each such colour in a white field.
void EdgeBufferTest::everyMultipleOfAHundred()
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

void EdgeBufferTest::alphaIsIgnored()
{
    QImage photo = pictures::noise(50, 20);
    const Edges opaque = edgesOf(photo);
    for (int y = 0; y < photo.height(); ++y) {
        for (int x = 0; x < photo.width(); ++x)
            photo.setPixel(x, y, (photo.pixel(x, y) & 0xffffffU) | (quint32(x * 5) << 24));
    }
    QCOMPARE(edgesOf(photo), opaque);
}

// Besides the photo and the edge buffer; pictures of 108 megapixels are so wide.
void EdgeBufferTest::memoryIsAFewRows()
{
    const auto needed = [](int height) {
        const QImage photo = pictures::noise(12000, height);
        Edges edges(std::size_t(12000) * height);
        const std::size_t before = allocated;
        inverterodesketch(photo, edges.data(), {});
        return allocated - before;
    };
    const std::size_t low = needed(20);
    QVERIFY(low > 0);
    QVERIFY2(low < 16 * 12000, qPrintable(QString::number(low)));
    QCOMPARE(needed(200), low);
}

void EdgeBufferTest::uniformPicturesAreBlank_data()
{
    QTest::addColumn<QRgb>("colour");
    QTest::newRow("black") << qRgb(0, 0, 0);
    QTest::newRow("nearly black") << qRgb(1, 1, 1);
    QTest::newRow("white") << qRgb(255, 255, 255);
    QTest::newRow("a colour") << qRgb(12, 200, 77);
}

void EdgeBufferTest::uniformPicturesAreBlank()
{
    QFETCH(QRgb, colour);
    QCOMPARE(edgesOf(uniform(45, 33, colour)), Edges(45 * 33, 0));
}

void EdgeBufferTest::aDarkPixelStaysAlone()
{
    QImage photo = uniform(20, 10, qRgb(255, 255, 255));
    photo.setPixel(2, 2, qRgb(0, 0, 255)); // grey 28
    photo.setPixel(9, 7, qRgb(0, 0, 0));
    Edges expected(20 * 10, 0);
    expected[2 * 20 + 2] = 255 - 28;
    expected[7 * 20 + 9] = 255;
    QCOMPARE(edgesOf(photo), expected);
}

void EdgeBufferTest::borderIsBlank()
{
    const int width = 71;
    const int height = 40;
    const Edges edges = edgesOf(pictures::noise(width, height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (x < 2 || y < 2 || x >= width - 2 || y >= height - 2)
                QCOMPARE(int(edges[y * width + x]), 0);
        }
    }
}

void EdgeBufferTest::progressOfWidthAHundred()
{
    QList<int> expected {30};
    for (int x = 2; x <= 97; ++x)
        expected += 30 + 30 * x / 100;
    expected << 60 << 70;
    for (int x = 0; x <= 99; ++x)
        expected += 70 + 30 * x / 100;
    expected += 99;
    QCOMPARE(progressOf(100, 60), expected);
    QCOMPARE(progressOf(100, 5), expected);
}

void EdgeBufferTest::progressOfSmallPictures_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QList<int>>("values");
    QTest::newRow("empty") << 0 << 0 << QList<int> {30, 60, 70, 99};
    QTest::newRow("one pixel") << 1 << 1 << QList<int> {30, 60, 70, 70, 99};
    QTest::newRow("four columns") << 4 << 9 << QList<int> {30, 60, 70, 70, 77, 85, 92, 99};
    QTest::newRow("four rows") << 6 << 4 << QList<int> {30, 60, 70, 70, 75, 80, 85, 90, 95, 99};
    QTest::newRow("five by five") << 5 << 5 << QList<int> {30, 42, 60, 70, 70, 76, 82, 88, 94, 99};
}

void EdgeBufferTest::progressOfSmallPictures()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QList<int>, values);
    QCOMPARE(progressOf(width, height), values);
}

// While the first half of the values is reported the buffer is still unfinished.
void EdgeBufferTest::progressMovesWithTheWork()
{
    const QImage photo = pictures::noise(300, 2000);
    const Edges expected = referenceEdges(photo);
    Edges edges(expected.size(), 0);
    qsizetype calls = 0;
    qsizetype callsBeforeHalf = 0;
    const auto half = static_cast<std::ptrdiff_t>(expected.size() / 2);
    inverterodesketch(photo, edges.data(), [&](int) {
        ++calls;
        if (!std::equal(expected.begin() + half, expected.end(), edges.begin() + half))
            callsBeforeHalf = calls;
    });
    QCOMPARE(calls, 1 + 296 + 2 + 300 + 1);
    QVERIFY2(callsBeforeHalf > calls / 2 && callsBeforeHalf < calls,
             qPrintable(QString::number(callsBeforeHalf)));
}

void EdgeBufferTest::whiteIs255()
{
    QVERIFY(is_white_mw(255));
    QVERIFY(!is_white_mw(254));
    QVERIFY(!is_white_mw(0));
}

CRAYVELL_VARIANT_TEST_MAIN(EdgeBufferTest)
#include "tst_edgebuffer.moc"
