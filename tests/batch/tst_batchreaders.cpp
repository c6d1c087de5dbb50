#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// Without the toolkit's plug-ins.
class tst_BatchReaders : public QObject
{
    Q_OBJECT

private slots:
    void missingReaderIsNamed_data();
    void missingReaderIsNamed();
    void damagedStaysDamaged();
};

void tst_BatchReaders::missingReaderIsNamed_data()
{
    QTest::addColumn<QByteArray>("photo");
    QTest::addColumn<QByteArray>("told"); // behind the name; empty: it is sketched

    const QImage scene = testphotos::scene(40, 30);
    const QByteArray package = " (in Debian, the package qt6-image-formats-plugins)\n";
    const QByteArray reader = "cannot be decoded: Qt's reader for ";
    // One white pixel: the toolkit writes none.
    const QByteArray gif = QByteArray::fromHex("47494638396101000100800000ffffff000000"
                                               "2c00000000010001000002024401003b");
    QTest::newRow("TIFF") << testphotos::encoded(scene, "tiff")
                          << reader + "TIFF is not installed" + package;
    QTest::newRow("TIFF of greys, for the toolkit's reader alone")
        << testphotos::encoded(scene.convertToFormat(QImage::Format_Grayscale8), "tiff")
        << reader + "TIFF is not installed" + package;
    QTest::newRow("WebP") << testphotos::encoded(scene, "webp")
                          << reader + "WebP is not installed" + package;
    QTest::newRow("GIF") << gif << reader + "GIF is not installed\n";
    QTest::newRow("JPEG") << testphotos::jpeg() << QByteArray();
    QTest::newRow("PNG") << testphotos::encoded(scene, "png") << QByteArray();
    QTest::newRow("BMP, whose reader is built in")
        << testphotos::encoded(scene, "bmp") << QByteArray();
}

void tst_BatchReaders::missingReaderIsNamed()
{
    QFETCH(QByteArray, photo);
    QFETCH(QByteArray, told);
    BatchProcess batch;
    batch.write("photo", photo);
    // The toolkit reads where its plug-ins are from a file beside the program.
    batch.write("bin/qt.conf", "[Paths]\nPlugins = nowhere\n");
    QVERIFY(QFile::copy(BatchProcess::program(), batch.path("bin/crayvell-batch")));
    COMPARE_EXIT(batch.run({"--output-dir", "sound", "photo"}), 0);
    const auto outcome = batch.shell("bin/crayvell-batch --output-dir out photo");
    COMPARE_EXIT(outcome, told.isEmpty() ? 0 : 1);
    QCOMPARE(outcome.errors, told.isEmpty() ? told : "photo: " + told);
    QCOMPARE(batch.exists("out/photo.jpg"), told.isEmpty());
}

// Where the reader is there.
void tst_BatchReaders::damagedStaysDamaged()
{
    BatchProcess batch;
    QByteArray tiff = testphotos::encoded(testphotos::scene(40, 30), "tiff");
    batch.write("photo.tif", tiff.replace(4, 4, QByteArray(4, '\xff')));
    const auto outcome = batch.run({"--allow-truncated", "photo.tif"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.startsWith("photo.tif: ") && !outcome.errors.contains("installed"),
             outcome.errors.constData());
}

CRAYVELL_TEST_MAIN(tst_BatchReaders)
#include "tst_batchreaders.moc"
