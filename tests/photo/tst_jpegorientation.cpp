#include "photo/jpegorientation.h"

#include <QBuffer>
#include <QImageReader>
#include <QLoggingCategory>
#include <QRandomGenerator>

#include "tests/support/jpegfile.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

QImageIOHandler::Transformations byToolkit(QByteArray &file)
{
    QBuffer device(&file);
    device.open(QIODevice::ReadOnly);
    return QImageReader(&device, "jpeg").transformation();
}

// Of a file without a header that makes sense the toolkit says nothing.
bool hasHeader(QByteArray &file)
{
    QBuffer device(&file);
    device.open(QIODevice::ReadOnly);
    return QImageReader(&device, "jpeg").size().isValid();
}

QImageIOHandler::Transformations byUs(QByteArray &file)
{
    QBuffer device(&file);
    device.open(QIODevice::ReadOnly);
    const auto transformation = photo::jpegOrientation(device);
    return device.pos() == 0 ? transformation
                             : QImageIOHandler::Transformations::fromInt(-1); // not put back
}

// A JPEG with these APP1 segments.
QByteArray withSegments(const QList<QByteArray> &contents)
{
    const QByteArray photo = testphotos::jpeg(16, 16);
    QByteArray segments;
    for (const QByteArray &content : contents) {
        QByteArray length(2, '\0');
        qToBigEndian(quint16(content.size() + 2), length.data());
        segments += QByteArray::fromHex("ffe1") + length + content;
    }
    return photo.left(2) + segments + photo.mid(2);
}

QByteArray exif(const char *hex)
{
    return QByteArray("Exif\0\0", 6) + QByteArray::fromHex(hex);
}

} // namespace

class JpegOrientationTest : public QObject
{
    Q_OBJECT

private slots:
    void equalsTheToolkits_data();
    void equalsTheToolkits();
    void equalsTheToolkitsOnDamage();
};

void JpegOrientationTest::equalsTheToolkits_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("transformation");
    using Handler = QImageIOHandler;
    const QImage scene = testphotos::scene(20, 10);
    const QList<int> all = {0,
                            Handler::TransformationNone,
                            Handler::TransformationMirror,
                            Handler::TransformationRotate180,
                            Handler::TransformationFlip,
                            Handler::TransformationFlipAndRotate90,
                            Handler::TransformationRotate90,
                            Handler::TransformationMirrorAndRotate90,
                            Handler::TransformationRotate270};
    for (int tag = 0; tag <= 8; ++tag)
        QTest::addRow("tag %d", tag) << jpegFile(scene, tag) << all[tag];
    const int turned = Handler::TransformationRotate90;
    const char *const big = "4d4d002a00000008000101120003000000010006000000000000";
    QTest::newRow("big endian") << withSegments({exif(big)}) << turned;
    QTest::newRow("little endian")
        << withSegments({exif("49492a0008000000010012010300010000000600000000000000")}) << turned;
    QTest::newRow("in the second directory")
        << withSegments({exif("4d4d002a000000080001011a00030000000100060000"
                              "0000001a000101120003000000010006000000000000")})
        << turned;
    QTest::newRow("the second of two")
        << withSegments({exif("4d4d002a00000008000201120003000000010006000001120003000000010003"
                              "000000000000")})
        << turned;
    QTest::newRow("nine") << withSegments(
        {exif("4d4d002a0000000800010112000300000001000900000000")})
                          << 0;
    QTest::newRow("a long number")
        << withSegments({exif("4d4d002a0000000800010112000400000001000600000000")}) << 0;
    QTest::newRow("two numbers") << withSegments(
        {exif("4d4d002a0000000800010112000300000002000600060000")})
                                 << 0;
    QTest::newRow("behind another segment")
        << withSegments({"http://ns.adobe.com/", exif(big)}) << 0;
    QTest::newRow("before another segment")
        << withSegments({exif(big), "http://ns.adobe.com/"}) << turned;
    QTest::newRow("over two segments")
        << withSegments({exif(big).left(20), exif(big).mid(20)}) << turned;
    QTest::newRow("a directory that leads to itself")
        << withSegments({exif("4d4d002a000000080001011a000300000001000600000000000800000008")})
        << 0;
    QTest::newRow("cut") << withSegments({exif(big).left(24)}) << 0;
    QTest::newRow("empty") << withSegments({QByteArray()}) << 0;
}

void JpegOrientationTest::equalsTheToolkits()
{
    QFETCH(QByteArray, file);
    QFETCH(int, transformation);
    QCOMPARE(byToolkit(file).toInt(), transformation);
    QCOMPARE(byUs(file).toInt(), transformation);
}

// Bytes of the EXIF data and around them changed at random.
void JpegOrientationTest::equalsTheToolkitsOnDamage()
{
    QLoggingCategory::setFilterRules(QStringLiteral("qt.gui.imageio.*=false"));
    QRandomGenerator random(1);
    int turned = 0;
    for (int i = 0; i < 20'000; ++i) {
        QByteArray file = jpegFile(testphotos::scene(8, 8), 1 + i % 8);
        const qsizetype start = file.indexOf("Exif");
        QVERIFY(start > 0);
        for (int change = random.bounded(3); change >= 0; --change)
            file[start - 4 + random.bounded(44)] = char(random.bounded(256));
        const auto expected = byToolkit(file);
        if (!hasHeader(file))
            continue;
        turned += expected != QImageIOHandler::TransformationNone;
        const auto actual = byUs(file);
        QVERIFY2(actual == expected, file.mid(start - 4, 48).toHex(' ').constData());
    }
    QVERIFY2(turned > 2000, QByteArray::number(turned));
}

CRAYVELL_TEST_MAIN(JpegOrientationTest)
#include "tst_jpegorientation.moc"
