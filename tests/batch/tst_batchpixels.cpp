#include <QImageReader>

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>
#include <memory>

#include "photo/photofile.h"
#include "sketch/edgebuffer.h"
#include "sketch/levels.h"
#include "tests/batch/batchprocess.h"
#include "tests/support/picturedifference.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

// What the window shows and saves for a photo.
QImage windowSketch(const QString &photoFile, int black, int white)
{
    const QImage photo = photo::readPhoto(photoFile).image;
    const auto edges =
        std::make_unique<unsigned char[]>(std::size_t(photo.width()) * photo.height());
    inverterodesketch(photo, edges.get(), {});
    QImage sketch = photo;
    updatePenLevels(sketch, edges.get(), black, white);
    return sketch;
}

// Kinds of JPEG that the toolkit does not write.
struct JpegKind
{
    J_COLOR_SPACE input;
    int channels;
    int horizontal; // sampling of the first channel
    int vertical;
    bool progressive;
    int restart; // rows of blocks between restart markers
};

QByteArray jpegOf(const JpegKind &kind, int width, int height)
{
    jpeg_compress_struct jpeg {};
    jpeg_error_mgr errors {};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char *bytes = nullptr;
    unsigned long count = 0;
    jpeg_mem_dest(&jpeg, &bytes, &count);
    jpeg.image_width = width;
    jpeg.image_height = height;
    jpeg.input_components = kind.channels;
    jpeg.in_color_space = kind.input;
    jpeg_set_defaults(&jpeg);
    jpeg.comp_info[0].h_samp_factor = kind.horizontal;
    jpeg.comp_info[0].v_samp_factor = kind.vertical;
    jpeg.restart_in_rows = kind.restart;
    if (kind.progressive)
        jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    const QImage scene = testphotos::scene(width, height);
    QByteArray row(width * kind.channels, '\0');
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < row.size(); ++i)
            row[i] = char(scene.constScanLine(y)[i / kind.channels * 4 + i % kind.channels]);
        auto *line = reinterpret_cast<JSAMPROW>(row.data());
        jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    const QByteArray file(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(count));
    free(bytes);
    return file;
}

} // namespace

class tst_BatchPixels : public QObject
{
    Q_OBJECT

private slots:
    void everyFormat_data();
    void everyFormat();
    void everyJpeg_data();
    void everyJpeg();
    void everyOrientation_data();
    void everyOrientation();
    void everySize_data();
    void everySize();
    void levels_data();
    void levels();
    void sketchHasOneChannel();
    void jpegIsTheSketchAtItsQuality();

private:
    void compareWithWindow(const QByteArray &photo, int black = 0, int white = 255);
};

void tst_BatchPixels::compareWithWindow(const QByteArray &photo, int black, int white)
{
    BatchProcess batch;
    batch.write("photo", photo);
    const QImage expected = windowSketch(batch.path("photo"), black, white);
    QVERIFY2(!expected.isNull(), "the window cannot read this photo");
    const auto outcome = batch.run({"--black", QString::number(black), "--white",
                                    QString::number(white), "-o", "sketch.png", "photo"});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    const QByteArray wrong = difference(QImage(batch.path("sketch.png")), expected);
    QVERIFY2(wrong.isEmpty(), wrong.constData());
}

void tst_BatchPixels::everyFormat_data()
{
    QTest::addColumn<QByteArray>("photo");

    const QImage scene = testphotos::scene(101, 83);
    QImage translucent = scene.convertToFormat(QImage::Format_ARGB32);
    for (int x = 0; x < translucent.width(); ++x)
        translucent.setPixel(x, 40, qRgba(10, 200, 30, x * 2));
    for (const char *format : {"jpeg", "png", "tiff", "webp", "bmp", "ppm", "pgm"}) {
        QTest::addRow("%s", format) << testphotos::encoded(scene, format);
        QTest::addRow("%s, grey", format)
            << testphotos::encoded(scene.convertToFormat(QImage::Format_Grayscale8), format);
    }
    for (const char *format : {"png", "tiff", "webp"})
        QTest::addRow("%s, translucent", format) << testphotos::encoded(translucent, format);
    for (const char *format : {"png", "tiff"}) {
        QTest::addRow("%s, 16 bits", format)
            << testphotos::encoded(translucent.convertToFormat(QImage::Format_RGBA64), format);
        QTest::addRow("%s, grey of 16 bits", format)
            << testphotos::encoded(scene.convertToFormat(QImage::Format_Grayscale16), format);
        QTest::addRow("%s, premultiplied", format) << testphotos::encoded(
            translucent.convertToFormat(QImage::Format_ARGB32_Premultiplied), format);
    }
    for (const char *format : {"png", "bmp", "tiff"}) {
        QTest::addRow("%s, indexed", format)
            << testphotos::encoded(scene.convertToFormat(QImage::Format_Indexed8), format);
        QTest::addRow("%s, black and white", format)
            << testphotos::encoded(scene.convertToFormat(QImage::Format_Mono), format);
    }
    QTest::newRow("gif") << testphotos::gif(scene);
}

void tst_BatchPixels::everyFormat()
{
    QFETCH(QByteArray, photo);
    QVERIFY2(!photo.isEmpty(), "the photo could not be made");
    compareWithWindow(photo);
}

void tst_BatchPixels::everyJpeg_data()
{
    QTest::addColumn<QByteArray>("photo");

    const struct
    {
        const char *name;
        JpegKind kind;
    } kinds[] = {
        {"full colour", {JCS_EXT_BGRX, 4, 1, 1, false, 0}},
        {"colours halved across", {JCS_EXT_BGRX, 4, 2, 1, false, 0}},
        {"colours halved down", {JCS_EXT_BGRX, 4, 1, 2, false, 0}},
        {"colours halved both ways", {JCS_EXT_BGRX, 4, 2, 2, false, 0}},
        {"colours quartered across", {JCS_EXT_BGRX, 4, 4, 1, false, 0}},
        {"progressive", {JCS_EXT_BGRX, 4, 2, 2, true, 0}},
        {"progressive, full colour", {JCS_EXT_BGRX, 4, 1, 1, true, 0}},
        {"restart markers", {JCS_EXT_BGRX, 4, 2, 2, false, 1}},
        {"grey", {JCS_GRAYSCALE, 1, 1, 1, false, 0}},
        {"grey, progressive", {JCS_GRAYSCALE, 1, 1, 1, true, 0}},
        {"four inks", {JCS_CMYK, 4, 1, 1, false, 0}},
    };
    for (const auto &kind : kinds) {
        QTest::addRow("%s", kind.name) << jpegOf(kind.kind, 131, 117);
        // Fancy upsampling looks across the bands' borders.
        QTest::addRow("%s, high", kind.name) << jpegOf(kind.kind, 37, 301);
    }
}

void tst_BatchPixels::everyJpeg()
{
    QFETCH(QByteArray, photo);
    compareWithWindow(photo);
}

void tst_BatchPixels::everyOrientation_data()
{
    QTest::addColumn<QByteArray>("photo");

    const QImage scene = testphotos::scene(90, 61);
    const char *const names[] = {"upright",
                                 "mirrored",
                                 "flipped",
                                 "turned round",
                                 "turned",
                                 "mirrored and turned",
                                 "flipped and turned",
                                 "turned back"};
    for (int i = 0; i < 8; ++i) {
        const auto turn = QImageIOHandler::Transformations(i);
        for (const char *format : {"jpeg", "tiff"})
            QTest::addRow("%s, %s", format, names[i]) << testphotos::encoded(scene, format, turn);
    }
}

void tst_BatchPixels::everyOrientation()
{
    QFETCH(QByteArray, photo);
    compareWithWindow(photo);
}

void tst_BatchPixels::everySize_data()
{
    QTest::addColumn<QSize>("size");

    for (const QSize size :
         {QSize(1, 1), QSize(4, 40), QSize(5, 5), QSize(6, 4), QSize(5, 100), QSize(100, 5),
          QSize(33, 31), QSize(33, 32), QSize(33, 33), QSize(33, 59), QSize(33, 60), QSize(33, 61),
          QSize(33, 88), QSize(33, 89), QSize(2000, 7)})
        QTest::addRow("%d x %d", size.width(), size.height()) << size;
}

void tst_BatchPixels::everySize()
{
    QFETCH(QSize, size);
    const QImage scene = testphotos::scene(size.width(), size.height());
    compareWithWindow(testphotos::encoded(scene, "jpeg"));
    compareWithWindow(testphotos::encoded(scene, "png"));
}

void tst_BatchPixels::levels_data()
{
    QTest::addColumn<int>("black");
    QTest::addColumn<int>("white");

    QTest::newRow("wide open") << 0 << 255;
    QTest::newRow("narrow") << 100 << 200;
    QTest::newRow("equal") << 128 << 128;
    QTest::newRow("crossed") << 200 << 100;
    QTest::newRow("all black") << 255 << 255;
    QTest::newRow("all white") << 0 << 0;
}

void tst_BatchPixels::levels()
{
    QFETCH(int, black);
    QFETCH(int, white);
    compareWithWindow(testphotos::jpeg(120, 90), black, white);
}

void tst_BatchPixels::sketchHasOneChannel()
{
    BatchProcess batch;
    batch.write("photo.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"photo.jpg"}), 0);
    COMPARE_EXIT(batch.run({"--format", "png", "photo.jpg"}), 0);
    QCOMPARE(QImage(batch.path("photo-sketch.jpg")).format(), QImage::Format_Grayscale8);
    QCOMPARE(QImage(batch.path("photo-sketch.png")).format(), QImage::Format_Grayscale8);
}

void tst_BatchPixels::jpegIsTheSketchAtItsQuality()
{
    BatchProcess batch;
    batch.write("photo.jpg", testphotos::jpeg(200, 150));
    COMPARE_EXIT(batch.run({"-o", "fine.jpg", "photo.jpg"}), 0);
    COMPARE_EXIT(batch.run({"-o", "coarse.jpg", "--quality", "20", "photo.jpg"}), 0);
    const QImage expected = windowSketch(batch.path("photo.jpg"), 0, 255);
    const QImage fine(batch.path("fine.jpg"));
    QCOMPARE(fine.size(), expected.size());
    int worst = 0;
    for (int y = 0; y < fine.height(); ++y) {
        for (int x = 0; x < fine.width(); ++x)
            worst = qMax(worst, qAbs(qGreen(fine.pixel(x, y)) - qGreen(expected.pixel(x, y))));
    }
    QVERIFY2(worst <= 2, QByteArray::number(worst).constData());
    QVERIFY(batch.contents("coarse.jpg").size() * 2 < batch.contents("fine.jpg").size());
}

CRAYVELL_TEST_MAIN(tst_BatchPixels)
#include "tst_batchpixels.moc"
