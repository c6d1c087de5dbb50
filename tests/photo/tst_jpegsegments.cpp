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
    QTest::addColumn<int>("later");
    const QByteArray start = QByteArray::fromHex("ffd8");
    const QByteArray comment = QByteArray::fromHex("fffe0004") + "ab";
    const QByteArray scan = QByteArray::fromHex("ffda0008010100003f00");
    const QByteArray end = QByteArray::fromHex("ffd9");
    const auto whole = JpegReach::WholeFile;
    QTest::newRow("nothing") << QByteArray() << whole << 0 << 0 << 0;
    QTest::newRow("two comments") << start + comment + comment + end << whole << 2 << 0 << 0;
    QTest::newRow("padding before a marker")
        << start + comment + QByteArray::fromHex("ffffff") + comment + end << whole << 2 << 0 << 0;
    QTest::newRow("a scan with stuffing and restarts")
        << start + scan + "xyz" + QByteArray::fromHex("ff00ff00ffd0ffd1") + "z" + end << whole << 1
        << 1 << 0;
    QTest::newRow("two scans") << start + scan + "xy" + scan + "z" + comment + end << whole << 1
                               << 2 << 1;
    QTest::newRow("two scans, up to the first")
        << start + comment + scan + "xy" + scan + comment + end << JpegReach::FirstScan << 2 << 1
        << 0;
    QTest::newRow("what looks like a scan within a comment before them")
        << start + QByteArray::fromHex("fffe000c") + scan + end << whole << 1 << 0 << 0;
    // A decoder that looks for a restart may go on within it.
    QTest::newRow("what looks like a scan within a segment behind the first")
        << start + scan + "x" + QByteArray::fromHex("ff020016") + scan + scan + end << whole << 1
        << 3 << 0;
    QTest::newRow("a scan behind the end") << start + scan + end + scan << whole << 1 << 2 << 0;
    QTest::newRow("what no decoder takes for a scan")
        << start + scan + QByteArray::fromHex("ffda0008020100003f00ffda000401ff") + end << whole
        << 1 << 1 << 0;
    QTest::newRow("behind the end") << start + end + comment << whole << 0 << 0 << 0;
    QTest::newRow("a cut length") << start + QByteArray::fromHex("fffe00") << whole << 1 << 0 << 0;
    QTest::newRow("a content longer than the file")
        << start + QByteArray::fromHex("fffeffff") + "abc" << whole << 1 << 0 << 0;
    QTest::newRow("more content than is read at a time") << start + QByteArray::fromHex("fffefff0")
            + QByteArray(0xfff0 - 2, '\xff') + comment + scan + QByteArray(200'000, 'p') + comment
            + end << whole << 3 << 1 << 1;
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
    QTEST(found.later, "later");
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
