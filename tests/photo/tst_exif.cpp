#include <QTemporaryDir>
#include <QtTest>

#include <exiv2/exiv2.hpp>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "photo/exif.h"
#include "photo/photoinput.h"
#include "tests/support/exiffile.h"
#include "tests/support/pngfile.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

using namespace exiffile;

class tst_Exif : public QObject
{
    Q_OBJECT

private slots:
    void everyCarrier_data();
    void everyCarrier();
    void deviceStaysWhereItWas();
    void otherFileOfTheName_data();
    void otherFileOfTheName();
    void truncatedTiff();
    void warnings_data();
    void warnings();
    void sharedValuesOfEveryType_data();
    void sharedValuesOfEveryType();
    void makerNotes_data();
    void makerNotes();
    void capacity_data();
    void capacity();
    void manyThreads();
};

namespace {

const QByteArray date = "2021:06:05 04:03:02";
constexpr std::size_t roomy = 1 << 30;

QByteArray webpWithOddChunk(const QByteArray &block)
{
    constexpr qsizetype head = 12 + 18; // of the file, and the extended one
    QByteArray file = webp(block).insert(head, QByteArray("ODDC\3\0\0\0odd\0", 12));
    qToLittleEndian(quint32(file.size() - 8), file.data() + 4);
    return file;
}

class Folder
{
public:
    std::string write(const QByteArray &bytes)
    {
        QFile file(path());
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
        return path().toStdString();
    }
    QString path() const { return m_folder.filePath(QStringLiteral("photo")); }

private:
    QTemporaryDir m_folder;
};

photo::SketchExif exifOf(const QByteArray &file, std::size_t capacity = roomy)
{
    Folder folder;
    photo::PhotoInput input(folder.write(file), 1 << 30);
    return photo::exifForSketch(input, QSize(64, 48), false, capacity);
}

std::string value(const photo::ExifBlock &block, const char *key)
{
    Exiv2::ExifData exif;
    if (!block.empty())
        Exiv2::ExifParser::decode(exif, block.data(), static_cast<uint32_t>(block.size()));
    const auto datum = exif.findKey(Exiv2::ExifKey(key));
    return datum == exif.end() ? "missing" : datum->toString();
}

std::string dateIn(const photo::ExifBlock &block)
{
    return value(block, "Exif.Photo.DateTimeOriginal");
}

const QByteArray introduction("Exif\0\0", 6);

} // namespace

void tst_Exif::everyCarrier_data()
{
    QTest::addColumn<QByteArray>("file");

    Data little = dated(date);
    Data big = dated(date);
    big.isBigEndian = true;
    Data huge = dated(date);
    huge.isBigTiff = true;
    const QByteArray plain = block(little);
    const QByteArray text = profileText(introduction + plain);
    const QByteArray exif("Raw profile type exif\0", 22);
    const QByteArray app1("Raw profile type APP1\0", 22);
    const QByteArray other = profileText("http://ns.adobe.com/xap/1.0/");
    QTest::newRow("JPEG") << jpeg(plain);
    const QByteArray xmp("\xff\xe1\0\x24http://ns.adobe.com/xap/1.0/\0<x/>!", 38);
    QTest::newRow("JPEG, behind another segment") << jpeg(plain).insert(2, xmp);
    QTest::newRow("PNG, text in capitals") << pngWithChunk("tEXt", exif + text.toUpper());
    QTest::newRow("JPEG, big-endian") << jpeg(block(big));
    QTest::newRow("PNG") << png(plain);
    QTest::newRow("PNG, introduced") << png(introduction + plain);
    QTest::newRow("PNG, packed text") << pngWithChunk("zTXt", exif + '\0' + packed(text));
    QTest::newRow("PNG, text") << pngWithChunk("tEXt", exif + text);
    QTest::newRow("PNG, text of a segment") << pngWithChunk("tEXt", app1 + text);
    QTest::newRow("PNG, international text")
        << pngWithChunk("iTXt", exif + QByteArray("\0\0en\0Exif\0", 10) + text);
    QTest::newRow("PNG, packed international text")
        << pngWithChunk("iTXt", exif + QByteArray("\1\0en\0Exif\0", 10) + packed(text));
    QTest::newRow("PNG, behind another segment")
        << pngWithChunk("tEXt", app1 + other).insert(33, pngChunk("tEXt", app1 + text));
    QTest::newRow("WebP") << webp(plain);
    QTest::newRow("WebP, introduced") << webp(introduction + plain);
    QTest::newRow("WebP, behind a chunk of an odd length") << webpWithOddChunk(plain);
    QTest::newRow("TIFF") << tiff(little);
    QTest::newRow("TIFF, big-endian") << tiff(big);
    QTest::newRow("TIFF with offsets of 64 bits") << tiff(huge);
}

void tst_Exif::everyCarrier()
{
    QFETCH(QByteArray, file);
    const photo::SketchExif exif = exifOf(file);
    QCOMPARE(dateIn(exif.block), date.toStdString());
    QCOMPARE(value(exif.block, "Exif.Image.Make"), "Tester");
    QCOMPARE(value(exif.block, "Exif.Image.StripOffsets"), "missing");
    QCOMPARE(exif.warning, "");
}

// A decoder may have begun to read.
void tst_Exif::deviceStaysWhereItWas()
{
    Folder folder;
    photo::PhotoInput input(folder.write(jpeg(block(dated(date)))), 1 << 30);
    input.device().seek(100);
    const auto exif = photo::exifForSketch(input, QSize(64, 48), false, roomy);
    QCOMPARE(dateIn(exif.block), date.toStdString());
    QCOMPARE(input.device().pos(), 100);
}

void tst_Exif::otherFileOfTheName_data()
{
    QTest::addColumn<QByteArray>("what");

    QTest::newRow("another photo") << QByteArray("photo");
    QTest::newRow("a pipe that nobody writes to") << QByteArray("pipe");
    QTest::newRow("none") << QByteArray("none");
}

void tst_Exif::otherFileOfTheName()
{
    QFETCH(QByteArray, what);
    Folder folder;
    photo::PhotoInput input(folder.write(jpeg(block(dated(date)))), 1 << 30);
    QVERIFY(QFile::remove(folder.path()));
    if (what == "photo")
        folder.write(jpeg(block(dated("1999:09:09 09:09:09"))));
    else if (what == "pipe")
        QCOMPARE(mkfifo(QFile::encodeName(folder.path()).constData(), 0600), 0);
    const auto exif = photo::exifForSketch(input, QSize(64, 48), false, roomy);
    QCOMPARE(dateIn(exif.block), date.toStdString());
}

void tst_Exif::truncatedTiff()
{
    Folder folder;
    photo::PhotoInput input(folder.write(tiff(dated(date), 1000, 1000)), 1 << 30);
    QVERIFY(QFile::resize(folder.path(), 300));
    const auto exif = photo::exifForSketch(input, QSize(64, 48), false, roomy);
    QCOMPARE(dateIn(exif.block), "missing");
    QVERIFY2(exif.warning.find("cut short") != std::string::npos, exif.warning.c_str());
}

void tst_Exif::warnings_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<QByteArray>("warning");
    QTest::addColumn<bool>("keepsDate");

    const QByteArray lost = "its EXIF data are left out: ";
    const QByteArray parts = "some of its EXIF data are left out: they are damaged";
    Data shared = dated(date);
    shared.photo << bytes(0xc000, QByteArray(8, 'x')) << bytes(0xc001, QByteArray(8, 'x'));
    shared.photo.last().isShared = true;
    Data twice = dated(date);
    twice.image << number(0x8769, 8) << number(0x8769, 8);
    Data circle = dated(date);
    circle.photo << number(0xa005, 8);
    Data outside = dated(date);
    outside.photo << number(0xa005, 1000000);
    Data many = dated(date);
    many.photo += QList<Entry>(256, number(0xc000, 1));
    const QByteArray good = block(dated(date));
    QTest::newRow("nothing wrong") << good << QByteArray() << true;
    QTest::newRow("two small values in one place") << block(shared) << QByteArray() << true;
    QTest::newRow("large values on each other")
        << block(overlapping(2, 2000)) << lost + "they overlap" << false;
    QTest::newRow("many values on each other")
        << block(overlapping(250, 60)) << lost + "they overlap" << false;
    QTest::newRow("a directory given twice")
        << block(twice) << lost + "they have one directory twice" << false;
    QTest::newRow("a directory within itself")
        << block(circle) << lost + "they point to one directory twice" << false;
    QTest::newRow("a directory outside") << block(outside) << parts << true;
    QTest::newRow("a directory with too many entries") << block(many) << parts << false;
    QTest::newRow("a value cut short") << good.chopped(4) << parts << false;
    QTest::newRow("a directory cut short") << good.left(20) << lost + "they are damaged" << false;
    QTest::newRow("something else") << QByteArray(100, 'x') << lost + "they are damaged" << false;
}

void tst_Exif::warnings()
{
    QFETCH(QByteArray, block);
    QFETCH(QByteArray, warning);
    QFETCH(bool, keepsDate);
    for (const QByteArray &file : {jpeg(block), png(block), webp(block)}) {
        const photo::SketchExif exif = exifOf(file);
        QCOMPARE(QByteArray::fromStdString(exif.warning), warning);
        QCOMPARE(dateIn(exif.block), keepsDate ? date.toStdString() : "missing");
    }
}

namespace {

// Notes of a maker who writes the directory first, with offsets from the block's
// beginning.
Data canon(const QList<Entry> &noteEntries, qsizetype gap = 0)
{
    Data data = {{text(0x010f, "Canon")}, {bytes(0x927c, QByteArray(5, '\0')), text(0x9003, date)}};
    data.gap = gap;
    const auto begin = directoriesEnd(data) + gap + 6; // behind the name
    data.photo[0].value = directory(noteEntries, quint32(begin));
    return data;
}

Data canonTiff(const QList<Entry> &noteEntries, qsizetype pixels)
{
    // As many entries as the layout adds, so that the note lies where it will.
    Data data = canon(noteEntries);
    data.image += QList<Entry>(9, number(0xfde8, 0));
    const qsizetype begin = directoriesEnd(data) + pixels + 6;
    data.image.resize(1);
    data.photo[0].value = directory(noteEntries, quint32(begin));
    return data;
}

} // namespace

void tst_Exif::makerNotes_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("warning");
    QTest::addColumn<QByteArray>("firmware"); // an entry of the note

    const QList<Entry> good = {text(7, "Firmware 1.0"), text(9, "somebody")};
    QList<Entry> many = {text(7, "Firmware 1.0"), bytes(0xc000, QByteArray(20000, 'x'))};
    for (int i = 1; i < 250; ++i)
        many << Entry {quint16(0xc000 + i), 7, many[1].value, true};
    const QByteArray lost = "its maker's notes are left out: ";
    const QByteArray large = lost + "they overlap or are too large";
    const QByteArray kept = "Firmware 1.0";
    QTest::newRow("in a JPEG") << jpeg(block(canon(good))) << QByteArray() << kept;
    QTest::newRow("in a PNG") << png(block(canon(good))) << QByteArray() << kept;
    QTest::newRow("in a TIFF, behind the pixels")
        << tiff(canonTiff(good, 1000 * 1000), 1000, 1000) << QByteArray() << kept;
    QTest::newRow("in a TIFF, behind very many pixels")
        << tiff(canonTiff(good, 5000 * 4000), 5000, 4000)
        << lost + "they lie too far from the beginning of the file" << QByteArray("missing");
    QTest::newRow("overlapping, in a JPEG")
        << jpeg(block(canon(many))) << large << QByteArray("missing");
    QTest::newRow("overlapping, in a WebP")
        << webp(block(canon(many))) << large << QByteArray("missing");
    QTest::newRow("with one large array, in a PNG")
        << png(block(canon({text(7, "Firmware 1.0"), {1, 3, QByteArray(2'000'000, '\1')}})))
        << large << QByteArray("missing");
}

void tst_Exif::makerNotes()
{
    QFETCH(QByteArray, file);
    const photo::SketchExif exif = exifOf(file);
    QTEST(QByteArray::fromStdString(exif.warning), "warning");
    QTEST(QByteArray::fromStdString(value(exif.block, "Exif.Canon.FirmwareVersion")), "firmware");
    QCOMPARE(dateIn(exif.block), date.toStdString());
}

void tst_Exif::capacity_data()
{
    QTest::addColumn<int>("capacity");
    QTest::addColumn<QByteArray>("warning");

    const QByteArray room = "the sketch's format has no room for them";
    QTest::newRow("enough") << 10000 << QByteArray();
    QTest::newRow("for all but the maker's notes")
        << 1000 << "its maker's notes are left out: " + room;
    QTest::newRow("for nothing") << 10 << "its EXIF data are left out: " + room;
}

void tst_Exif::capacity()
{
    QFETCH(int, capacity);
    const QByteArray file = jpeg(block(canon({bytes(0xc000, QByteArray(5000, 'x'))})));
    const photo::SketchExif exif = exifOf(file, std::size_t(capacity));
    QTEST(QByteArray::fromStdString(exif.warning), "warning");
    QVERIFY(exif.block.size() <= std::size_t(capacity));
    QCOMPARE(dateIn(exif.block), capacity < 100 ? "missing" : date.toStdString());
}

void tst_Exif::manyThreads()
{
    const QByteArray file = jpeg(block(canon({text(7, "Firmware 1.0")})));
    std::atomic<int> kept = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round)
                kept += exifOf(file).warning.empty() ? 1 : 0;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(kept, 200);
}

void tst_Exif::sharedValuesOfEveryType_data()
{
    QTest::addColumn<quint16>("type");
    QTest::addColumn<int>("elementBytes");
    const std::pair<int, int> types[] = {{1, 1}, {2, 1}, {3, 2}, {4, 4},  {5, 8},  {6, 1},
                                         {7, 1}, {8, 2}, {9, 4}, {10, 8}, {11, 4}, {12, 8}};
    for (const auto &[type, elementBytes] : types)
        QTest::addRow("type %d", type) << quint16(type) << elementBytes;
}

// A kilobyte in all may be two entries' at once, and no more.
void tst_Exif::sharedValuesOfEveryType()
{
    QFETCH(quint16, type);
    QFETCH(int, elementBytes);
    const auto warning = [&](int bytes) {
        Data data = dated(date);
        const QByteArray value(bytes, '\1');
        data.image << Entry {0xc000, type, value} << Entry {0xc001, type, value, true};
        return exifOf(jpeg(block(data))).warning;
    };
    QCOMPARE(elementBytes * (1024 / elementBytes), 1024);
    QCOMPARE(warning(1024), std::string());
    QCOMPARE(warning(1024 + elementBytes), std::string("its EXIF data are left out: they overlap"));
}

CRAYVELL_TEST_MAIN(tst_Exif)
#include "tst_exif.moc"
