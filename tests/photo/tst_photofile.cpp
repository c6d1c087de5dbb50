#include "photo/photofile.h"

#include <QColorSpace>
#include <QImageReader>

#include <malloc.h>

#include "photo/memorybudget.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/jpegfile.h"
#include "tests/support/pictures.h"
#include "tests/support/pngfile.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

// Four quarters: red, green over blue, white.
QImage quarters()
{
    QImage image(64, 32, QImage::Format_RGB32);
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 64; ++x) {
            const QRgb upper = x < 32 ? qRgb(255, 0, 0) : qRgb(0, 255, 0);
            const QRgb lower = x < 32 ? qRgb(0, 0, 255) : qRgb(255, 255, 255);
            image.setPixel(x, y, y < 16 ? upper : lower);
        }
    }
    return image;
}

char nameOf(QRgb colour)
{
    const bool red = qRed(colour) > 128;
    const bool green = qGreen(colour) > 128;
    return red && green ? 'w' : red ? 'r' : green ? 'g' : 'b';
}

// The colours of the quarters, row by row.
QByteArray quartersOf(const QImage &image)
{
    const int x = image.width() / 4;
    const int y = image.height() / 4;
    QByteArray names;
    for (const QPoint point :
         {QPoint(x, y), QPoint(3 * x, y), QPoint(x, 3 * y), QPoint(3 * x, 3 * y)})
        names += nameOf(image.pixel(point));
    return names;
}

} // namespace

class PhotoFileTest : public QObject
{
    Q_OBJECT

private slots:
    void fileOfTheNameOfStandardInput();
    void orientation_data();
    void orientation();
    void jpegIsTheToolkits_data();
    void jpegIsTheToolkits();
    void nameForDoubleResolution();
    void hugePhotoOpens();
    void textsAreNoHindrance_data();
    void textsAreNoHindrance();
    void bombIsRefusedAtOnce_data();
    void bombIsRefusedAtOnce();
    void valuesNoPictureNeedsAreNotRead_data();
    void valuesNoPictureNeedsAreNotRead();
    void skippedPixelsAreTheSameEveryTime();
    void bmpStoredFromTheTop();
    void photoBeyondTheMemoryIsRefused();
    void animationBeyondTheMemoryIsRefused();
    void memoryBoundIsTheMachines();
    void allocationLimitIsGivenBack();
    void canonicalDirectoryOf_data();
    void canonicalDirectoryOf();

private:
    QString put(const QString &name, const QByteArray &content)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
        return file.fileName();
    }

    QTemporaryDir m_folder;
};

void PhotoFileTest::orientation_data()
{
    QTest::addColumn<int>("tag");
    QTest::addColumn<QByteArray>("upright");
    QTest::newRow("no tag") << 0 << QByteArray("rgbw");
    QTest::newRow("1, as stored") << 1 << QByteArray("rgbw");
    QTest::newRow("2, mirrored left to right") << 2 << QByteArray("grwb");
    QTest::newRow("3, upside down") << 3 << QByteArray("wbgr");
    QTest::newRow("4, mirrored top to bottom") << 4 << QByteArray("bwrg");
    QTest::newRow("5, transposed") << 5 << QByteArray("rbgw");
    QTest::newRow("6, to be turned clockwise") << 6 << QByteArray("brwg");
    QTest::newRow("7, transversed") << 7 << QByteArray("wgbr");
    QTest::newRow("8, to be turned anticlockwise") << 8 << QByteArray("gwrb");
}

void PhotoFileTest::orientation()
{
    QFETCH(int, tag);
    QFETCH(QByteArray, upright);
    const QImage photo =
        photo::readPhoto(put(QStringLiteral("turned.jpg"), jpegFile(quarters(), tag))).image;
    QCOMPARE(photo.size(), tag < 5 ? QSize(64, 32) : QSize(32, 64));
    QCOMPARE(photo.format(), QImage::Format_ARGB32);
    QCOMPARE(quartersOf(photo), upright);
}

void PhotoFileTest::jpegIsTheToolkits_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<int>("tag");
    QTest::addColumn<int>("percent"); // of the file
    for (const auto format : {QImage::Format_RGB32, QImage::Format_Grayscale8}) {
        const char *const name = format == QImage::Format_RGB32 ? "colour" : "grey";
        for (int tag = 0; tag <= 8; ++tag)
            QTest::addRow("%s, orientation %d", name, tag) << format << tag << 100;
        for (const int percent : {40, 70, 99})
            QTest::addRow("%s, cut at %d percent", name, percent) << format << 0 << percent;
    }
}

// The toolkit's own loading, turned upright and converted.
void PhotoFileTest::jpegIsTheToolkits()
{
    QFETCH(QImage::Format, format);
    QFETCH(int, tag);
    QFETCH(int, percent);
    QImage picture = pictures::noise(77, 61).convertToFormat(format);
    picture.setText(QStringLiteral("Description"), QStringLiteral("at the sea"));
    picture.setDotsPerMeterX(11811);
    picture.setDotsPerMeterY(5906);
    const QByteArray file = jpegFile(picture, tag);
    const QString path = put(QStringLiteral("photo.jpg"), file.first(file.size() * percent / 100));

    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage expected = reader.read().convertToFormat(QImage::Format_ARGB32);
    QVERIFY(!expected.isNull());
    const photo::Photo photo = photo::readPhoto(path);
    QVERIFY(photo.isOpaque);
    QCOMPARE(photo.image.format(), QImage::Format_ARGB32);
    QCOMPARE(pictures::difference(photo.image, expected), QString());
    QCOMPARE(photo.image.text(), expected.text());
    QCOMPARE(photo.image.dotsPerMeterX(), expected.dotsPerMeterX());
    QCOMPARE(photo.image.dotsPerMeterY(), expected.dotsPerMeterY());
    QCOMPARE(photo.image.colorSpace(), expected.colorSpace());
}

void PhotoFileTest::nameForDoubleResolution()
{
    const QString path = m_folder.filePath(QStringLiteral("beach@2x.png"));
    QVERIFY(pictures::noise(30, 20).save(path));
    const QImage photo = photo::readPhoto(path).image;
    QCOMPARE(photo.devicePixelRatio(), 1.0);
    QCOMPARE(QPixmap::fromImage(photo).deviceIndependentSize(), QSizeF(30, 20));
    QCOMPARE(pictures::difference(photo, pictures::noise(30, 20)), QString());
}

// 108 megapixels take 432 MB, more than the toolkit's own limit.
void PhotoFileTest::hugePhotoOpens()
{
    const QSize size(12000, 9000);
    if (photo::availableMemory() < photo::photoMemoryNeed(size.width(), size.height()))
        QSKIP("this machine has too little memory for 108 megapixels");
    QImage image(size, QImage::Format_RGB32);
    image.fill(qRgb(200, 100, 50));
    const QString path = put(QStringLiteral("huge.jpg"), jpegFile(image));
    image = QImage();
    QVERIFY(QImageReader::allocationLimit() < 432);
    const QImage photo = photo::readPhoto(path).image;
    QCOMPARE(photo.size(), size);
    QVERIFY(qAbs(qRed(photo.pixel(11999, 8999)) - 200) < 4);
}

void PhotoFileTest::textsAreNoHindrance_data()
{
    QTest::addColumn<QByteArray>("file");
    QByteArray prose;
    for (int i = 0; i < 2000; ++i)
        prose += QByteArray::number(i * i % 1013, 36) + ' ';
    QTest::newRow("four that unpack to nearly 8 million bytes") << pngWithTexts(4);
    QTest::newRow("300 packed ones") << pngWithTexts(300, PngText::Packed, prose);
    QTest::newRow("300 international ones") << pngWithTexts(300, PngText::International, prose);
    QTest::newRow("300 packed international ones")
        << pngWithTexts(300, PngText::InternationalPacked, prose);
    QTest::newRow("a bomb behind the end")
        << pngFollowedBy(pngWithTexts(60).mid(33)); // without signature and header
}

void PhotoFileTest::textsAreNoHindrance()
{
    QFETCH(QByteArray, file);
    const QString path = put(QStringLiteral("texts.png"), file);
    QCOMPARE(photo::readPhoto(path).image.pixel(0, 0), qRgb(255, 255, 255));
}

void PhotoFileTest::bombIsRefusedAtOnce_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("one bit a pixel") << pngHeader(900000, 900000, 1, 0);
    QTest::newRow("colour") << pngHeader(300000, 300000, 8, 2);
    QTest::newRow("sixteen bits, alpha") << pngHeader(200000, 200000, 16, 6);
    QTest::newRow("texts") << pngWithTexts(60);
    QTest::newRow("international texts") << pngWithTexts(60, PngText::InternationalPacked);
    QTest::newRow("a megabyte of texts") << pngWithTexts(130);
    QTest::newRow("texts that are larger than a text may be")
        << pngWithTexts(60, PngText::Packed, QByteArray(9'000'000, 'a'));
    QByteArray pixmap("P6 400000 400000 255\n");
    QTest::newRow("portable pixmap") << pixmap;
    QTest::newRow("bmp stored from the top")
        << hostilephotos::bmp(100'000, -100'000, 0, QByteArray(1000, 'a'), 0);
    QTest::newRow("segments without end") << hostilephotos::jpegWithSegments(100'000);
    QTest::newRow("segments behind the picture") << hostilephotos::jpegWithSegments(0, 100'000);
    QTest::newRow("scans hidden in segments") << hostilephotos::jpegWithHiddenScans(20'000);
    QTest::newRow("scans without end") << hostilephotos::jpegWithScans(4'000, QSize(1200, 1000));
}

void PhotoFileTest::bombIsRefusedAtOnce()
{
    QFETCH(QByteArray, file);
    const QString path = put(QStringLiteral("bomb.png"), file);
    QVERIFY(process::forgetPeak());
    const qint64 before = process::peakResidentMemory();
    const qint64 begin = process::ownProcessorTime();
    QVERIFY(photo::readPhoto(path).image.isNull());
    const qint64 taken = process::ownProcessorTime() - begin;
    QVERIFY2(taken < 5000, qPrintable(QString::number(taken)));
    QVERIFY(process::peakResidentMemory() - before < 20'000'000);
}

void PhotoFileTest::valuesNoPictureNeedsAreNotRead_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("a megabyte for a thousand tags")
        << hostilephotos::tiffWithSharedValues(1000, false);
    QTest::newRow("the same in a big file") << hostilephotos::tiffWithSharedValues(1000, true);
    QTest::newRow("layers") << hostilephotos::tiffWithSharedValues(1, false, 100'000'000);
}

void PhotoFileTest::valuesNoPictureNeedsAreNotRead()
{
    QFETCH(QByteArray, file);
    const QString path = put(QStringLiteral("values.tif"), file);
    QVERIFY(process::forgetPeak());
    const qint64 before = process::peakResidentMemory();
    const qint64 begin = process::ownProcessorTime();
    QCOMPARE(photo::readPhoto(path).image.size(), QSize(16, 16));
    const qint64 taken = process::ownProcessorTime() - begin;
    QVERIFY2(taken < 5000, qPrintable(QString::number(taken)));
    QVERIFY(process::peakResidentMemory() - before < 20'000'000);
}

// Whatever the memory held before.
void PhotoFileTest::skippedPixelsAreTheSameEveryTime()
{
    const QString path =
        put(QStringLiteral("skips.bmp"), hostilephotos::bmpWithSkippedPixels(600, 400));
    mallopt(M_PERTURB, 85);
    const QImage first = photo::readPhoto(path).image;
    mallopt(M_PERTURB, 17);
    const QImage second = photo::readPhoto(path).image;
    mallopt(M_PERTURB, 0);
    QCOMPARE(first.size(), QSize(600, 400));
    QCOMPARE(first.pixel(2, 7), qRgb(128, 128, 128));
    QCOMPARE(first.pixel(300, 7), qRgb(0, 0, 0)); // the first of the palette
    QCOMPARE(first, second);
}

void PhotoFileTest::bmpStoredFromTheTop()
{
    const QByteArray rows = QByteArray(40, '\x10') + QByteArray(40, '\x20');
    const QImage photo =
        photo::readPhoto(put(QStringLiteral("top.bmp"), hostilephotos::bmp(40, -2, 0, rows, 80)))
            .image;
    QCOMPARE(photo.size(), QSize(40, 2));
    QCOMPARE(photo.pixel(39, 0), qRgb(16, 16, 16));
    QCOMPARE(photo.pixel(0, 1), qRgb(32, 32, 32));
}

// The bound follows the machine: with less memory the same photo is refused.
void PhotoFileTest::photoBeyondTheMemoryIsRefused()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer needs the whole address space");
    QImage image(3000, 2000, QImage::Format_RGB32);
    image.fill(Qt::gray);
    const QString path = put(QStringLiteral("large.jpg"), jpegFile(image));
    const qint64 need = photo::photoMemoryNeed(3000, 2000);
    {
        const process::ResourceLimit limit(RLIMIT_AS, process::addressSpace() + need / 2);
        QVERIFY(photo::availableMemory() <= need / 2);
        QVERIFY(photo::readPhoto(path).image.isNull());
    }
    QCOMPARE(photo::readPhoto(path).image.size(), QSize(3000, 2000));
}

// Of its canvas nothing is made to learn its size.
void PhotoFileTest::animationBeyondTheMemoryIsRefused()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer needs the whole address space");
    const QString path =
        put(QStringLiteral("animation.webp"), hostilephotos::animatedWebP(16384, 16384));
    const process::ResourceLimit limit(RLIMIT_AS, process::addressSpace() + 3'000'000'000);
    QVERIFY(process::forgetPeak());
    const qint64 before = process::peakResidentMemory();
    QVERIFY(photo::readPhoto(path).image.isNull());
    QVERIFY(process::peakResidentMemory() - before < 20'000'000);
}

void PhotoFileTest::memoryBoundIsTheMachines()
{
    const qint64 physical = static_cast<qint64>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
    QVERIFY(photo::availableMemory() > 0);
    QVERIFY(photo::availableMemory() <= physical);
}

void PhotoFileTest::allocationLimitIsGivenBack()
{
    const int before = QImageReader::allocationLimit();
    photo::readPhoto(put(QStringLiteral("small.jpg"), jpegFile(quarters())));
    QCOMPARE(QImageReader::allocationLimit(), before);
}

void PhotoFileTest::canonicalDirectoryOf_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("exists");
    QTest::newRow("a file") << QStringLiteral("there.txt") << true;
    QTest::newRow("a missing file") << QStringLiteral("missing.txt") << false;
    QTest::newRow("a file in a missing folder") << QStringLiteral("gone/missing.txt") << false;
}

void PhotoFileTest::canonicalDirectoryOf()
{
    QFETCH(QString, name);
    QFETCH(bool, exists);
    put(QStringLiteral("there.txt"), "x");
    QCOMPARE(photo::canonicalDirectory(m_folder.filePath(name)),
             exists ? QDir(m_folder.path()).canonicalPath() : QString());
    QCOMPARE(photo::canonicalDirectory(QString()), QString());
    QCOMPARE(photo::canonicalDirectory(QStringLiteral("nowhere-to-be-found")), QString());
}

void PhotoFileTest::fileOfTheNameOfStandardInput()
{
    QVERIFY(quarters().save(m_folder.filePath(QStringLiteral("-")), "png"));
    const QString former = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_folder.path()));
    const QImage read = photo::readPhoto(QStringLiteral("-")).image;
    QVERIFY(QDir::setCurrent(former));
    QCOMPARE(quartersOf(read), QByteArray("rgbw"));
}

CRAYVELL_TEST_MAIN(PhotoFileTest)
#include "tst_photofile.moc"
