#include "sketch/edgebuffer.h"

#include "tests/sketch/edges.h"
#include "tests/sketch/kernel/variantmain.h"
#include "tests/support/pictures.h"

namespace {

Edges edgesOf(const QImage &photo)
{
    Edges edges(static_cast<std::size_t>(photo.width()) * photo.height(), 0x5a);
    inverterodesketch(photo, edges.data(), {});
    return edges;
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
    void uniformPicturesAreBlank_data();
    void uniformPicturesAreBlank();
    void aDarkPixelStaysAlone();
    void borderIsBlank();
    void longRowsEqualTheReference();
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

// A photo inside a wider picture: what follows a row is not the next one.
void EdgeBufferTest::longRowsEqualTheReference()
{
    const QImage wide = pictures::noise(90, 30);
    const QImage photo(wide.constBits() + 4 * 7, 61, 30, wide.bytesPerLine(), wide.format());
    QCOMPARE(difference(edgesOf(photo), referenceEdges(photo.copy()), 61), QString());
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
