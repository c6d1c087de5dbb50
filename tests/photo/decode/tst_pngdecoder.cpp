#include <QtTest>

#include <vector>

#include "photo/decode/pngdecoder.h"
#include "tests/photo/decode/decodedphoto.h"
#include "tests/support/pngfile.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

struct PngKind
{
    int colourType;
    bool isInterlaced = false;
    bool hasTransparentColour = false;
    double gamma = 0; // none
};

// A sample of 16 bits for every channel; 65536 pixels have every value in each.
std::vector<png_uint_16> samples(QSize size, int channels)
{
    std::vector<png_uint_16> all;
    const unsigned pixels = static_cast<unsigned>(size.width()) * size.height();
    for (unsigned i = 0; i < pixels; ++i) {
        for (int channel = 0; channel < channels; ++channel)
            all.push_back(static_cast<png_uint_16>(i * (40503U + 2 * channel) + 7777U * channel));
    }
    return all;
}

int channelsOf(int colourType)
{
    return (colourType & PNG_COLOR_MASK_COLOR ? 3 : 1)
        + (colourType & PNG_COLOR_MASK_ALPHA ? 1 : 0);
}

void append(png_structp png, png_bytep bytes, std::size_t count)
{
    static_cast<QByteArray *>(png_get_io_ptr(png))
        ->append(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(count));
}

void describe(png_structp png, png_infop info, const PngKind &kind, QSize size,
              const png_uint_16 *marked)
{
    png_set_IHDR(png, info, size.width(), size.height(), 16, kind.colourType,
                 kind.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (kind.gamma > 0)
        png_set_gAMA(png, info, kind.gamma);
    if (kind.hasTransparentColour) {
        png_color_16 colour {};
        colour.gray = marked[0];
        if (channelsOf(kind.colourType) == 3) {
            colour.red = marked[0];
            colour.green = marked[1];
            colour.blue = marked[2];
        }
        png_set_tRNS(png, info, nullptr, 0, &colour);
    }
}

QByteArray pngOf(const PngKind &kind, QSize size)
{
    const int channels = channelsOf(kind.colourType);
    std::vector<png_uint_16> pixels = samples(size, channels);
    QByteArray file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, append, nullptr);
    const std::size_t middle = pixels.size() / channels / 2 * channels;
    describe(png, info, kind, size, pixels.data() + middle);
    png_write_info(png, info);
    png_set_swap(png);
    const int passes = png_set_interlace_handling(png);
    for (int pass = 0; pass < passes; ++pass) {
        for (int y = 0; y < size.height(); ++y)
            png_write_row(png,
                          reinterpret_cast<png_bytep>(pixels.data()
                                                      + std::size_t(y) * size.width() * channels));
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return file;
}

QByteArray png(int colourType, bool isInterlaced = false)
{
    return pngOf({colourType, isInterlaced}, QSize(53, 71));
}

} // namespace

class tst_PngDecoder : public QObject
{
    Q_OBJECT

private slots:
    void pixels_data();
    void pixels();
    void transparentColour_data();
    void transparentColour();
    void shallow_data();
    void shallow();
    void damaged_data();
    void damaged();
    void cutShort_data();
    void cutShort();
    void damagedEnd();
    void notedWindow();
    void memoryNeed();
};

void tst_PngDecoder::pixels_data()
{
    QTest::addColumn<QByteArray>("photo");

    const struct
    {
        const char *name;
        PngKind kind;
    } kinds[] = {
        {"grey", {PNG_COLOR_TYPE_GRAY}},
        {"grey with a transparent value", {PNG_COLOR_TYPE_GRAY, false, true}},
        {"grey with alpha", {PNG_COLOR_TYPE_GRAY_ALPHA}},
        {"colour", {PNG_COLOR_TYPE_RGB}},
        {"colour with alpha", {PNG_COLOR_TYPE_RGB_ALPHA}},
        {"grey of another gamma", {PNG_COLOR_TYPE_GRAY, false, false, 1.0}},
        {"colour of another gamma", {PNG_COLOR_TYPE_RGB, false, false, 1.0}},
        {"colour with alpha of another gamma", {PNG_COLOR_TYPE_RGB_ALPHA, false, false, 0.3}},
    };
    for (const auto &[name, kind] : kinds) {
        for (const bool isInterlaced : {false, true}) {
            PngKind made = kind;
            made.isInterlaced = isInterlaced;
            const char *const way = isInterlaced ? ", interlaced" : "";
            QTest::addRow("%s%s, all values", name, way) << pngOf(made, QSize(256, 256));
            for (const QSize size : {QSize(1, 1), QSize(1, 77), QSize(90, 1), QSize(7, 5),
                                     QSize(33, 32), QSize(61, 33), QSize(29, 61)}) {
                QTest::addRow("%s%s, %d x %d", name, way, size.width(), size.height())
                    << pngOf(made, size);
            }
        }
    }
}

void tst_PngDecoder::pixels()
{
    QFETCH(QByteArray, photo);
    DecodedPhoto decoded(photo);
    QVERIFY(decoded.isDecodedBy<photo::PngDecoder>());
    COMPARE_WITH_TOOLKIT(decoded);
}

void tst_PngDecoder::transparentColour_data()
{
    QTest::addColumn<bool>("isInterlaced");

    QTest::newRow("straight") << false;
    QTest::newRow("interlaced") << true;
}

// The toolkit takes such a file's rows for wider ones and reads past their ends
// (6.4), so that the same picture without the transparent colour is compared.
void tst_PngDecoder::transparentColour()
{
    QFETCH(bool, isInterlaced);
    const QSize size(61, 33);
    DecodedPhoto decoded(pngOf({PNG_COLOR_TYPE_RGB, isInterlaced, true}, size));
    const DecodedPhoto opaque(pngOf({PNG_COLOR_TYPE_RGB, isInterlaced}, size));
    QImage expected = opaque.byToolkit();
    const QPoint middle(size.width() * size.height() / 2 % size.width(), size.height() / 2);
    expected.setPixel(middle, expected.pixel(middle) & RGB_MASK);
    const QByteArray wrong = difference(decoded.byDecoder(), expected);
    QVERIFY2(wrong.isEmpty(), wrong.constData());
}

void tst_PngDecoder::shallow_data()
{
    QTest::addColumn<QImage::Format>("format");

    QTest::newRow("black and white") << QImage::Format_Mono;
    QTest::newRow("indexed") << QImage::Format_Indexed8;
    QTest::newRow("grey") << QImage::Format_Grayscale8;
    QTest::newRow("colour") << QImage::Format_RGB32;
    QTest::newRow("colour with alpha") << QImage::Format_ARGB32;
}

// Up to 8 bits a channel.
void tst_PngDecoder::shallow()
{
    QFETCH(QImage::Format, format);
    for (const QSize size : {QSize(1, 1), QSize(30, 20), QSize(61, 77)}) {
        QImage scene = testphotos::scene(size.width(), size.height()).convertToFormat(format);
        if (format == QImage::Format_Indexed8)
            scene.setColor(3, qRgba(10, 200, 30, 40)); // some transparent
        DecodedPhoto decoded(testphotos::encoded(scene, "png"));
        QVERIFY(decoded.isDecodedBy<photo::PngDecoder>());
        COMPARE_WITH_TOOLKIT(decoded);
    }
}

void tst_PngDecoder::damaged_data()
{
    QTest::addColumn<QByteArray>("photo");

    QTest::newRow("colour") << png(PNG_COLOR_TYPE_RGB);
    QTest::newRow("colour, interlaced") << png(PNG_COLOR_TYPE_RGB, true);
    QTest::newRow("grey with alpha") << png(PNG_COLOR_TYPE_GRAY_ALPHA);
    const QImage scene = testphotos::scene(53, 71);
    QTest::newRow("colour of 8 bits") << testphotos::encoded(scene, "png");
    QTest::newRow("grey of 8 bits")
        << testphotos::encoded(scene.convertToFormat(QImage::Format_Grayscale8), "png");
    QTest::newRow("indexed") << testphotos::encoded(scene.convertToFormat(QImage::Format_Indexed8),
                                                    "png");
}

// Whatever is wrong with a file, the decoder refuses what the toolkit refuses, in
// the same words, and finds the same pixels in what it reads.
void tst_PngDecoder::damaged()
{
    QFETCH(QByteArray, photo);
    QRandomGenerator random(1);
    int refused = 0;
    for (int i = 0; i < 300; ++i) {
        QByteArray bad = photo;
        const auto at = static_cast<qsizetype>(8 + random.bounded(int(photo.size()) - 8));
        bad[at] = char(bad[at] ^ (1 << random.bounded(8)));
        DecodedPhoto decoded(bad);
        const QImage actual = decoded.byDecoder();
        if (decoded.reason() == "is truncated")
            continue;
        const QByteArray wrong = difference(actual, decoded.byToolkit());
        QVERIFY2(wrong.isEmpty(), "byte " + QByteArray::number(at) + ": " + wrong);
        if (actual.isNull() && decoded.reason() != "is a damaged PNG") {
            QCOMPARE(decoded.reason(), QByteArray("cannot be decoded: Unable to read image data"));
            ++refused;
        }
    }
    QVERIFY(refused > 200);
}

void tst_PngDecoder::cutShort_data()
{
    damaged_data();
}

void tst_PngDecoder::cutShort()
{
    QFETCH(QByteArray, photo);
    const QImage whole = DecodedPhoto(photo).byToolkit();
    int complete = 0;
    for (qsizetype missing = 1; missing < photo.size() - 64; missing += missing < 30 ? 1 : 211) {
        DecodedPhoto decoded(photo.chopped(missing));
        QVERIFY(decoded.byDecoder().isNull());
        QCOMPARE(decoded.reason(), QByteArray("is truncated"));
        // Allowed: every picture that the toolkit reads, and none that lacks pixels.
        const QImage allowed = decoded.byDecoder(true);
        QVERIFY(!allowed.isNull() || decoded.byToolkit().isNull());
        if (!allowed.isNull()) {
            const QByteArray wrong = difference(allowed, whole);
            QVERIFY2(wrong.isEmpty(), QByteArray::number(missing) + " missing: " + wrong);
            ++complete;
        }
    }
    QVERIFY(complete > 0);
}

// Behind the last row.
void tst_PngDecoder::damagedEnd()
{
    QByteArray photo = png(PNG_COLOR_TYPE_RGB);
    photo.back() = static_cast<char>(~photo.back()); // of the last chunk's checksum
    DecodedPhoto decoded(photo);
    QVERIFY(decoded.byToolkit().isNull());
    QVERIFY(decoded.byDecoder().isNull());
    QCOMPARE(decoded.reason(), QByteArray("cannot be decoded: Unable to read image data"));
    QVERIFY(!decoded.byDecoder(true).isNull());
}

// Some writers note a smaller window than they use.
void tst_PngDecoder::notedWindow()
{
    constexpr int width = 1000;
    constexpr int height = 40;
    QByteArray row(width + 1, '\0'); // behind the number of its filter, none
    QRandomGenerator random(1);
    for (int x = 1; x <= width; ++x)
        row[x] = static_cast<char>(random.bounded(256));
    constexpr qsizetype lengthInFront = 4;
    QByteArray packed = qCompress(row.repeated(height)).mid(lengthInFront);
    QCOMPARE(packed[0], '\x78'); // deflate with a window of 32 kB
    packed[0] = '\x08'; // of 256 bytes
    packed[1] = '\x1d'; // and what makes both together divisible by 31
    constexpr qsizetype headerBytes = 8 + 25;
    DecodedPhoto decoded(pngHeader(width, height, 8, PNG_COLOR_TYPE_GRAY).left(headerBytes)
                         + pngChunk("IDAT", packed) + pngChunk("IEND", ""));
    const QImage rows = decoded.byDecoder();
    QVERIFY2(!rows.isNull(), decoded.reason().constData());
    for (int x = 0; x < width; ++x)
        QCOMPARE(qRed(rows.pixel(x, height - 1)), int(static_cast<uchar>(row[x + 1])));
}

void tst_PngDecoder::memoryNeed()
{
    QBuffer straight;
    straight.setData(png(PNG_COLOR_TYPE_RGB));
    QBuffer interlaced;
    interlaced.setData(png(PNG_COLOR_TYPE_RGB, true));
    QVERIFY(straight.open(QIODevice::ReadOnly) && interlaced.open(QIODevice::ReadOnly));
    const photo::DecodingOptions options {bandRows, false};
    const qint64 bands = photo::PngDecoder(straight, options).memoryNeed();
    QVERIFY(bands >= 53 * 32 * 4);
    QVERIFY(photo::PngDecoder(interlaced, options).memoryNeed() - bands == 53 * 71 * 4);
}

CRAYVELL_TEST_MAIN(tst_PngDecoder)
#include "tst_pngdecoder.moc"
