#include <QImageReader>
#include <QRandomGenerator>
#include <QtEndian>
#include <QtTest>

#include <functional>
#include <stdexcept>
#include <zlib.h>

#include "photo/encode/pngencoder.h"
#include "tests/support/testmain.h"

namespace {

// The level of a pixel, of a picture of so many rows.
using Level = std::function<int(int x, int y, int height)>;

const photo::ExifBlock noExif;

class Bytes : public photo::ByteSink
{
public:
    void write(const unsigned char *bytes, std::size_t count) override
    {
        all.append(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(count));
    }

    QByteArray all;
};

struct Full : std::runtime_error
{
    Full()
        : std::runtime_error("full")
    {
    }
};

// Takes so many writes and no more.
class FullSink : public photo::ByteSink
{
public:
    explicit FullSink(int writes)
        : m_left(writes)
    {
    }
    void write(const unsigned char *, std::size_t) override
    {
        if (m_left-- == 0)
            throw Full();
    }

private:
    int m_left;
};

QImage picture(QSize size, const Level &level)
{
    QImage grey(size, QImage::Format_Grayscale8);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            grey.scanLine(y)[x] = static_cast<uchar>(level(x, y, size.height()));
    }
    return grey;
}

void encodeInto(photo::ByteSink &sink, const QImage &grey, int rowsAtOnce,
                const photo::ExifBlock &exif = noExif)
{
    photo::PngEncoder encoder(grey.size(), exif, sink);
    std::vector<unsigned char> rows;
    for (int first = 0; first < grey.height(); first += rowsAtOnce) {
        const int end = std::min(grey.height(), first + rowsAtOnce);
        rows.clear();
        for (int y = first; y < end; ++y)
            rows.insert(rows.end(), grey.constScanLine(y), grey.constScanLine(y) + grey.width());
        encoder.write(rows.data(), end - first);
    }
    encoder.finish();
}

QByteArray encoded(const QImage &grey, int rowsAtOnce = 32, const photo::ExifBlock &exif = noExif)
{
    Bytes bytes;
    encodeInto(bytes, grey, rowsAtOnce, exif);
    return bytes.all;
}

struct Chunk
{
    QByteArray type;
    QByteArray data;
    bool hasRightSum;
};

std::vector<Chunk> chunks(const QByteArray &png)
{
    constexpr qsizetype signature = 8;
    std::vector<Chunk> found;
    for (qsizetype at = signature; at + 12 <= png.size();) {
        const auto size = static_cast<qsizetype>(qFromBigEndian<quint32>(png.data() + at));
        const QByteArray named = png.mid(at + 4, 4 + size);
        const auto sum = crc32(0, reinterpret_cast<const Bytef *>(named.data()),
                               static_cast<uInt>(named.size()));
        found.push_back({named.left(4), named.mid(4),
                         sum == qFromBigEndian<quint32>(png.data() + at + 8 + size)});
        at += 12 + size;
    }
    return found;
}

QByteArray compressedRows(const QByteArray &png)
{
    QByteArray data;
    for (const Chunk &chunk : chunks(png)) {
        if (chunk.type == "IDAT")
            data += chunk.data;
    }
    return data;
}

// The rows behind their filter types; empty unless the data are one whole zlib stream
// with the right sum and nothing behind it, which picture readers pass over.
QByteArray inflatedRows(const QByteArray &png, QSize size)
{
    const QByteArray data = compressedRows(png);
    QByteArray rows((size.width() + 1) * size.height(), '\0');
    auto rowBytes = static_cast<uLongf>(rows.size());
    auto dataBytes = static_cast<uLong>(data.size());
    const int result = uncompress2(reinterpret_cast<Bytef *>(rows.data()), &rowBytes,
                                   reinterpret_cast<const Bytef *>(data.data()), &dataBytes);
    const bool isWhole = result == Z_OK && static_cast<qsizetype>(dataBytes) == data.size()
        && static_cast<qsizetype>(rowBytes) == rows.size();
    return isWhole ? rows : QByteArray();
}

int noise()
{
    static QRandomGenerator random(1);
    return static_cast<int>(random.bounded(256));
}

int white(int, int, int)
{
    return 255;
}

// Strokes every few pixels, of some levels.
int strokes(int x, int y, int)
{
    return (x * 7 + y * 3) % 31 == 0 ? (x * y) % 200 : 255;
}

int shades(int x, int y, int)
{
    return (x / 3 + y / 2 + noise() % 3) & 255;
}

// What a third of the picture compresses best with, another does not.
int changing(int x, int y, int height)
{
    switch (3 * y / height) {
    case 0: return white(x, y, height);
    case 1: return noise();
    default: return shades(x, y, height);
    }
}

} // namespace

class tst_PngEncoder : public QObject
{
    Q_OBJECT

private slots:
    void givesExactPixels_data();
    void givesExactPixels();
    void isAWholeFile();
    void isTheSameForRowsInAnyPortions_data();
    void isTheSameForRowsInAnyPortions();
    void givesBytesAsRowsCome();
    void needsMemoryForAFewRowsOnly();
    void passesOnWhatTheSinkThrows();
    void packsFlatPaperIntoLittle();
    void choosesTheFilterByTheRows();
    void everyHeight_data();
    void everyHeight();
    void noChunkWithoutNeed();
    void needOfItsOwn();
};

void tst_PngEncoder::givesExactPixels_data()
{
    QTest::addColumn<QImage>("grey");

    const std::pair<const char *, Level> kinds[] = {
        {"white", white},       {"strokes", strokes},
        {"shades", shades},     {"noise", [](int, int, int) { return noise(); }},
        {"changing", changing},
    };
    // Some in one band and some in several, and rows longer than what is sampled, than
    // a band, and than what the compressor looks back.
    constexpr QSize sizes[] = {{1, 1},     {1, 70},      {2, 3},      {7, 1},      {257, 300},
                               {640, 480}, {1000, 2000}, {9001, 130}, {700001, 5}, {1, 300000}};
    for (const auto &[name, level] : kinds) {
        for (const QSize size : sizes) {
            QTest::addRow("%s, %d x %d", name, size.width(), size.height()) << picture(size, level);
        }
    }
}

void tst_PngEncoder::givesExactPixels()
{
    QFETCH(QImage, grey);
    const QByteArray png = encoded(grey);
    QVERIFY(!inflatedRows(png, grey.size()).isEmpty());
    const QImage read = QImage::fromData(png, "png");
    QCOMPARE(read.format(), QImage::Format_Grayscale8);
    QCOMPARE(read, grey);
}

void tst_PngEncoder::isAWholeFile()
{
    const photo::ExifBlock exif {'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0};
    const QByteArray png =
        encoded(picture({2000, 2000}, [](int, int, int) { return noise(); }), 32, exif);
    const std::vector<Chunk> all = chunks(png);
    constexpr qsizetype mostBytes = 1 << 20;
    QByteArrayList types;
    for (const Chunk &chunk : all) {
        QVERIFY(chunk.hasRightSum);
        QVERIFY(chunk.data.size() <= mostBytes);
        types << chunk.type;
    }
    QVERIFY(types.count("IDAT") > 1);
    types.removeIf([](const QByteArray &type) { return type == "IDAT"; });
    QCOMPARE(types, (QByteArrayList {"IHDR", "eXIf", "IEND"}));
    QCOMPARE(all.front().type, QByteArray("IHDR"));
    QCOMPARE(all[1].data, QByteArray("II*\0\x08\0\0\0\0\0", 10));
    QCOMPARE(all.back().type, QByteArray("IEND"));
}

void tst_PngEncoder::isTheSameForRowsInAnyPortions_data()
{
    QTest::addColumn<int>("rowsAtOnce");

    for (const int rows : {1, 7, 28, 1000, 3000})
        QTest::addRow("%d", rows) << rows;
}

void tst_PngEncoder::isTheSameForRowsInAnyPortions()
{
    QFETCH(int, rowsAtOnce);
    static const QImage grey = picture({700, 3000}, changing);
    static const QByteArray expected = encoded(grey, 32);
    QVERIFY(encoded(grey, rowsAtOnce) == expected);
}

void tst_PngEncoder::givesBytesAsRowsCome()
{
    const QImage grey = picture({2048, 2048}, [](int, int, int) { return noise(); });
    Bytes bytes;
    photo::PngEncoder encoder(grey.size(), noExif, bytes);
    encoder.write(grey.constBits(), grey.height() / 2);
    QVERIFY(bytes.all.size() > grey.sizeInBytes() / 4);
}

void tst_PngEncoder::needsMemoryForAFewRowsOnly()
{
    constexpr qint64 most = 6'000'000;
    QVERIFY(photo::PngEncoder::memoryNeed({8000, 1000}) < most);
    QCOMPARE(photo::PngEncoder::memoryNeed({8000, 100'000}),
             photo::PngEncoder::memoryNeed({8000, 1000}));
}

void tst_PngEncoder::passesOnWhatTheSinkThrows()
{
    const QImage grey = picture({1000, 1000}, [](int, int, int) { return noise(); });
    int refused = 0;
    for (bool isWritten = false; !isWritten; refused += !isWritten) {
        FullSink sink(refused);
        try {
            encodeInto(sink, grey, 32);
            isWritten = true;
        } catch (const Full &) {
        }
    }
    constexpr int leastWrites = 1 + 3 * 4; // signature, and three chunks at least
    QVERIFY(refused > leastWrites);
}

void tst_PngEncoder::packsFlatPaperIntoLittle()
{
    constexpr int side = 2000;
    const QByteArray png = encoded(picture({side, side}, white));
    // Two bits for every run of the longest kind, two bytes for what ends a row, and
    // what the file needs beside.
    QVERIFY2(png.size() < side * side / 258 / 4 + side * 2 + 500, QByteArray::number(png.size()));
}

void tst_PngEncoder::choosesTheFilterByTheRows()
{
    constexpr QSize size(1000, 3000);
    const auto filterOf = [&](const QByteArray &rows, int y) {
        return static_cast<int>(rows[y * (size.width() + 1)]);
    };
    const QByteArray rows = inflatedRows(encoded(picture(size,
                                                         [](int x, int y, int height) {
                                                             return y < height / 2
                                                                 ? strokes(x, y, height)
                                                                 : shades(x, y, height);
                                                         })),
                                         size);
    QVERIFY(!rows.isEmpty());
    QCOMPARE(filterOf(rows, 0), 0);
    QCOMPARE(filterOf(rows, size.height() - 1), 1);
}

void tst_PngEncoder::everyHeight_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("highest");
    QTest::newRow("narrow") << 3 << 70;
    QTest::newRow("ordinary") << 1000 << 70;
    QTest::newRow("wide") << 70'000 << 10;
}

// Whatever is left for the last band.
void tst_PngEncoder::everyHeight()
{
    QFETCH(int, width);
    QFETCH(int, highest);
    for (int height = 1; height <= highest; ++height) {
        const QImage grey = picture(QSize(width, height), strokes);
        const QByteArray png = encoded(grey);
        QVERIFY2(!inflatedRows(png, grey.size()).isEmpty(), QByteArray::number(height));
    }
}

void tst_PngEncoder::noChunkWithoutNeed()
{
    for (const Chunk &chunk : chunks(encoded(picture(QSize(40, 40), strokes))))
        QVERIFY2(QByteArrayList({"IHDR", "IDAT", "IEND"}).contains(chunk.type), chunk.type);
}

void tst_PngEncoder::needOfItsOwn()
{
    const QSize size(3000, 2000);
    const qint64 need = photo::encoderNeed(photo::SketchFormat::Png, size);
    QCOMPARE(need, photo::PngEncoder::memoryNeed(size));
    QVERIFY(need != photo::encoderNeed(photo::SketchFormat::Jpeg, size));
    // A JPEG has room for 64 kB of EXIF data in one segment, a PNG for more.
    QCOMPARE(photo::exifCapacity(photo::SketchFormat::Jpeg), std::size_t(65527));
    QVERIFY(photo::exifCapacity(photo::SketchFormat::Png) > 65527);
}

CRAYVELL_TEST_MAIN(tst_PngEncoder)
#include "tst_pngencoder.moc"
