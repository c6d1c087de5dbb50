#include <QImageReader>

#include "tests/batch/batchprocess.h"
#include "tests/batch/failingcalls.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

// What a photo's file may do while it is read, and what it may cost.
class tst_BatchReading : public QObject
{
    Q_OBJECT

private slots:
    void aFileThatShrinksFails_data();
    void aFileThatShrinksFails();
    void aReadThatFailsIsNamed_data();
    void aReadThatFailsIsNamed();
    void animationsAreCountedBeforehand();
    void segmentsWithoutEndAreRefused();
    void sharedValuesAreNotRead();
    void pixelsNobodyWroteAreTheSameInEveryRun_data();
    void pixelsNobodyWroteAreTheSameInEveryRun();
    void bmpStoredFromTheTop();
    void bmpOfTheOldestKind_data();
    void bmpOfTheOldestKind();
    void bmpOfRunLengths_data();
    void bmpOfRunLengths();
};

namespace {

QByteArray largePhoto(const QByteArray &format)
{
    const QImage scene = testphotos::scene(500, 400);
    if (format == "tiled tiff") // through the toolkit's reader
        return testphotos::encoded(scene.convertToFormat(QImage::Format_Grayscale8), "tiff");
    return testphotos::encoded(scene, format.constData(), {}, 100);
}

void addFormats()
{
    QTest::addColumn<QByteArray>("format");
    for (const char *format : {"bmp", "jpeg", "png", "ppm", "tiff", "tiled tiff", "webp"})
        QTest::newRow(format) << QByteArray(format);
}

} // namespace

void tst_BatchReading::aFileThatShrinksFails_data()
{
    addFormats();
}

void tst_BatchReading::aFileThatShrinksFails()
{
    QFETCH(QByteArray, format);
    const QByteArray photo = largePhoto(format);
    QVERIFY2(photo.size() > 100'000, QByteArray::number(photo.size()));
    // At the first read, at the second and so on, as far as there are so many.
    for (int read = 1; read <= 4; ++read) {
        BatchProcess batch;
        batch.write("photo", photo);
        const auto outcome = batch.run(
            {"photo"}, {},
            runningAt(QStringLiteral("read=%1").arg(read), "truncate -s 110000 photo; touch cut"));
        if (!batch.exists("cut")) {
            QVERIFY(read > 1);
            break;
        }
        COMPARE_EXIT(outcome, 1);
        QVERIFY(!batch.exists("photo-sketch.jpg"));
    }
}

void tst_BatchReading::aReadThatFailsIsNamed_data()
{
    addFormats();
}

void tst_BatchReading::aReadThatFailsIsNamed()
{
    QFETCH(QByteArray, format);
    BatchProcess batch;
    batch.write("photo", largePhoto(format));
    const auto outcome =
        batch.run({"--allow-truncated", "photo"}, {}, failingCalls(QStringLiteral("read=2")));
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("Input/output error"), outcome.errors.constData());
    QVERIFY(!batch.exists("photo-sketch.jpg"));
}

void tst_BatchReading::animationsAreCountedBeforehand()
{
    if (process::isSanitized())
        QSKIP("the sanitizer takes more address space than the limit");
    BatchProcess batch;
    const QByteArray photo = hostilephotos::animatedWebP(16383, 16383);
    QVERIFY2(photo.size() < 200, QByteArray::number(photo.size()));
    batch.write("photo", photo);
    // What the reader must not take: its address space has no room for it.
    const auto outcome = batch.shell("ulimit -v 1000000; \"$batch\" -j 1 --max-memory 300M photo");
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("16383 x 16383 pixels and needs 30"),
             outcome.errors.constData());
}

void tst_BatchReading::segmentsWithoutEndAreRefused()
{
    BatchProcess batch;
    batch.write("photo", hostilephotos::jpegWithSegments(100'000));
    const qint64 begin = process::childrensProcessorTime();
    const auto outcome = batch.run({"photo"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("more than 5000 segments"), outcome.errors.constData());
    const qint64 taken = process::childrensProcessorTime() - begin;
    QVERIFY2(taken < 5000, qPrintable(QString::number(taken)));
    batch.write("many", hostilephotos::jpegWithSegments(4'000, 100'000));
    COMPARE_EXIT(batch.run({"many"}), 0);
}

void tst_BatchReading::sharedValuesAreNotRead()
{
    if (process::isSanitized())
        QSKIP("the sanitizer takes more address space than the limit");
    BatchProcess batch;
    batch.write("many", hostilephotos::tiffWithSharedValues(1000, false));
    batch.write("big", hostilephotos::tiffWithSharedValues(1000, true));
    // What the files hold once is less than this, what their tags say far more.
    COMPARE_EXIT(batch.shell("ulimit -v 1000000; \"$batch\" -j 1 many big"), 0);
    QVERIFY(batch.exists("many-sketch.jpg"));
    QVERIFY(batch.exists("big-sketch.jpg"));
}

void tst_BatchReading::pixelsNobodyWroteAreTheSameInEveryRun_data()
{
    QTest::addColumn<QByteArray>("photo");
    QTest::addColumn<int>("exitCode"); // not all readers give what there is of a photo
    QTest::newRow("bmp that skips pixels") << hostilephotos::bmpWithSkippedPixels(600, 400) << 0;
    QByteArray tiff = largePhoto("tiled tiff");
    QTest::newRow("cut tiff") << tiff.left(tiff.size() / 2) << 1;
    const QByteArray rgb = largePhoto("tiff");
    QTest::newRow("cut tiff of three colours") << rgb.left(rgb.size() / 2) << 1;
    const QByteArray bmp = largePhoto("bmp");
    QTest::newRow("cut bmp") << bmp.left(bmp.size() / 2) << 0;
    const QByteArray gif = testphotos::gif(testphotos::scene(500, 400));
    QTest::newRow("cut gif") << gif.left(gif.size() / 2) << 0;
    const QByteArray webP = largePhoto("webp");
    QTest::newRow("cut webp") << webP.left(webP.size() / 2) << 1;
}

void tst_BatchReading::pixelsNobodyWroteAreTheSameInEveryRun()
{
    QFETCH(QByteArray, photo);
    BatchProcess batch;
    batch.write("photo", photo);
    QList<QByteArray> sketches;
    QList<int> exits;
    // What the allocator fills fresh memory with.
    for (const char *filling : {"MALLOC_PERTURB_=85", "MALLOC_PERTURB_=17"}) {
        exits << batch.run({"--allow-truncated", "--overwrite", "photo"}, {}, {filling}).exitCode;
        sketches << batch.contents("photo-sketch.jpg");
    }
    QFETCH(int, exitCode);
    QCOMPARE(exits, QList<int>({exitCode, exitCode}));
    QCOMPARE(sketches[0].isEmpty(), exitCode != 0);
    if (process::isSanitized())
        QSKIP("the address sanitizer has its own filling of fresh memory");
    QVERIFY(sketches[0] == sketches[1]);
}

// Of the bottom one the rows are taken in the other order.
void tst_BatchReading::bmpStoredFromTheTop()
{
    BatchProcess batch;
    const QByteArray rows = testphotos::encoded(testphotos::scene(64, 50), "bmp").right(64 * 50);
    QByteArray reversed;
    for (int y = 49; y >= 0; --y)
        reversed += rows.mid(y * 64, 64);
    batch.write("bottom.bmp", hostilephotos::bmp(64, 50, 0, rows, 64 * 50));
    batch.write("top.bmp", hostilephotos::bmp(64, -50, 0, reversed, 64 * 50));
    COMPARE_EXIT(batch.run({"bottom.bmp", "top.bmp"}), 0);
    QCOMPARE(batch.contents("top-sketch.jpg"), batch.contents("bottom-sketch.jpg"));
    batch.write("cut.bmp", batch.contents("top.bmp").chopped(1));
    const auto outcome = batch.run({"cut.bmp"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("is truncated"), outcome.errors.constData());
}

void tst_BatchReading::bmpOfTheOldestKind_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("one pixel") << 1 << 1;
    QTest::newRow("two rows") << 1 << 2;
    QTest::newRow("three rows") << 1 << 3;
    QTest::newRow("wide") << 40 << 3;
}

// Its header and its smallest picture have less bytes than the header of any newer one.
void tst_BatchReading::bmpOfTheOldestKind()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QByteArray file;
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    QDataStream stream(&buffer);
    stream.setByteOrder(QDataStream::LittleEndian);
    const qsizetype rowBytes = (3 * width + 3) / 4 * 4;
    const auto bytes = quint32(26 + rowBytes * height);
    stream.writeRawData("BM", 2);
    stream << bytes << 0U << 26U << 12U << quint16(width) << quint16(height) << quint16(1)
           << quint16(24);
    buffer.write(QByteArray(rowBytes * height, '\x40'));
    BatchProcess batch;
    batch.write("whole.bmp", file);
    batch.write("cut.bmp", file.chopped(1));
    COMPARE_EXIT(batch.run({"whole.bmp"}), 0);
    const auto outcome = batch.run({"cut.bmp"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, "cut.bmp: is truncated\n");
    batch.write("head.bmp", file.left(25));
    COMPARE_EXIT(batch.run({"head.bmp"}), 1);
}

void tst_BatchReading::bmpOfRunLengths_data()
{
    QTest::addColumn<QByteArray>("photo");
    QTest::addColumn<bool>("isComplete");
    const QByteArray row("\4\200\3\10\0\3abc\0\0\0", 12); // runs, and three as they are
    const QByteArray end("\0\1", 2);
    const QByteArray all = row.repeated(20) + end;
    QTest::newRow("complete") << hostilephotos::bmp(10, 20, 1, all, quint32(all.size())) << true;
    QTest::newRow("complete, without a size") << hostilephotos::bmp(10, 20, 1, all, 0) << true;
    QTest::newRow("complete, with the size of the pixels")
        << hostilephotos::bmp(10, 20, 1, all, 10 * 20 * 4) << true;
    QTest::newRow("without its end mark")
        << hostilephotos::bmp(10, 20, 1, row.repeated(20), 0) << true;
    QTest::newRow("cut within a run")
        << hostilephotos::bmp(10, 20, 1, row.repeated(10) + row.left(7), 0) << false;
    QTest::newRow("cut between rows, the size promised")
        << hostilephotos::bmp(10, 20, 1, row.repeated(10), quint32(all.size())) << false;
    QTest::newRow("an end mark in the middle")
        << hostilephotos::bmp(10, 20, 1, row.repeated(10) + end, 0) << true;
}

void tst_BatchReading::bmpOfRunLengths()
{
    QFETCH(QByteArray, photo);
    QFETCH(bool, isComplete);
    BatchProcess batch;
    batch.write("photo", photo);
    const auto outcome = batch.run({"photo"});
    COMPARE_EXIT(outcome, isComplete ? 0 : 1);
    if (!isComplete)
        QVERIFY2(outcome.errors.contains("is truncated"), outcome.errors.constData());
}

CRAYVELL_TEST_MAIN(tst_BatchReading)
#include "tst_batchreading.moc"
