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

constexpr int width = 6000;
constexpr int height = 4000;

// A row of three channels with noise that hardly repeats, to be taken from any
// of the first thousand bytes on.
std::vector<uchar> noise(int sampleBytes)
{
    QRandomGenerator random(1);
    std::vector<uchar> row(std::size_t(width) * 3 * sampleBytes + 1000);
    for (uchar &byte : row)
        byte = static_cast<uchar>(random.generate() & 0x1f);
    return row;
}

void makePng(const QByteArray &name, int bits, bool isInterlaced)
{
    std::vector<uchar> rows = noise(bits / 8);
    FILE *const file = std::fopen(name.constData(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, bits, PNG_COLOR_TYPE_RGB,
                 isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, 1);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_write_info(png, info);
    for (int pass = png_set_interlace_handling(png); pass > 0; --pass) {
        for (int y = 0; y < height; ++y)
            png_write_row(png, rows.data() + y * 7 % 1000);
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

void makeTiff(const QByteArray &name, int bits, int compression, int rowsPerStrip)
{
    std::vector<uchar> rows = noise(bits / 8);
    TIFF *const tiff = TIFFOpen(name.constData(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    for (int y = 0; y < height; ++y)
        TIFFWriteScanline(tiff, rows.data() + y * 7 % 1000, y, 0);
    TIFFClose(tiff);
}

void makeJpeg(const QString &name, bool isProgressive)
{
    QImageWriter writer(name, "jpeg");
    writer.setQuality(90);
    writer.setProgressiveScanWrite(isProgressive);
    writer.write(testphotos::scene(1500, 1000).scaled(width, height));
}

void makePhoto(const QByteArray &kind, const QString &name)
{
    const QByteArray file = QFile::encodeName(name);
    if (kind.endsWith("JPEG"))
        makeJpeg(name, kind.startsWith("progressive"));
    else if (kind == "PNG of 8 bits")
        makePng(file, 8, false);
    else if (kind == "PNG of 16 bits")
        makePng(file, 16, false);
    else if (kind == "interlaced PNG of 16 bits")
        makePng(file, 16, true);
    else if (kind == "TIFF of 8 bits, one strip of LZW")
        makeTiff(file, 8, COMPRESSION_LZW, height);
    else if (kind == "TIFF of 16 bits")
        makeTiff(file, 16, COMPRESSION_NONE, 64);
    else if (kind == "TIFF of 16 bits, one strip of LZW")
        makeTiff(file, 16, COMPRESSION_LZW, height);
}

// Runs the program to its end and gives the most bytes that it had resident, -1
// where it failed. QProcess would not tell; and it shares this process's memory
// with the new one until that is loaded, so that ours would count, too.
qint64 peakOfRun(const QString &input, const QString &output)
{
    const QByteArray program = QFile::encodeName(BatchProcess::program());
    const QByteArray from = QFile::encodeName(input);
    const QByteArray to = QFile::encodeName(output);
    const pid_t child = fork();
    if (child == 0) {
        execl(program.constData(), program.constData(), "-j", "1", "--max-memory", "1G", "-o",
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
};

void tst_BatchMemory::peakOfOneJob_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<int>("bytesPerPixel");

    constexpr int pngSketch = 2; // gathered, and compressed as a whole
    const std::pair<const char *, int> kinds[] = {
        {"JPEG", pngSketch},
        {"progressive JPEG", 6},
        {"PNG of 8 bits", pngSketch},
        {"PNG of 16 bits", pngSketch},
        {"interlaced PNG of 16 bits", 4 + pngSketch},
        {"TIFF of 8 bits, one strip of LZW", 6},
        {"TIFF of 16 bits", pngSketch},
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
    constexpr qint64 pixels = qint64(width) * height;
    QFETCH(int, bytesPerPixel);
    const qint64 limit = bytesPerPixel * pixels + 40'000'000;
    BatchProcess batch;
    makePhoto(kind, batch.path("photo"));
    for (const char *output : {"sketch.jpg", "sketch.png"}) {
        const qint64 peak = peakOfRun(batch.path("photo"), batch.path(output));
        QVERIFY(peak > 0);
        QVERIFY2(peak <= limit, QByteArray::number(peak / 1'000'000) + " MB for " + output);
    }
}

CRAYVELL_TEST_MAIN(tst_BatchMemory)
#include "tst_batchmemory.moc"
