#include <QColorSpace>
#include <QImageReader>

#include <exiv2/exiv2.hpp>
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

class tst_BatchMetadata : public QObject
{
    Q_OBJECT

private slots:
    void exifIsKept();
    void exifOfTurnedPhotoIsUpright();
    void exifInPng();
    void orientationOfPngAndWebP_data();
    void orientationOfPngAndWebP();
    void stripDropsExif();
    void colourProfileIsNotAttached();
    void preserveKeepsTime();
};

namespace {

// A photo with date, camera, place, thumbnail, orientation and sizes.
QByteArray photoWithExif(const QByteArray &photo, int orientation)
{
    Exiv2::ExifData exif;
    exif["Exif.Image.Make"] = "Tester";
    exif["Exif.Image.Orientation"] = uint16_t(orientation);
    exif["Exif.Photo.DateTimeOriginal"] = "2021:06:05 04:03:02";
    exif["Exif.Photo.PixelXDimension"] = uint32_t(64);
    exif["Exif.Photo.PixelYDimension"] = uint32_t(48);
    exif["Exif.GPSInfo.GPSLatitudeRef"] = "N";
    exif["Exif.GPSInfo.GPSLatitude"] = "54/1 20/1 0/1";
    const QByteArray thumbnail = testphotos::jpeg(16, 12);
    Exiv2::ExifThumb(exif).setJpegThumbnail(
        reinterpret_cast<const Exiv2::byte *>(thumbnail.constData()),
        static_cast<std::size_t>(thumbnail.size()));
    auto image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(photo.constData()),
                                           static_cast<std::size_t>(photo.size()));
    image->setExifData(exif);
    image->writeMetadata();
    Exiv2::BasicIo &io = image->io();
    io.open();
    QByteArray bytes(static_cast<qsizetype>(io.size()), '\0');
    io.read(reinterpret_cast<Exiv2::byte *>(bytes.data()), static_cast<long>(bytes.size()));
    return bytes;
}

Exiv2::ExifData exifOf(const QString &file)
{
    auto image = Exiv2::ImageFactory::open(QFile::encodeName(file).toStdString());
    image->readMetadata();
    return image->exifData();
}

std::string text(const Exiv2::ExifData &exif, const char *key)
{
    const auto datum = exif.findKey(Exiv2::ExifKey(key));
    return datum == exif.end() ? "missing" : datum->toString();
}

void compareKept(const Exiv2::ExifData &exif)
{
    QCOMPARE(text(exif, "Exif.Image.Make"), "Tester");
    QCOMPARE(text(exif, "Exif.Photo.DateTimeOriginal"), "2021:06:05 04:03:02");
    QCOMPARE(text(exif, "Exif.GPSInfo.GPSLatitude"), "54/1 20/1 0/1");
    QCOMPARE(text(exif, "Exif.Image.Orientation"), "1");
    QCOMPARE(std::string(Exiv2::ExifThumbC(exif).mimeType()), "");
}

} // namespace

void tst_BatchMetadata::exifIsKept()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 1));
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    const Exiv2::ExifData exif = exifOf(batch.path("a-sketch.jpg"));
    compareKept(exif);
    QCOMPARE(text(exif, "Exif.Photo.PixelXDimension"), "64");
    COMPARE_EXIT(batch.run({"-", "-o", "b.jpg"}, batch.contents("a.jpg")), 0);
    QCOMPARE(batch.contents("b.jpg"), batch.contents("a-sketch.jpg"));
}

void tst_BatchMetadata::exifOfTurnedPhotoIsUpright()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 6));
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(48, 64));
    const Exiv2::ExifData exif = exifOf(batch.path("a-sketch.jpg"));
    compareKept(exif);
    QCOMPARE(text(exif, "Exif.Photo.PixelXDimension"), "48");
    QCOMPARE(text(exif, "Exif.Photo.PixelYDimension"), "64");
}

void tst_BatchMetadata::exifInPng()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 3));
    COMPARE_EXIT(batch.run({"--format", "png", "a.jpg"}), 0);
    compareKept(exifOf(batch.path("a-sketch.png")));
    const QByteArray tiff = testphotos::encoded(testphotos::scene(64, 48), "tiff");
    batch.write("b.tif", photoWithExif(tiff, 1));
    COMPARE_EXIT(batch.run({"b.tif"}), 0);
    const Exiv2::ExifData exif = exifOf(batch.path("b-sketch.jpg"));
    QCOMPARE(text(exif, "Exif.Image.Make"), "Tester");
    QCOMPARE(text(exif, "Exif.Image.StripOffsets"), "missing");
    QCOMPARE(text(exif, "Exif.Image.BitsPerSample"), "missing");
}

void tst_BatchMetadata::orientationOfPngAndWebP_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<int>("orientation");

    for (const char *format : {"png", "webp"}) {
        QTest::addRow("%s, upright", format) << QByteArray(format) << 1;
        QTest::addRow("%s, turned round", format) << QByteArray(format) << 3;
        QTest::addRow("%s, turned", format) << QByteArray(format) << 6;
    }
}

// The window shows these formats as they are stored, whatever their EXIF data say.
// The sketch has the same pixels, and keeps the tag, which is true of them.
void tst_BatchMetadata::orientationOfPngAndWebP()
{
    QFETCH(QByteArray, format);
    QFETCH(int, orientation);
    const QByteArray plain =
        testphotos::encoded(testphotos::scene(64, 48), format, {}, format == "webp" ? 100 : -1);
    BatchProcess batch;
    batch.write("plain", plain);
    batch.write("tagged", photoWithExif(plain, orientation));
    QImageReader window(batch.path("tagged"));
    window.setDecideFormatFromContent(true);
    window.setAutoTransform(true);
    const QImage shown = window.read();
    QCOMPARE(shown.size(), QSize(64, 48));
    QCOMPARE(shown, QImage(batch.path("plain")));

    COMPARE_EXIT(batch.run({"-o", "plain.png", "plain"}), 0);
    COMPARE_EXIT(batch.run({"-o", "tagged.png", "tagged"}), 0);
    QCOMPARE(QImage(batch.path("tagged.png")), QImage(batch.path("plain.png")));
    QCOMPARE(text(exifOf(batch.path("tagged.png")), "Exif.Image.Orientation"),
             std::to_string(orientation));
}

void tst_BatchMetadata::stripDropsExif()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 6));
    COMPARE_EXIT(batch.run({"--strip", "a.jpg"}), 0);
    QVERIFY(exifOf(batch.path("a-sketch.jpg")).empty());
    QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(48, 64));
}

void tst_BatchMetadata::colourProfileIsNotAttached()
{
    QImage photo = testphotos::scene(40, 30);
    photo.setColorSpace(QColorSpace::AdobeRgb);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::encoded(photo, "jpeg"));
    QVERIFY(batch.contents("a.jpg").contains("ICC_PROFILE"));
    for (const char *format : {"jpg", "png"})
        COMPARE_EXIT(batch.run({"--format", format, "a.jpg"}), 0);
    QVERIFY(!batch.contents("a-sketch.jpg").contains("ICC_PROFILE"));
    QVERIFY(!batch.contents("a-sketch.png").contains("iCCP"));
}

void tst_BatchMetadata::preserveKeepsTime()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const timespec times[2] = {{1000000000, 5}, {1234567890, 123456789}};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(batch.path("a.jpg")).constData(), times, 0), 0);
    COMPARE_EXIT(batch.run({"--preserve", "a.jpg"}), 0);
    struct stat status
    {
    };
    QCOMPARE(stat(QFile::encodeName(batch.path("a-sketch.jpg")).constData(), &status), 0);
    QCOMPARE(status.st_mtim.tv_sec, 1234567890);
    QCOMPARE(status.st_mtim.tv_nsec, 123456789);
    COMPARE_EXIT(batch.run({"-o", "b.jpg", "a.jpg"}), 0);
    QVERIFY(QFileInfo(batch.path("b.jpg")).lastModified().date().year() > 2009);
}

CRAYVELL_TEST_MAIN(tst_BatchMetadata)
#include "tst_batchmetadata.moc"
