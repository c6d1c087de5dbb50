#include <QBuffer>
#include <QtEndian>
#include <QtTest>

#include <span>

#include "photo/exifdirectories.h"
#include "photo/exifpng.h"
#include "photo/makernote.h"
#include "tests/support/testmain.h"

// What keeps EXIF data from taking more than they are.
class tst_ExifBounds : public QObject
{
    Q_OBJECT

private slots:
    void blocksHaveALimit();
    void notePointsWithinItsEntry();
};

void tst_ExifBounds::blocksHaveALimit()
{
    QByteArray bytes(200, 'x');
    QBuffer device(&bytes);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QCOMPARE(photo::readBlock(device, 50, 50).size(), std::size_t(50));
    QVERIFY_EXCEPTION_THROWN(photo::readBlock(device, 51, 50), photo::ExifError);
    QVERIFY_EXCEPTION_THROWN(photo::readBlock(device, 151, 1000), photo::ExifError);
}

// The one value of four bytes is where another directory lies, whose values are one heap.
void tst_ExifBounds::notePointsWithinItsEntry()
{
    const auto little = [](auto number) {
        QByteArray bytes(sizeof number, '\0');
        qToLittleEndian(number, bytes.data());
        return bytes;
    };
    constexpr quint32 heapEntries = 200;
    constexpr quint32 heapAt = 64;
    QByteArray bytes = little(quint16(1)) + little(quint16(0xc000)) + little(quint16(4))
        + little(quint32(1)) + little(heapAt);
    bytes.resize(heapAt, '\0');
    bytes += little(quint16(heapEntries));
    for (quint32 i = 0; i < heapEntries; ++i)
        bytes += little(quint16(0xc000 + i)) + little(quint16(7)) + little(quint32(5000))
            + little(quint32(4));
    bytes.resize(10'000, '\0');
    const std::span block(reinterpret_cast<const unsigned char *>(bytes.constData()), 10'000);
    QVERIFY(!photo::isCheapMakerNote(block, 0, 60));
    // Without the way there it is cheap.
    bytes[10] = '\0';
    QVERIFY(photo::isCheapMakerNote(block, 0, 60));
}

CRAYVELL_TEST_MAIN(tst_ExifBounds)
#include "tst_exifbounds.moc"
