#include <QBuffer>
#include <QtTest>

#include "photo/decode/truncation.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/pngfile.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

using photo::PhotoFormat;

class tst_Truncation : public QObject
{
    Q_OBJECT

private slots:
    void missingBytes_data();
    void missingBytes();
};

void tst_Truncation::missingBytes_data()
{
    QTest::addColumn<PhotoFormat>("format");
    QTest::addColumn<QByteArray>("photo");
    QTest::addColumn<int>("spare"); // behind the end of the picture
    const QImage scene = testphotos::scene(9, 9);
    QTest::newRow("BMP of padded rows")
        << PhotoFormat::Bmp << testphotos::encoded(scene, "bmp") << 0;
    QTest::newRow("BMP of bits") << PhotoFormat::Bmp
                                 << testphotos::encoded(scene.convertToFormat(QImage::Format_Mono),
                                                        "bmp")
                                 << 0;
    const QByteArray row("\x0a\x55\0\0", 4);
    const QByteArray jump("\0\2\0\x0a", 4);
    QTest::newRow("BMP of run lengths that jumps over its last rows")
        << PhotoFormat::Bmp << hostilephotos::bmp(10, 20, 1, row.repeated(10) + jump, 0) << 0;
    QTest::newRow("PNG") << PhotoFormat::Png << testphotos::encoded(scene, "png") << 0;
    const QByteArray png = testphotos::encoded(scene, "png");
    QTest::newRow("PNG whose last chunk holds something")
        << PhotoFormat::Png << png.chopped(12) + pngChunk("IEND", "rest") << 0;
    QTest::newRow("GIF") << PhotoFormat::Gif << testphotos::gif(scene) << 1;
    QTest::newRow("WebP") << PhotoFormat::WebP << testphotos::encoded(scene, "webp") << 0;
}

// Complete as it is, and without any of its last bytes no more.
void tst_Truncation::missingBytes()
{
    QFETCH(PhotoFormat, format);
    QFETCH(QByteArray, photo);
    QFETCH(int, spare);
    for (int missing = 0; missing < 12; ++missing) {
        QByteArray rest = photo.chopped(missing);
        QBuffer device(&rest);
        QVERIFY(device.open(QIODevice::ReadOnly));
        QVERIFY2(photo::isCutShort(device, format) == (missing > spare),
                 QByteArray::number(missing) + " bytes missing");
        QCOMPARE(device.pos(), 0);
    }
}

CRAYVELL_TEST_MAIN(tst_Truncation)
#include "tst_truncation.moc"
