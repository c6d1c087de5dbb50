#include "photo/jpegsegments.h"

#include <QBuffer>

#include "tests/support/hostilephotos.h"
#include "tests/support/testmain.h"

using photo::JpegReach;

class JpegSegmentsTest : public QObject
{
    Q_OBJECT

private slots:
    void counts_data();
    void counts();
    void countingEndsBeyondTheBounds();
};

void JpegSegmentsTest::counts_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<JpegReach>("reach");
    QTest::addColumn<int>("segments");
    QTest::addColumn<int>("scans");
    // Two of the toolkit's own, two tables of quantisation, the frame, four tables of
    // codes in one or more segments, and the scan.
    const QByteArray start = QByteArray::fromHex("ffd8");
    const QByteArray comment = QByteArray::fromHex("fffe0004") + "ab";
    const QByteArray scan = QByteArray::fromHex("ffda000401ff");
    const QByteArray end = QByteArray::fromHex("ffd9");
    const auto whole = JpegReach::WholeFile;
    QTest::newRow("nothing") << QByteArray() << whole << 0 << 0;
    QTest::newRow("two comments") << start + comment + comment + end << whole << 2 << 0;
    QTest::newRow("padding before a marker")
        << start + comment + QByteArray::fromHex("ffffff") + comment + end << whole << 2 << 0;
    QTest::newRow("a scan with stuffing and restarts")
        << start + scan + "xyz" + QByteArray::fromHex("ff00ff00ffd0ffd1") + "z" + end << whole << 1
        << 1;
    QTest::newRow("two scans") << start + scan + "xy" + scan + "z" + comment + end << whole << 3
                               << 2;
    QTest::newRow("two scans, up to the first")
        << start + comment + scan + "xy" + scan + comment + end << JpegReach::FirstScan << 2 << 1;
    QTest::newRow("what looks like a marker within a comment")
        << start + QByteArray::fromHex("fffe0006ffdaffda") + end << whole << 1 << 0;
    QTest::newRow("behind the end") << start + end + comment << whole << 0 << 0;
    QTest::newRow("a cut length") << start + QByteArray::fromHex("fffe00") << whole << 1 << 0;
    QTest::newRow("a content longer than the file")
        << start + QByteArray::fromHex("fffeffff") + "abc" << whole << 1 << 0;
    QTest::newRow("more content than is read at a time") << start + QByteArray::fromHex("fffefff0")
            + QByteArray(0xfff0 - 2, '\xff') + comment + scan + QByteArray(200'000, 'p') + comment
            + end << whole << 4 << 1;
}

void JpegSegmentsTest::counts()
{
    QFETCH(QByteArray, file);
    QFETCH(JpegReach, reach);
    QBuffer device(&file);
    QVERIFY(device.open(QIODevice::ReadOnly));
    const photo::JpegSegments found = photo::countJpegSegments(device, reach);
    QTEST(found.segments, "segments");
    QTEST(found.scans, "scans");
    QCOMPARE(device.pos(), 0);
}

void JpegSegmentsTest::countingEndsBeyondTheBounds()
{
    QByteArray file = hostilephotos::jpegWithSegments(photo::mostJpegSegments + 1000);
    QBuffer device(&file);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QCOMPARE(photo::countJpegSegments(device, JpegReach::FirstScan).segments,
             photo::mostJpegSegments + 1);
}

CRAYVELL_TEST_MAIN(JpegSegmentsTest)
#include "tst_jpegsegments.moc"
