#include <QtTest>

#include <QFloat16>

#include <cstring>
#include <vector>

#include "photo/decode/tiffdecoder.h"
#include "photo/decode/toolkitdecoder.h"
#include "tests/photo/decode/decodedphoto.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr int noAlpha = -1;

struct TiffKind
{
    int bits = 16;
    int samples = 3;
    int alpha = noAlpha; // the meaning of a fourth sample
    int compression = COMPRESSION_NONE;
    int rowsPerStrip = 7;
    int sampleFormat = SAMPLEFORMAT_UINT;
    const char *mode = "wl";
    int predictor = 1;
    int photometric = PHOTOMETRIC_RGB;
    int planes = PLANARCONFIG_CONTIG;
    int orientation = ORIENTATION_TOPLEFT;
    int tileSide = 0; // in strips
};

void describe(TIFF *tiff, const TiffKind &kind, QSize size)
{
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size.width());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size.height());
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, kind.sampleFormat);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, kind.planes);
    if (kind.tileSide == 0) {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
    } else {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kind.tileSide);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kind.tileSide);
    }
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, kind.orientation);
    if (kind.predictor != 1)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, kind.predictor);
    if (kind.alpha != noAlpha) {
        const auto meaning = static_cast<uint16_t>(kind.alpha);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &meaning);
    }
}

// 65536 pixels of 16 bits have every value in each sample, those of 8 bits every
// colour with every alpha; floating samples are within 0 and 1 and a little beside.
void fillRow(std::vector<char> &row, const TiffKind &kind, unsigned first)
{
    const int sampleBytes = kind.bits / 8;
    for (std::size_t at = 0; at < row.size(); at += sampleBytes) {
        const auto sample = static_cast<unsigned>(at / sampleBytes);
        const unsigned pixel = first + sample / kind.samples;
        const unsigned channel = sample % kind.samples;
        auto value = static_cast<quint16>(pixel * (40503U + 2 * channel) + 7777U * channel);
        if (kind.bits == 8 && channel == 3)
            value = static_cast<quint16>(pixel >> 8);
        if (kind.sampleFormat == SAMPLEFORMAT_IEEEFP && kind.bits == 32) {
            const float real = value / 60000.0F - 0.02F;
            std::memcpy(row.data() + at, &real, sizeof real);
        } else if (kind.sampleFormat == SAMPLEFORMAT_IEEEFP) {
            const qfloat16 real(value / 60000.0F - 0.02F);
            std::memcpy(row.data() + at, &real, sizeof real);
        } else {
            std::memcpy(row.data() + at, &value, sampleBytes);
        }
    }
}

// All tiles hold the same.
void writeTiles(TIFF *tiff, const TiffKind &kind)
{
    std::vector<char> tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
    fillRow(tile, kind, 0);
    for (uint32_t number = 0; number < TIFFNumberOfTiles(tiff); ++number) {
        if (TIFFWriteEncodedTile(tiff, number, tile.data(), TIFFTileSize(tiff)) < 0)
            qFatal("the photo cannot be made");
    }
}

QByteArray tiffOf(const TiffKind &kind, QSize size)
{
    const QTemporaryDir folder;
    const QByteArray name = QFile::encodeName(folder.filePath("photo.tif"));
    TIFF *tiff = TIFFOpen(name.constData(), kind.mode);
    describe(tiff, kind, size);
    std::vector<char> row(std::size_t(size.width()) * kind.bits / 8
                          * (kind.planes == PLANARCONFIG_CONTIG ? kind.samples : 1));
    if (kind.tileSide > 0)
        writeTiles(tiff, kind);
    for (int plane = 0;
         kind.tileSide == 0 && plane < (kind.planes == PLANARCONFIG_CONTIG ? 1 : kind.samples);
         ++plane) {
        for (int y = 0; y < size.height(); ++y) {
            fillRow(row, kind, static_cast<unsigned>(y) * size.width());
            if (TIFFWriteScanline(tiff, row.data(), y, static_cast<uint16_t>(plane)) < 0)
                qFatal("the photo cannot be made");
        }
    }
    TIFFClose(tiff);
    QFile file(QFile::decodeName(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Where an entry of the directory begins; it is there.
char *entryOf(QByteArray &photo, quint16 tag)
{
    constexpr qsizetype entryBytes = 12;
    const auto directory = static_cast<qsizetype>(qFromLittleEndian<quint32>(photo.data() + 4));
    char *entry = photo.data() + directory + 2;
    while (qFromLittleEndian<quint16>(entry) != tag)
        entry += entryBytes;
    return entry;
}

// The same picture of one strip, which says that it has so many bytes.
QByteArray withStripOf(QByteArray photo, quint32 bytes)
{
    char *const entry = entryOf(photo, TIFFTAG_STRIPBYTECOUNTS);
    qToLittleEndian<quint16>(TIFF_LONG, entry + 2);
    qToLittleEndian<quint32>(bytes, entry + 8);
    return photo;
}

// The same picture of one strip, of an even number of bytes, with that strip behind
// the directory, where it can be cut off.
QByteArray withPixelsAtTheEnd(QByteArray photo)
{
    const auto directory = static_cast<qsizetype>(qFromLittleEndian<quint32>(photo.data() + 4));
    char *const entry = entryOf(photo, TIFFTAG_STRIPOFFSETS);
    qToLittleEndian<quint16>(TIFF_LONG, entry + 2);
    qToLittleEndian<quint32>(static_cast<quint32>(photo.size()), entry + 8);
    return photo + photo.mid(8, directory - 8);
}

struct NamedKind
{
    const char *name;
    TiffKind kind;
};

} // namespace

class tst_TiffDecoder : public QObject
{
    Q_OBJECT

private slots:
    void pixels_data();
    void pixels();
    void othersAreLeftToTheToolkit_data();
    void othersAreLeftToTheToolkit();
    void tilesAreLeftToTheToolkit();
    void damaged_data();
    void damaged();
    void cutShort_data();
    void cutShort();
    void memoryNeed();
    void memoryNeedOfTheToolkit();
};

void tst_TiffDecoder::pixels_data()
{
    QTest::addColumn<QByteArray>("photo");

    const NamedKind kinds[] = {
        {"16 bits", {}},
        {"16 bits, big endian", {.mode = "wb"}},
        {"16 bits, large file", {.mode = "w8"}},
        {"16 bits, one strip", {.rowsPerStrip = 10000}},
        {"16 bits, packed runs", {.compression = COMPRESSION_PACKBITS}},
        {"16 bits, LZW", {.compression = COMPRESSION_LZW}},
        {"16 bits, LZW, differences", {.compression = COMPRESSION_LZW, .predictor = 2}},
        {"16 bits, deflated, big endian, differences",
         {.compression = COMPRESSION_ADOBE_DEFLATE, .mode = "wb", .predictor = 2}},
        {"16 bits, deflated, one strip",
         {.compression = COMPRESSION_ADOBE_DEFLATE, .rowsPerStrip = 10000}},
        {"16 bits, signed", {.sampleFormat = SAMPLEFORMAT_INT}},
        {"16 bits, turned", {.orientation = ORIENTATION_RIGHTTOP}},
        {"16 bits with alpha", {.samples = 4, .alpha = EXTRASAMPLE_UNASSALPHA}},
        {"16 bits with associated alpha", {.samples = 4, .alpha = EXTRASAMPLE_ASSOCALPHA}},
        {"16 bits and something else", {.samples = 4, .alpha = EXTRASAMPLE_UNSPECIFIED}},
        {"floating, 32 bits", {.bits = 32, .sampleFormat = SAMPLEFORMAT_IEEEFP}},
        {"floating, 32 bits, deflated, differences",
         {.bits = 32,
          .compression = COMPRESSION_ADOBE_DEFLATE,
          .sampleFormat = SAMPLEFORMAT_IEEEFP,
          .predictor = 3}},
        {"floating, 16 bits", {.sampleFormat = SAMPLEFORMAT_IEEEFP}},
        {"8 bits", {.bits = 8}},
        {"8 bits, big endian", {.bits = 8, .mode = "wb"}},
        {"8 bits, one strip of LZW",
         {.bits = 8, .compression = COMPRESSION_LZW, .rowsPerStrip = 10000, .predictor = 2}},
        {"8 bits, flipped", {.bits = 8, .orientation = ORIENTATION_BOTLEFT}},
        {"8 bits with alpha", {.bits = 8, .samples = 4, .alpha = EXTRASAMPLE_UNASSALPHA}},
        {"8 bits with associated alpha",
         {.bits = 8, .samples = 4, .alpha = EXTRASAMPLE_ASSOCALPHA}},
        {"8 bits and something else", {.bits = 8, .samples = 4, .alpha = EXTRASAMPLE_UNSPECIFIED}},
        {"8 bits and something unnamed", {.bits = 8, .samples = 4}},
        {"8 bits, turned", {.bits = 8, .orientation = ORIENTATION_LEFTBOT}},
    };
    for (const auto &[name, kind] : kinds) {
        QTest::addRow("%s, all values", name) << tiffOf(kind, QSize(256, 256));
        for (const QSize size : {QSize(1, 1), QSize(1, 77), QSize(90, 1), QSize(7, 5),
                                 QSize(33, 32), QSize(61, 33), QSize(29, 61)}) {
            QTest::addRow("%s, %d x %d", name, size.width(), size.height()) << tiffOf(kind, size);
        }
    }
}

void tst_TiffDecoder::pixels()
{
    QFETCH(QByteArray, photo);
    DecodedPhoto decoded(photo);
    QVERIFY(decoded.isDecodedBy<photo::TiffDecoder>());
    COMPARE_WITH_TOOLKIT(decoded);
}

void tst_TiffDecoder::othersAreLeftToTheToolkit_data()
{
    QTest::addColumn<QByteArray>("photo");

    const QSize size(40, 50);
    const NamedKind kinds[] = {
        {"channels apart", {.bits = 8, .planes = PLANARCONFIG_SEPARATE}},
        {"four inks", {.bits = 8, .samples = 4, .photometric = PHOTOMETRIC_SEPARATED}},
        {"grey", {.bits = 8, .samples = 1, .photometric = PHOTOMETRIC_MINISBLACK}},
        {"grey of 16 bits", {.samples = 1, .photometric = PHOTOMETRIC_MINISBLACK}},
        {"grey from white to black",
         {.bits = 8, .samples = 1, .photometric = PHOTOMETRIC_MINISWHITE}},
        {"8 bits, signed", {.bits = 8, .sampleFormat = SAMPLEFORMAT_INT}},
        {"JPEG inside", {.bits = 8, .compression = COMPRESSION_JPEG, .rowsPerStrip = 16}},
    };
    for (const auto &[name, kind] : kinds)
        QTest::newRow(name) << tiffOf(kind, size);
}

void tst_TiffDecoder::othersAreLeftToTheToolkit()
{
    QFETCH(QByteArray, photo);
    DecodedPhoto decoded(photo);
    QVERIFY(decoded.isDecodedBy<photo::ToolkitDecoder>());
    COMPARE_WITH_TOOLKIT(decoded);
}

// It may refuse them.
void tst_TiffDecoder::tilesAreLeftToTheToolkit()
{
    const DecodedPhoto decoded(tiffOf({.bits = 8, .tileSide = 16}, QSize(40, 50)));
    QVERIFY(decoded.isDecodedBy<photo::ToolkitDecoder>());
}

void tst_TiffDecoder::damaged_data()
{
    QTest::addColumn<QByteArray>("photo");
    QTest::addColumn<bool>("isEverRefused"); // runs of any length say something

    const QSize size(53, 71);
    QTest::newRow("deflated") << tiffOf({.compression = COMPRESSION_ADOBE_DEFLATE, .predictor = 2},
                                        size)
                              << true;
    QTest::newRow("LZW") << tiffOf({.compression = COMPRESSION_LZW}, size) << true;
    QTest::newRow("packed runs") << tiffOf({.compression = COMPRESSION_PACKBITS}, size) << false;
    QTest::newRow("8 bits, LZW") << tiffOf({.bits = 8, .compression = COMPRESSION_LZW}, size)
                                 << true;
}

// Whatever is wrong with the data, the decoder refuses what the toolkit refuses,
// in the same words, and finds the same pixels in what it reads.
void tst_TiffDecoder::damaged()
{
    QFETCH(QByteArray, photo);
    const auto directory = static_cast<int>(qFromLittleEndian<quint32>(photo.constData() + 4));
    QRandomGenerator random(1);
    constexpr int tries = 300;
    int refused = 0;
    for (int i = 0; i < tries; ++i) {
        QByteArray bad = photo;
        const auto at = static_cast<qsizetype>(8 + random.bounded(directory - 8));
        bad[at] = char(bad[at] ^ (1 << random.bounded(8)));
        DecodedPhoto decoded(bad);
        const QImage actual = decoded.byDecoder();
        const QByteArray wrong = difference(actual, decoded.byToolkit());
        QVERIFY2(wrong.isEmpty(), "byte " + QByteArray::number(at) + ": " + wrong);
        refused += actual.isNull();
        if (actual.isNull())
            QCOMPARE(decoded.reason(), QByteArray("cannot be decoded: Unable to read image data"));
    }
    QTEST(refused > 0, "isEverRefused");
    QVERIFY2(refused < tries, "none was read");
}

void tst_TiffDecoder::cutShort_data()
{
    QTest::addColumn<int>("bits");

    QTest::newRow("8 bits") << 8;
    QTest::newRow("16 bits") << 16;
}

void tst_TiffDecoder::cutShort()
{
    QFETCH(int, bits);
    const QByteArray photo =
        withPixelsAtTheEnd(tiffOf({.bits = bits, .rowsPerStrip = 100}, QSize(53, 70)));
    DecodedPhoto whole(photo);
    COMPARE_WITH_TOOLKIT(whole);
    const int pixelBytes = 53 * 70 * 3 * bits / 8;
    for (int missing = 1; missing < pixelBytes; missing += missing < 30 ? 1 : 211) {
        DecodedPhoto decoded(photo.chopped(missing));
        for (const bool allowed : {false, true}) {
            QVERIFY(decoded.byDecoder(allowed).isNull());
            QCOMPARE(decoded.reason(), QByteArray("cannot be decoded: Unable to read image data"));
        }
        QVERIFY(decoded.byToolkit().isNull());
    }
}

void tst_TiffDecoder::memoryNeed()
{
    const QSize size(300, 200);
    const photo::DecodingOptions options {bandRows, false};
    QBuffer strips;
    strips.setData(tiffOf({}, size));
    QBuffer whole;
    whole.setData(tiffOf({.compression = COMPRESSION_ADOBE_DEFLATE, .rowsPerStrip = 200}, size));
    QVERIFY(strips.open(QIODevice::ReadOnly) && whole.open(QIODevice::ReadOnly));
    const auto few = photo::TiffDecoder::make(strips, QImage::Format_RGBX64, options);
    const auto many = photo::TiffDecoder::make(whole, QImage::Format_RGBX64, options);
    QVERIFY(few && many);
    QVERIFY(few->memoryNeed() > 300 * 32 * (4 + 8));
    QVERIFY(few->memoryNeed() < 300 * 200 * 6);
    // All of the compressed data are one strip, beside about 200 bytes of tags.
    QVERIFY(many->memoryNeed() > whole.size() - 500);
    // No strip is longer than the file, whatever that says.
    QBuffer boasting;
    boasting.setData(withStripOf(whole.data(), 2'000'000'000));
    QVERIFY(boasting.open(QIODevice::ReadOnly));
    const auto one = photo::TiffDecoder::make(boasting, QImage::Format_RGBX64, options);
    QVERIFY(one);
    QVERIFY(one->memoryNeed() < many->memoryNeed() + 1000);
}

// It reads a strip as it is in the file and unpacks it as a whole, beside the
// picture.
void tst_TiffDecoder::memoryNeedOfTheToolkit()
{
    QBuffer inks;
    inks.setData(tiffOf({.bits = 8,
                         .samples = 4,
                         .compression = COMPRESSION_LZW,
                         .rowsPerStrip = 200,
                         .photometric = PHOTOMETRIC_SEPARATED},
                        QSize(300, 200)));
    QVERIFY(inks.open(QIODevice::ReadOnly));
    const photo::ToolkitDecoder decoder(inks, {photo::PhotoFormat::Tiff, "TIFF"}, "tiff",
                                        {bandRows, false});
    QVERIFY(decoder.memoryNeed() > 300 * 200 * (4 + 4) + inks.size() - 500);
    QVERIFY(decoder.memoryNeed() < 300 * 200 * (4 + 4) + inks.size());

    // Of planes that are apart it unpacks as many strips at once.
    QBuffer apart;
    apart.setData(
        tiffOf({.bits = 8, .rowsPerStrip = 200, .planes = PLANARCONFIG_SEPARATE}, QSize(300, 200)));
    QVERIFY(apart.open(QIODevice::ReadOnly));
    const photo::ToolkitDecoder planes(apart, {photo::PhotoFormat::Tiff, "TIFF"}, "tiff",
                                       {bandRows, false});
    QVERIFY(planes.memoryNeed() > 300 * 200 * (4 + 3 + 1));
}

CRAYVELL_TEST_MAIN(tst_TiffDecoder)
#include "tst_tiffdecoder.moc"
