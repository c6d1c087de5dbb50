#include "photo/photoformat.h"

#include "tests/support/testmain.h"

using photo::PhotoFormat;

class PhotoFormatTest : public QObject
{
    Q_OBJECT

private slots:
    void content_data();
    void content();
    void readers_data();
    void readers();
    void suffixes_data();
    void suffixes();
};

void PhotoFormatTest::content_data()
{
    QTest::addColumn<QByteArray>("beginning");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("name"); // empty: nothing that is known
    QTest::addColumn<bool>("isRead");

    const auto row = [](const char *title, const QByteArray &beginning, const char *fileName,
                        const char *name, bool isRead) {
        QTest::newRow(title) << (beginning + QByteArray(64, '\0')) << QString(fileName)
                             << QString(name) << isRead;
    };
    const QByteArray bmp = "BM" + QByteArray(12, '\x7f');
    row("JPEG", "\xff\xd8\xff", "a", "JPEG", true);
    row("a marker too few for a JPEG", "\xff\xd8", "a.jpg", "", false);
    row("PNG", "\x89PNG\r\n\x1a\n", "a.jpg", "PNG", true);
    row("PNG sent as text", "\x89PNG\n\x1a\n", "a.png", "", false);
    row("little-endian TIFF", QByteArray("II*\0", 4), "a.tif", "TIFF", true);
    row("big-endian TIFF", QByteArray("MM\0*", 4), "a.tif", "TIFF", true);
    row("little-endian BigTIFF", QByteArray("II+\0", 4), "a.tif", "TIFF", true);
    row("big-endian BigTIFF", QByteArray("MM\0+", 4), "a.tif", "TIFF", true);
    row("raw that begins as a TIFF", QByteArray("II*\0", 4), "a.NEF", "camera raw", false);
    row("raw that begins as another TIFF", QByteArray("MM\0*", 4), "a.iiq", "camera raw", false);
    row("raw that says so", QByteArray("II*\0abcdCR\2", 11), "a.tif", "camera raw", false);
    row("WebP", "RIFFabcdWEBPVP8 ", "a", "WebP", true);
    row("WebP, extended", "RIFFabcdWEBPVP8X", "a", "WebP", true);
    row("another RIFF", "RIFFabcdWAVEfmt ", "a.webp", "", false);
    row("GIF of 1987", "GIF87a", "a", "GIF", true);
    row("GIF of 1989", "GIF89a", "a", "GIF", true);
    row("GIF of no year", "GIF90a", "a.gif", "", false);
    for (const char *const separator : {" ", "\t", "\n", "\v", "\f", "\r", "#"}) {
        const QByteArray title = QByteArray("behind P6 comes ") + QByteArray(separator).toHex();
        row(title, QByteArray("P6") + separator, "a", "PPM", true);
    }
    row("plain PPM", "P3\n", "a", "PPM", true);
    row("plain PGM", "P2\n", "a", "PGM", true);
    row("PGM", "P5\n", "a", "PGM", true);
    row("words that begin with P6", "P6x", "a.ppm", "", false);
    row("BMP of the oldest kind", bmp + QByteArray("\x0c\0\0\0", 4), "a", "BMP", true);
    row("BMP", bmp + QByteArray("\x28\0\0\0", 4), "a", "BMP", true);
    row("BMP with a mask", bmp + QByteArray("\x38\0\0\0", 4), "a", "BMP", true);
    row("BMP with a colour space", bmp + QByteArray("\x7c\0\0\0", 4), "a", "BMP", true);
    row("BMP of an unknown header", bmp + QByteArray("\x29\0\0\0", 4), "a.bmp", "", false);
    row("BMP of a huge header", bmp + QByteArray("\x28\0\1\0", 4), "a.bmp", "", false);
    row("AVIF", "abcdftypavif", "a", "AVIF", false);
    row("HEIF", "abcdftypheic", "a.jpg", "HEIF", false);
    row("HEIF of another brand", "abcdftypmif1", "a", "HEIF", false);
    row("film", "abcdftypisom", "a", "MP4", false);
    row("JPEG XL", "\xff\x0a", "a", "JPEG XL", false);
    row("JPEG XL in a container", QByteArray("\0\0\0\x0cJXL \r\n", 10), "a", "JPEG XL", false);
    row("JPEG 2000", QByteArray("\0\0\0\x0cjP  \r\n", 10), "a", "JPEG 2000", false);
    row("PSD", "8BPS", "a.jpg", "PSD", false);
    row("PDF", "%PDF-1.4", "a.jpg", "PDF", false);
    row("bitmap of bits", "P4\n", "a", "PBM", false);
    row("SVG", "<svg ", "a.jpg", "SVG", false);
    row("gzip", "\x1f\x8b", "a.jpg", "gzip", false);
    row("text", "Dear Sir", "a.jpg", "", false);
}

void PhotoFormatTest::content()
{
    QFETCH(QByteArray, beginning);
    QFETCH(QString, fileName);
    QFETCH(bool, isRead);
    const photo::ContentKind kind = photo::contentKind(beginning, fileName.toStdString());
    QTEST(QString::fromStdString(kind.name), "name");
    QCOMPARE(kind.format != PhotoFormat::Unknown, isRead);
}

void PhotoFormatTest::readers_data()
{
    QTest::addColumn<PhotoFormat>("format");
    QTest::addColumn<QByteArray>("beginning");
    QTest::addColumn<QByteArray>("reader");
    QTest::newRow("JPEG") << PhotoFormat::Jpeg << QByteArray("\xff\xd8") << QByteArray("jpeg");
    QTest::newRow("TIFF") << PhotoFormat::Tiff << QByteArray("II*") << QByteArray("tiff");
    QTest::newRow("WebP") << PhotoFormat::WebP << QByteArray("RIFF") << QByteArray("webp");
    QTest::newRow("BMP") << PhotoFormat::Bmp << QByteArray("BM") << QByteArray("bmp");
    QTest::newRow("GIF") << PhotoFormat::Gif << QByteArray("GIF87a") << QByteArray("gif");
    QTest::newRow("plain PGM") << PhotoFormat::Ppm << QByteArray("P2\n") << QByteArray("pgm");
    QTest::newRow("plain PPM") << PhotoFormat::Ppm << QByteArray("P3\n") << QByteArray("ppm");
    QTest::newRow("PGM") << PhotoFormat::Ppm << QByteArray("P5\n") << QByteArray("pgm");
    QTest::newRow("PPM") << PhotoFormat::Ppm << QByteArray("P6\n") << QByteArray("ppm");
}

void PhotoFormatTest::readers()
{
    QFETCH(PhotoFormat, format);
    QFETCH(QByteArray, beginning);
    QTEST(QByteArray(photo::readerName(format, beginning)), "reader");
}

void PhotoFormatTest::suffixes_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("isPicture");
    for (const char *name : {"a.jpg", "a.JPEG", "a.jpe", "a.jfif", "a.Png", "b/a.tif", "a.tiff",
                             "a.bmp", "a.dib", "a.gif", "a.webp", "a.ppm", "a.pgm", "a.pnm",
                             "a.heic", "a.heif", "a.avif", "a.jxl", "a.b.jpg"})
        QTest::newRow(name) << QString(name) << true;
    for (const char *name : {"a", "jpg", ".jpg", "a.jpg.txt", "a.jp", "a.jpgx", "a.nef", "a.jpg/b"})
        QTest::newRow(name) << QString(name) << false;
}

void PhotoFormatTest::suffixes()
{
    QFETCH(QString, fileName);
    QTEST(photo::hasPictureSuffix(fileName.toStdString()), "isPicture");
}

CRAYVELL_TEST_MAIN(PhotoFormatTest)
#include "tst_photoformat.moc"
