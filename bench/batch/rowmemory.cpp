// The peak memory of crayvell-batch for photos of the same width, of a few rows and of
// a hundred times as many.
//
//   rowmemory [--smoke]
//
// The tall ones have 0.8 gigapixels; their files take 3.2 GB in the temporary folder.

#include <QByteArray>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>
#include <cstring>
#include <png.h>
#include <tiffio.h>

#include "bench/batch/comparison.h"

namespace {

constexpr int channels = 3;
constexpr int variety = 1000; // rows before they repeat themselves

// Rows of a little noise, each taken from another place of the same bytes.
class Rows
{
public:
    explicit Rows(int width)
        : m_bytes((static_cast<std::size_t>(width) + variety) * channels)
    {
        QRandomGenerator random(1);
        for (unsigned char &byte : m_bytes)
            byte = static_cast<unsigned char>(100 + (random.generate() & 0x1f));
    }
    unsigned char *row(int y) { return m_bytes.data() + y * 7 % variety * channels; }

private:
    std::vector<unsigned char> m_bytes;
};

bool writePng(const QByteArray &name, QSize size)
{
    FILE *const file = std::fopen(name.constData(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (!file || !info)
        return false;
    png_init_io(png, file);
    png_set_IHDR(png, info, size.width(), size.height(), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, 1);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_write_info(png, info);
    Rows rows(size.width());
    for (int y = 0; y < size.height(); ++y)
        png_write_row(png, rows.row(y));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return std::fclose(file) == 0;
}

bool writeTiff(const QByteArray &name, QSize size)
{
    TIFF *const tiff = TIFFOpen(name.constData(), "w");
    if (!tiff)
        return false;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size.width());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size.height());
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 1);
    Rows rows(size.width());
    bool isWritten = true;
    for (int y = 0; y < size.height() && isWritten; ++y)
        isWritten = TIFFWriteScanline(tiff, rows.row(y), static_cast<uint32_t>(y), 0) == 1;
    TIFFClose(tiff);
    return isWritten;
}

struct Kind
{
    const char *name;
    bool (*write)(const QByteArray &name, QSize size);
};

// Prints one line; false where the photo cannot be made or sketched.
bool measureMemory(const Kind &kind, QSize size)
{
    const QTemporaryDir folder;
    const QString photo = folder.filePath("photo");
    if (!kind.write(QFile::encodeName(photo), size))
        return false;
    const QString sketch = folder.filePath("sketch.png");
    Contender contender {kind.name,
                         {QStringLiteral(CRAYVELL_BATCH), "--quiet", "-j", "1", "--max-memory",
                          "64M", "-o", sketch, photo},
                         sketch,
                         1};
    if (!measure(contender))
        return false;
    std::printf("%-24s %5d x %6d  %5.1f MB  %6.2f s\n", kind.name, size.width(), size.height(),
                double(contender.cost.kilobytes) * 1024 / 1e6, contender.cost.processor);
    std::fflush(stdout);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const bool isSmoke = argc > 1 && !std::strcmp(argv[1], "--smoke");
    if (argc > 1 + isSmoke) {
        std::fprintf(stderr, "usage: rowmemory [--smoke]\n");
        return 2;
    }
    constexpr Kind kinds[] = {{"PNG", writePng}, {"TIFF, a strip for a row", writeTiff}};
    const int width = isSmoke ? 80 : 8000;
    for (const Kind &kind : kinds) {
        for (const int height : {1000, isSmoke ? 2000 : 100'000}) {
            if (!measureMemory(kind, {width, height})) {
                std::printf("%s failed\n", kind.name);
                return 1;
            }
        }
    }
    return 0;
}
