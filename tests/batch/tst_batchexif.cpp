#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/exiffile.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

using namespace exiffile;

// EXIF data that a small file makes large in memory, or slow to read.
class tst_BatchExif : public QObject
{
    Q_OBJECT

private slots:
    void peak_data();
    void peak();
    void otherMetadataAreNotRead_data();
    void otherMetadataAreNotRead();
    void warningAsText_data();
    void warningAsText();
    void warningAsJson_data();
    void warningAsJson();
};

namespace {

// Runs the program to its end and gives the most bytes that it had resident, -1
// where it failed.
qint64 peakOfRun(const BatchProcess &batch, const char *output, bool isStripped)
{
    const QByteArray program = QFile::encodeName(BatchProcess::program());
    const QByteArray folder = QFile::encodeName(batch.folder.path());
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(folder.constData()) == 0) {
            execl(program.constData(), program.constData(), "-q", "-o", output, "photo",
                  isStripped ? "--strip" : nullptr, nullptr);
        }
        _exit(127);
    }
    int status = -1;
    rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
        return -1;
    return qint64(usage.ru_maxrss) * 1024;
}

Data cameraNote(const QByteArray &maker, const QList<Entry> &noteEntries)
{
    Data data = {{text(0x010f, maker)}, {bytes(0x927c, QByteArray(5, '\0'))}};
    const auto begin = directoriesEnd(data) + (maker.size() + 2) / 2 * 2;
    data.photo[0].value = directory(noteEntries, quint32(begin));
    return data;
}

// Where no camera writes it, but readers look.
Data noteInFirstDirectory(const QByteArray &maker, const QList<Entry> &noteEntries)
{
    Data data = {{text(0x010f, maker), bytes(0x927c, QByteArray(5, '\0'))}, {}};
    const auto begin = directoriesEnd(data) + (maker.size() + 2) / 2 * 2;
    data.image[1].value = directory(noteEntries, quint32(begin));
    return data;
}

// Every byte of it becomes an entry.
Data byteArray(int valueBytes)
{
    const Data directory = {{bytes(0x0088, QByteArray(valueBytes, '\1'))}, {}};
    const QByteArray note = QByteArray("Nikon\0\2\0\0\0", 10) + block(directory);
    return {{text(0x010f, "NIKON CORPORATION")}, {bytes(0x927c, note)}};
}

// Each of them points to the same bytes.
QList<Entry> sharing(int entries, int valueBytes)
{
    QList<Entry> list = {bytes(0xc000, QByteArray(valueBytes, 'x'))};
    for (int i = 1; i < entries; ++i)
        list << Entry {quint16(0xc000 + i), 7, list[0].value, true};
    return list;
}

} // namespace

void tst_BatchExif::peak_data()
{
    QTest::addColumn<QByteArray>("file");

    constexpr int large = 400'000;
    constexpr int segment = 60'000; // what a JPEG takes
    const Data pile = overlapping(250, large);
    const QByteArray keyword("Raw profile type exif\0", 22);
    const QByteArray zeros = profileText(QByteArray(16'000'000, '\0'));
    Data real = dated("2021:06:05 04:03:02");
    real.photo << bytes(0xc000, QByteArray(4'000'000, 'x'));
    const Data array =
        cameraNote("Canon", {text(7, "Firmware 1.0"), {1, 3, QByteArray(400'000, '\1')}});
    const Data smallArray = cameraNote("Canon", {{1, 3, QByteArray(39'000, '\1')}});
    QTest::newRow("JPEG, values on each other") << jpeg(block(overlapping(250, segment)));
    QTest::newRow("PNG, values on each other") << png(block(pile));
    QTest::newRow("PNG, values on each other, in a text")
        << pngWithChunk("tEXt", keyword + profileText(block(pile)));
    QTest::newRow("WebP, values on each other") << webp(block(pile));
    QTest::newRow("TIFF, values on each other") << tiff(pile);
    QTest::newRow("JPEG, a maker's values on each other")
        << jpeg(block(cameraNote("Canon", sharing(250, 50'000))));
    QTest::newRow("PNG, a maker's values on each other")
        << png(block(cameraNote("Canon", sharing(250, large))));
    QTest::newRow("PNG, a maker's large array") << png(block(array));
    QTest::newRow("JPEG, a maker's array") << jpeg(block(smallArray));
    QTest::newRow("JPEG, a maker's bytes") << jpeg(block(byteArray(60'000)));
    QTest::newRow("PNG, a maker's bytes") << png(block(byteArray(130'000)));
    QTest::newRow("PNG, a maker's very many bytes") << png(block(byteArray(400'000)));
    QTest::newRow("PNG, a text that unpacks to very much")
        << pngWithChunk("zTXt", keyword + '\0' + packed(zeros));
    QTest::newRow("PNG, large and well-formed") << png(block(real));
    QTest::newRow("TIFF, large and well-formed") << tiff(real);
}

void tst_BatchExif::peak()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer's own memory hides the program's");
    QFETCH(QByteArray, file);
    BatchProcess batch;
    batch.write("photo", file);
    const std::pair<const char *, const char *> outputs[] = {{"1.jpg", "2.jpg"},
                                                             {"1.png", "2.png"}};
    for (const auto &[plain, kept] : outputs) {
        const qint64 without = peakOfRun(batch, plain, true);
        const qint64 with = peakOfRun(batch, kept, false);
        QVERIFY(without > 0 && with > 0);
        const qint64 more = with - without;
        QVERIFY2(more <= 8 * file.size() + 16'000'000,
                 QByteArray::number(more / 1'000'000) + " MB more for a file of "
                     + QByteArray::number(file.size()) + " bytes");
    }
}

void tst_BatchExif::otherMetadataAreNotRead_data()
{
    QTest::addColumn<QByteArray>("file");

    // Every attribute is compared with all before it.
    QByteArray packet = "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='"
                        "http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description xmlns:t='t'";
    for (int i = 0; packet.size() < 640'000; ++i)
        packet += " t:a" + QByteArray::number(i) + "=''";
    packet += "/></rdf:RDF></x:xmpmeta>";
    Data data = dated("2021:06:05 04:03:02");
    QTest::newRow("in a PNG") << pngWithChunk(
        "iTXt", QByteArray("XML:com.adobe.xmp\0\0\0\0\0", 22) + packet);
    data.image << bytes(0x02bc, packet);
    QTest::newRow("in EXIF data") << png(block(data));
    QTest::newRow("in a TIFF") << tiff(data);
}

void tst_BatchExif::otherMetadataAreNotRead()
{
    QFETCH(QByteArray, file);
    BatchProcess batch;
    batch.write("photo", file);
    const qint64 begin = process::childrensProcessorTime();
    COMPARE_EXIT(batch.run({"--strip", "--output-dir", "without", "photo"}), 0);
    const qint64 without = process::childrensProcessorTime() - begin;
    COMPARE_EXIT(batch.run({"--output-dir", "with", "photo"}), 0);
    const qint64 with = process::childrensProcessorTime() - begin - without;
    QVERIFY2(with <= 3 * without + 500, QByteArray::number(with) + " ms");
}

void tst_BatchExif::warningAsText_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("line");

    const QByteArray brief = "a.jpg: its EXIF data are left out\n";
    const QByteArray full = "a.jpg: its EXIF data are left out: they overlap\n";
    QTest::newRow("briefly") << QStringList() << brief;
    QTest::newRow("in full") << QStringList {"--verbose"} << full;
    QTest::newRow("not at all") << QStringList {"--quiet"} << QByteArray();
    QTest::newRow("where they are not wanted") << QStringList {"--strip"} << QByteArray();
}

void tst_BatchExif::warningAsText()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, line);
    BatchProcess batch;
    batch.write("a.jpg", jpeg(block(overlapping(250, 10'000))));
    const auto outcome = batch.run(options + QStringList {"a.jpg"});
    COMPARE_EXIT(outcome, 0);
    if (options.contains("--verbose"))
        QVERIFY2(outcome.errors.contains(line), outcome.errors);
    else
        QCOMPARE(outcome.errors, line);
    QVERIFY(!QImage(batch.path("a-sketch.jpg")).isNull());
}

void tst_BatchExif::warningAsJson_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("warning");

    QTest::newRow("nothing lost") << jpeg(block(dated("2021:06:05 04:03:02"))) << QString();
    QTest::newRow("no EXIF data") << png({}) << QString();
    QTest::newRow("all lost") << jpeg(block(overlapping(250, 10'000)))
                              << QStringLiteral("its EXIF data are left out: they overlap");
    QTest::newRow("maker's notes lost")
        << jpeg(block(cameraNote("Canon", sharing(250, 50'000))))
        << QStringLiteral("its maker's notes are left out: they overlap or are too large");
    QTest::newRow("maker's notes lost, in the first directory")
        << jpeg(block(noteInFirstDirectory("Canon", sharing(250, 50'000))))
        << QStringLiteral("its maker's notes are left out: they overlap or are too large");
}

void tst_BatchExif::warningAsJson()
{
    QFETCH(QByteArray, file);
    BatchProcess batch;
    batch.write("photo", file);
    const auto outcome = batch.run({"--json", "--quiet", "-o", "sketch.jpg", "photo"});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    const QJsonObject object = QJsonDocument::fromJson(outcome.output).object();
    QVERIFY(object.contains("warning"));
    QTEST(object["warning"].toString(), "warning");
    QCOMPARE(object["status"].toString(), QStringLiteral("done"));
}

CRAYVELL_TEST_MAIN(tst_BatchExif)
#include "tst_batchexif.moc"
