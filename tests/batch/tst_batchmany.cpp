#include <QDir>

#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

// The most bytes that a run had resident, -1 where the exit code is another.
qint64 peakOfRun(const QStringList &arguments, int exitCode)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral(CRAYVELL_PEAK_MEMORY),
                  QStringList {BatchProcess::program()} + arguments);
    const bool ended = process.waitForFinished(300000);
    return ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == exitCode
        ? process.readAllStandardOutput().toLongLong()
        : -1;
}

} // namespace

// Many photos in one run, and what they take together.
class tst_BatchMany : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void jobsWithinMaximum();
    void standardOutputOnce();
    void longValuesTakeNothing_data();
    void longValuesTakeNothing();
    void namesTakeLittle_data();
    void namesTakeLittle();
    void listBeyondMaximum();
    void listCountsForTheJobs();
};

void tst_BatchMany::initTestCase()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer's own memory hides the program's");
}

// What is freed goes back to the system, and does not add up.
void tst_BatchMany::jobsWithinMaximum()
{
    BatchProcess batch;
    for (int kind = 0; kind < 6; ++kind) {
        const QImage scene =
            testphotos::scene(300, 200, kind).scaled(1500 + 300 * kind, 1200 + 200 * kind);
        const QByteArray photo =
            kind % 2 ? testphotos::progressiveJpeg(scene) : testphotos::encoded(scene, "jpeg");
        batch.write(QStringLiteral("%1").arg(kind), photo);
        for (int i = 0; i < 17; ++i)
            batch.write(QStringLiteral("p/%1-%2.jpg").arg(i).arg(kind), photo);
    }
    const qint64 peak = peakOfRun({"-j", "8", "--max-memory", "64M", "--format", "png",
                                   "--output-dir", batch.path("out"), batch.path("p")},
                                  0);
    QVERIFY(peak > 0);
    QVERIFY2(peak < 100'000'000, QByteArray::number(peak / 1'000'000) + " MB");
}

// A sketch for standard output is there once, however it grew.
void tst_BatchMany::standardOutputOnce()
{
    BatchProcess batch;
    QImage noise(3000, 2500, QImage::Format_RGB32);
    QRandomGenerator random(1);
    for (int y = 0; y < noise.height(); ++y) {
        for (int x = 0; x < noise.width(); ++x)
            noise.setPixel(x, y, random.bounded(2) ? 0xffffffff : 0xff000000);
    }
    batch.write("a.jpg", testphotos::encoded(noise, "jpeg", {}, 100));
    const QString file = batch.path("b.jpg");
    const qint64 toFile = peakOfRun({"-o", file, batch.path("a.jpg")}, 0);
    const qint64 toPipe = peakOfRun({"-o", "-", batch.path("a.jpg")}, 0);
    const qint64 size = QFileInfo(file).size();
    QVERIFY(toFile > 0 && toPipe > 0 && size > 4'000'000);
    QVERIFY2(toPipe - toFile < size + 2'500'000,
             qPrintable(QStringLiteral("%1 bytes more for %2").arg(toPipe - toFile).arg(size)));
    // What is announced is enough for it, noise at the greatest quality.
    QVERIFY(size > 13'500'000);
    COMPARE_EXIT(batch.run({"--max-memory", "13500000", "-o", "-", "a.jpg"}), 1);
    QVERIFY(size < 2 * 3000 * 2500);
    COMPARE_EXIT(batch.run({"--max-memory", "17M", "-o", "-", "a.jpg"}), 0);
}

void tst_BatchMany::longValuesTakeNothing_data()
{
    QTest::addColumn<QByteArray>("tiff");
    QTest::newRow("layers") << hostilephotos::tiffWithSharedValues(1, false, 100'000'000);
    QTest::newRow("big file") << hostilephotos::tiffWithSharedValues(1, true, 100'000'000);
    QTest::newRow("colour profile")
        << hostilephotos::tiffWithSharedValues(1, false, 100'000'000, 34675);
}

// Values of tags that no picture needs are in no memory that a job would announce.
void tst_BatchMany::longValuesTakeNothing()
{
    QFETCH(QByteArray, tiff);
    BatchProcess batch;
    batch.write("small.tif", hostilephotos::tiffWithSharedValues(1, false, 256));
    batch.write("large.tif", tiff);
    tiff.clear();
    const QString output = batch.path("sketch.jpg");
    const auto peak = [&](const char *name) {
        return peakOfRun({"--overwrite", "-o", output, batch.path(name)}, 0);
    };
    const qint64 small = peak("small.tif");
    QVERIFY(small > 0);
    const qint64 large = peak("large.tif");
    QVERIFY(large > 0);
    const qint64 more = large - small;
    QVERIFY2(more < 4'000'000, QByteArray::number(more / 1'000'000) + " MB");
}

void tst_BatchMany::namesTakeLittle_data()
{
    QTest::addColumn<bool>("exist");
    QTest::addColumn<bool>("outputsExist");

    QTest::newRow("missing photos") << false << false;
    QTest::newRow("photos") << true << false;
    QTest::newRow("photos and their sketches") << true << true;
}

void tst_BatchMany::namesTakeLittle()
{
    QFETCH(bool, exist);
    QFETCH(bool, outputsExist);
    BatchProcess batch;
    constexpr int few = 1000;
    constexpr int many = 25'000;
    // One photo and one sketch under many names, which are made sooner than files.
    batch.write("photo", "");
    batch.write("sketch", "");
    const auto give = [&](const char *file, const QString &name) {
        return ::link(QFile::encodeName(batch.path(file)), QFile::encodeName(batch.path(name)))
            == 0;
    };
    QByteArray names;
    for (int i = 0; i < few + many; ++i) {
        if (i < 100)
            QVERIFY(QDir(batch.folder.path()).mkdir(QStringLiteral("album%1").arg(i)));
        const QString name = QStringLiteral("album%1/photo%2").arg(i % 100).arg(i, 7);
        QVERIFY(!exist || give("photo", name + ".jpg"));
        QVERIFY(!outputsExist || give("sketch", name + "-sketch.jpg"));
        names += QFile::encodeName(batch.path(name + ".jpg")) + '\n';
        if (i == few - 1)
            batch.write("few", names);
    }
    batch.write("many", names);
    const auto peak = [&](const char *list) {
        return peakOfRun({"-n", "-q", "--overwrite", "--files-from", batch.path(list)},
                         exist ? 0 : 1);
    };
    const qint64 base = peak("few");
    const qint64 full = peak("many");
    QVERIFY(base > 0 && full > 0);
    const qint64 bytes = (full - base) / many;
    QVERIFY2(bytes < 200, QByteArray::number(bytes) + " bytes a name");
}

void tst_BatchMany::listBeyondMaximum()
{
    BatchProcess batch;
    QByteArray names;
    for (int i = 0; i < 100'000; ++i)
        names += QByteArray(50, 'm') + QByteArray::number(i) + '\n';
    batch.write("list", names);
    const auto outcome = batch.run({"--max-memory", "2M", "--files-from", "list"});
    COMPARE_EXIT(outcome, 2);
    QVERIFY2(outcome.errors.contains("the list of photos needs more than the 2 MB that "
                                     "--max-memory allows"),
             outcome.errors.constData());
    QCOMPARE(outcome.errors.count('\n'), 2);
}

void tst_BatchMany::listCountsForTheJobs()
{
    BatchProcess batch;
    batch.write("a.bmp", testphotos::encoded(testphotos::scene(3000, 2000), "bmp"));
    QByteArray names = "a.bmp\n";
    for (int i = 0; i < 100'000; ++i)
        names += QByteArray(100, 'm') + QByteArray::number(i) + '\n';
    batch.write("list", names);
    batch.write("short", "a.bmp\n");
    // 24 MB and little more for the photo.
    const QStringList common {"--max-memory", "28M", "--overwrite", "--files-from"};
    COMPARE_EXIT(batch.run(common + QStringList {"short"}), 0);
    const auto outcome = batch.run(common + QStringList {"list"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("a.bmp: is 3000 x 2000 pixels and needs "),
             outcome.errors.right(300).constData());
    QVERIFY(outcome.errors.contains("that --max-memory allows beside the list of photos"));
}

CRAYVELL_TEST_MAIN(tst_BatchMany)
#include "tst_batchmany.moc"
