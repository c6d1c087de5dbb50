#include <QElapsedTimer>
#include <QtEndian>

#include "tests/batch/failingcalls.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/pngfile.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

class tst_BatchLimits : public QObject
{
    Q_OBJECT

private slots:
    void bombs_data();
    void bombs();
    void maximumMemoryIsNamed();
    void maximumMemoryOfItself();
    void maximumMemoryOfLosslessWebP();
    void maximumMemoryOfStandardInput();
    void tooManyScans();
    void tooLargeForJpeg();
    void littleMemoryForManyJobs();
};

void tst_BatchLimits::bombs_data()
{
    QTest::addColumn<QByteArray>("photo");
    QTest::addColumn<QByteArray>("reason");

    const QByteArray tooLarge("more than the");

    const auto patched = [](QByteArray file, qsizetype at, const QByteArray &bytes) {
        return file.replace(at, bytes.size(), bytes);
    };
    const QByteArray jpeg = testphotos::jpeg();
    const qsizetype frame = jpeg.indexOf("\xff\xc0");
    // Of these no more than a band of rows is in memory on one thread: what fails is
    // their data.
    QTest::newRow("jpeg") << patched(jpeg, frame + 5, "\xff\xdc\xff\xdc")
                          << QByteArray("is damaged");
    QTest::newRow("bmp") << patched(testphotos::encoded(testphotos::scene(9, 9), "bmp"), 18,
                                    QByteArray("\0\0\7\0\0\0\7\0", 8))
                         << QByteArray("is truncated");
    QTest::newRow("ppm") << QByteArray("P6\n500000 500000\n255\n")
                         << QByteArray("is a damaged PPM");
    QTest::newRow("gif") << patched(testphotos::gif(testphotos::scene(9, 9)), 6, "\xff\xff\xff\xff")
                         << tooLarge;
    const QImage deep = testphotos::scene(9, 9).convertToFormat(QImage::Format_RGBX64);
    // 100,000 x 100,000 pixels, with the right checksum.
    QTest::newRow("png of 16 bits") << patched(testphotos::encoded(deep, "png"), 16,
                                               QByteArray::fromHex("000186a0000186a01002000000"
                                                                   "77a040dc"))
                                    << QByteArray("cannot be decoded");
    QTest::newRow("png with texts") << pngWithTexts(60) << tooLarge;
    QByteArray tiff = testphotos::encoded(deep, "tiff");
    for (const char *side : {"\0\1", "\1\1"}) {
        const qsizetype entry =
            tiff.indexOf(QByteArray(side, 2), qFromLittleEndian<quint32>(tiff.data() + 4));
        tiff =
            patched(tiff, entry, QByteArray(side, 2) + QByteArray::fromHex("040001000000a0860100"));
    }
    QTest::newRow("tiff of 16 bits") << tiff << tooLarge;
    QTest::newRow("tiff of 2^58 pixels")
        << hostilephotos::tiffOfSize(1U << 29, 1U << 29)
        << QByteArray(
               "is 536870912 x 536870912 pixels and needs over 68719476737 MB, more than the");
}

void tst_BatchLimits::bombs()
{
    QFETCH(QByteArray, photo);
    QFETCH(QByteArray, reason);
    BatchProcess batch;
    batch.write("photo", photo);
    QElapsedTimer clock;
    clock.start();
    const auto outcome = batch.run({"-j", "1", "--max-memory", "50M", "--format", "png", "photo"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors.count('\n'), 1);
    QVERIFY2(outcome.errors.contains(reason), outcome.errors.constData());
    QVERIFY(clock.elapsed() < 20000);
    QCOMPARE(batch.files(), QStringList {"photo"});
}

void tst_BatchLimits::maximumMemoryIsNamed()
{
    BatchProcess batch;
    batch.write("a.bmp", testphotos::encoded(testphotos::scene(800, 600), "bmp"));
    const auto outcome = batch.run({"--max-memory", "1M", "a.bmp"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.startsWith("a.bmp: is 800 x 600 pixels and needs "),
             outcome.errors.constData());
    QVERIFY(outcome.errors.contains("more than the 1 MB that --max-memory allows"));
    COMPARE_EXIT(batch.run({"--max-memory", "100M", "a.bmp"}), 0);
}

// Half of what is available. Other programs take and give memory meanwhile.
void tst_BatchLimits::maximumMemoryOfItself()
{
    const auto available = [] {
        QFile table("/proc/meminfo");
        const bool isOpen = table.open(QIODevice::ReadOnly);
        const QByteArray rest =
            isOpen ? table.readAll().split(':').value(3).trimmed() : QByteArray();
        return rest.left(rest.indexOf(' ')).toLongLong() / 1024;
    };
    BatchProcess batch;
    batch.write("a.tif", hostilephotos::tiffOfSize(1U << 29, 1U << 29));
    const qint64 before = available();
    const auto outcome = batch.run({"a.tif"});
    const qint64 most = std::max(before, available());
    COMPARE_EXIT(outcome, 1);
    const qsizetype at = outcome.errors.indexOf("more than the ") + 14;
    const qint64 allowed =
        outcome.errors.mid(at, outcome.errors.indexOf(" MB that") - at).toLongLong();
    QVERIFY2(allowed > 0 && allowed < most * 3 / 4, outcome.errors + QByteArray::number(most));
}

// Decoding a lossless WebP takes two pictures of 32 bits and the file.
void tst_BatchLimits::maximumMemoryOfLosslessWebP()
{
    BatchProcess batch;
    const QImage scene = testphotos::scene(1000, 700);
    batch.write("lossy", testphotos::encoded(scene, "webp", {}, 90));
    batch.write("lossless", testphotos::encoded(scene, "webp", {}, 100));
    QCOMPARE(batch.contents("lossless").mid(12, 4), QByteArray("VP8L"));
    const auto outcome =
        batch.run({"--max-memory", "5M", "--output-dir", "o", "lossy", "lossless"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.startsWith("lossless: is 1000 x 700 pixels and needs "),
             outcome.errors.constData());
    QCOMPARE(outcome.errors.count('\n'), 1);
}

void tst_BatchLimits::maximumMemoryOfStandardInput()
{
    BatchProcess batch;
    const auto outcome = batch.shell("head -c 3000000 /dev/zero | \"$batch\" --max-memory 1M -");
    COMPARE_EXIT(outcome, 1);
    QVERIFY(outcome.errors.contains("1 MB that --max-memory allows"));
}

void tst_BatchLimits::tooManyScans()
{
    const QByteArray photo = testphotos::progressiveJpeg(testphotos::scene(120, 100));
    // The last scan, of one coefficient's last bit, over and over again.
    const qsizetype last = photo.lastIndexOf("\xff\xda");
    QVERIFY(last > 0);
    const QByteArray scan = photo.mid(last).chopped(2);
    BatchProcess batch;
    batch.write("photo", photo.left(last) + scan.repeated(1000) + "\xff\xd9");
    const auto outcome = batch.run({"--allow-truncated", "photo"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("more than 500 scans"), outcome.errors.constData());
}

void tst_BatchLimits::tooLargeForJpeg()
{
    BatchProcess batch;
    batch.write("a.png", testphotos::encoded(testphotos::scene(65501, 8), "png"));
    const auto outcome = batch.run({"a.png"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("65500"), outcome.errors.constData());
    COMPARE_EXIT(batch.run({"--format", "png", "a.png"}), 0);
}

// The first that comes to its end stays there until every other thread waits: in the gate, or
// because it has found no more to do.
void tst_BatchLimits::littleMemoryForManyJobs()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
    BatchProcess batch;
    for (int i = 0; i < 8; ++i) {
        batch.write(QStringLiteral("p/%1.png").arg(i),
                    testphotos::encoded(testphotos::scene(400, 300, i), "png"));
    }
    const auto run = [&](const char *memory, const QStringList &setting) {
        return batch.run({"-j", "8", "--fsync", "--max-memory", memory, "--output-dir", "out", "p"},
                         {}, setting);
    };
    // There is room for one at a time.
    const auto tooLittle = run("400K", {});
    COMPARE_EXIT(tooLittle, 1);
    QCOMPARE(tooLittle.errors.count("that --max-memory allows"), 8);
    QCOMPARE(batch.files().size(), 8);
    const auto outcome =
        run("700K",
            failingCalls("unnamed")
                + runningAt("fsync",
                            "while cat /proc/$PPID/task/*/stat 2>/dev/null | grep -q ') R ';"
                            " do :; done; ls -A out >seen"));
    COMPARE_EXIT(outcome, 0);
    const QByteArray seen = batch.contents("seen");
    QVERIFY2(seen.startsWith(".crayvell-") && seen.count('\n') == 1, seen.constData());
    QCOMPARE(batch.files().filter("out/").size(), 8);
}

CRAYVELL_TEST_MAIN(tst_BatchLimits)
#include "tst_batchlimits.moc"
