#include <cstdio>
#include <png.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr QSize usual(6000, 4000);

// A row of three channels with noise that hardly repeats, to be taken from any
// of the first thousand bytes on.
std::vector<uchar> noise(int width, int sampleBytes)
{
    QRandomGenerator random(1);
    std::vector<uchar> row(std::size_t(width) * 3 * sampleBytes + 1000);
    for (uchar &byte : row)
        byte = static_cast<uchar>(random.generate() & 0x1f);
    return row;
}

void makePng(const QByteArray &name, QSize size, int bits, bool isInterlaced)
{
    std::vector<uchar> rows = noise(size.width(), bits / 8);
    FILE *const file = std::fopen(name.constData(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, size.width(), size.height(), bits, PNG_COLOR_TYPE_RGB,
                 isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, 0); // takes no time, and a file that is kept shows most
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_write_info(png, info);
    for (int pass = png_set_interlace_handling(png); pass > 0; --pass) {
        for (int y = 0; y < size.height(); ++y)
            png_write_row(png, rows.data() + y * 7 % 1000);
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

// Noise in LZW codes, which an encoder would look for long: after each Clear bytes that tell
// themselves, then all pairs of neighbours among them, up to where codes would need ten bits.
std::vector<uchar> lzwCodes(qint64 bytes)
{
    constexpr int clear = 256;
    constexpr int literals = 125;
    constexpr int pairs = literals - 1;
    constexpr int firstPair = 258;
    constexpr int runs = 4; // of 250 codes of nine bits, which end with a byte
    std::vector<uchar> unit;
    unsigned bits = 0;
    int count = 0;
    QRandomGenerator random(1);
    for (int i = 0; i < runs * (1 + literals + pairs); ++i) {
        const int place = i % (1 + literals + pairs) - 1;
        const unsigned code = place < 0 ? clear
            : place < literals          ? random.generate() & 0x1f
                                        : firstPair + place - literals;
        bits = bits << 9 | code;
        for (count += 9; count >= 8; count -= 8)
            unit.push_back(static_cast<uchar>(bits >> (count - 8)));
    }
    std::vector<uchar> codes;
    const qint64 units = bytes / (runs * (literals + 2 * pairs)) + 1;
    codes.reserve(unit.size() * units);
    for (qint64 i = 0; i < units; ++i)
        codes.insert(codes.end(), unit.begin(), unit.end());
    return codes;
}

TIFF *newTiff(const QByteArray &name, QSize size, int bits, int compression, int rowsPerStrip)
{
    TIFF *const tiff = TIFFOpen(name.constData(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size.width());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size.height());
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    return tiff;
}

void makeLzwTiff(const QByteArray &name, QSize size, int bits)
{
    TIFF *const tiff = newTiff(name, size, bits, COMPRESSION_LZW, size.height());
    std::vector<uchar> codes = lzwCodes(qint64(size.width()) * size.height() * 3 * bits / 8);
    TIFFWriteRawStrip(tiff, 0, codes.data(), static_cast<tmsize_t>(codes.size()));
    TIFFClose(tiff);
}

void makeTiff(const QByteArray &name, QSize size, int bits, int rowsPerStrip)
{
    std::vector<uchar> rows = noise(size.width(), bits / 8);
    TIFF *const tiff = newTiff(name, size, bits, COMPRESSION_NONE, rowsPerStrip);
    for (int y = 0; y < size.height(); ++y)
        TIFFWriteScanline(tiff, rows.data() + y * 7 % 1000, y, 0);
    TIFFClose(tiff);
}

void makeJpeg(const QString &name, QSize size, bool isProgressive)
{
    QImageWriter writer(name, "jpeg");
    writer.setQuality(90);
    writer.setProgressiveScanWrite(isProgressive);
    writer.write(testphotos::scene(1500, 1000).scaled(size));
}

void makePhoto(const QByteArray &kind, const QString &name, QSize size)
{
    const QByteArray file = QFile::encodeName(name);
    if (kind.endsWith("JPEG"))
        makeJpeg(name, size, kind.startsWith("progressive"));
    else if (kind == "PNG of 8 bits")
        makePng(file, size, 8, false);
    else if (kind == "PNG of 16 bits")
        makePng(file, size, 16, false);
    else if (kind == "interlaced PNG of 16 bits")
        makePng(file, size, 16, true);
    else if (kind == "TIFF of 8 bits, one strip of LZW")
        makeLzwTiff(file, size, 8);
    else if (kind == "TIFF of 16 bits")
        makeTiff(file, size, 16, 64);
    else if (kind == "TIFF of 8 bits, a strip for every row")
        makeTiff(file, size, 8, 1);
    else if (kind == "TIFF of 16 bits, one strip of LZW")
        makeLzwTiff(file, size, 16);
}

// Runs the program to its end and gives the most bytes that it had resident, -1
// where it failed. QProcess would not tell; and it shares this process's memory
// with the new one until that is loaded, so that ours would count, too.
qint64 peakOfRun(const QString &input, const QString &output, const char *memory)
{
    const QByteArray program = QFile::encodeName(BatchProcess::program());
    const QByteArray from = QFile::encodeName(input);
    const QByteArray to = QFile::encodeName(output);
    const pid_t child = fork();
    if (child == 0) {
        execl(program.constData(), program.constData(), "-j", "1", "--max-memory", memory, "-o",
              to.constData(), from.constData(), nullptr);
        _exit(127);
    }
    int status = -1;
    rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
        return -1;
    return qint64(usage.ru_maxrss) * 1024;
}

} // namespace

class tst_BatchMemory : public QObject
{
    Q_OBJECT

private slots:
    void peakOfOneJob_data();
    void peakOfOneJob();
    void peakDoesNotGrowWithRows_data();
    void peakDoesNotGrowWithRows();
    void announcesTheTablesOfStrips();
};

void tst_BatchMemory::peakOfOneJob_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<int>("bytesPerPixel");

    const std::pair<const char *, int> kinds[] = {
        {"JPEG", 0},
        {"progressive JPEG", 6},
        {"PNG of 8 bits", 0},
        {"PNG of 16 bits", 0},
        {"interlaced PNG of 16 bits", 4},
        {"TIFF of 8 bits, one strip of LZW", 3},
        {"TIFF of 16 bits", 0},
        {"TIFF of 16 bits, one strip of LZW", 6},
    };
    for (const auto &[kind, bytesPerPixel] : kinds)
        QTest::newRow(kind) << QByteArray(kind) << bytesPerPixel;
}

void tst_BatchMemory::peakOfOneJob()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer's own memory hides the program's");
    QFETCH(QByteArray, kind);
    constexpr qint64 pixels = qint64(usual.width()) * usual.height();
    QFETCH(int, bytesPerPixel);
    const qint64 limit = bytesPerPixel * pixels + 40'000'000;
    BatchProcess batch;
    makePhoto(kind, batch.path("photo"), usual);
    for (const char *output : {"sketch.jpg", "sketch.png"}) {
        const qint64 peak = peakOfRun(batch.path("photo"), batch.path(output), "1G");
        QVERIFY(peak > 0);
        QVERIFY2(peak <= limit, QByteArray::number(peak / 1'000'000) + " MB for " + output);
    }
}

void tst_BatchMemory::peakDoesNotGrowWithRows_data()
{
    QTest::addColumn<QByteArray>("kind");

    for (const char *kind :
         {"JPEG", "PNG of 8 bits", "TIFF of 16 bits", "TIFF of 8 bits, a strip for every row"})
        QTest::newRow(kind) << QByteArray(kind);
}

void tst_BatchMemory::peakDoesNotGrowWithRows()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer's own memory hides the program's");
    QFETCH(QByteArray, kind);
    constexpr qint64 mostGrowth = 2'000'000; // a byte for every 20 pixels
    BatchProcess batch;
    makePhoto(kind, batch.path("short"), {2000, 1000});
    makePhoto(kind, batch.path("tall"), {2000, 20'000});
    for (const char *output : {"sketch.jpg", "sketch.png"}) {
        const auto peak = [&](const char *photo) {
            return peakOfRun(batch.path(photo), batch.path(photo + QString(output)), "64M");
        };
        const qint64 ofShort = peak("short");
        const qint64 ofTall = peak("tall");
        QVERIFY(ofShort > 0);
        QVERIFY2(ofTall > 0, "does not fit into the memory");
        QVERIFY2(ofTall - ofShort <= mostGrowth,
                 QByteArray::number((ofTall - ofShort) / 1000) + " kB more for " + output);
    }
}

void tst_BatchMemory::announcesTheTablesOfStrips()
{
    BatchProcess batch;
    makePhoto("TIFF of 8 bits, a strip for every row", batch.path("photo"), {1, 900'000});
    const auto outcome = batch.run({"--max-memory", "48M", "-o", "sketch.png", "photo"});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("more than the 48 MB"), outcome.errors.constData());
}

CRAYVELL_TEST_MAIN(tst_BatchMemory)
#include "tst_batchmemory.moc"
