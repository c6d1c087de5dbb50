#include "photo/argb32.h"

#include <QColorSpace>

#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

using photo::UnusedAlpha;

namespace {

// With all that a picture has beside its pixels.
void describe(QImage &picture)
{
    picture.setText(QStringLiteral("Comment"), QStringLiteral("at the sea"));
    picture.setDotsPerMeterX(11811);
    picture.setDotsPerMeterY(5906);
    picture.setColorSpace(QColorSpace::AdobeRgb);
    picture.setOffset({3, -4});
    picture.setDevicePixelRatio(2);
}

// What differs beside the pixels; empty when nothing does.
QByteArrayList descriptionDifferences(const QImage &a, const QImage &b)
{
    QByteArrayList differences;
    const auto compare = [&](const char *what, bool isEqual) {
        if (!isEqual)
            differences += what;
    };
    compare("texts", a.text() == b.text());
    compare("resolution across", a.dotsPerMeterX() == b.dotsPerMeterX());
    compare("resolution down", a.dotsPerMeterY() == b.dotsPerMeterY());
    compare("colour space", a.colorSpace() == b.colorSpace());
    compare("offset", a.offset() == b.offset());
    compare("device pixel ratio", a.devicePixelRatio() == b.devicePixelRatio());
    return differences;
}

int levelAt(int x, int y)
{
    return (x * 31 + y * 77 + x * y % 13) % 256;
}

void fillWithLevels(QImage &grey)
{
    for (int y = 0; y < grey.height(); ++y)
        for (int x = 0; x < grey.width(); ++x)
            grey.scanLine(y)[x] = static_cast<uchar>(levelAt(x, y));
}

QImage expectedColours(QSize size)
{
    QImage colours(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            colours.setPixel(x, y, qRgb(levelAt(x, y), levelAt(x, y), levelAt(x, y)));
    return colours;
}

} // namespace

class Argb32Test : public QObject
{
    Q_OBJECT

private slots:
    void grey_data();
    void grey();
    void greyWithin_data() { grey_data(); }
    void greyWithin();
    void otherMemoryIsLeftAside();
    void otherFormats_data();
    void otherFormats();
    void undefinedAlphaBecomesOpaque();
    void opaqueOneKeepsItsMemory();
};

void Argb32Test::grey_data()
{
    QTest::addColumn<QSize>("size");
    for (int width = 1; width <= 9; ++width)
        QTest::addRow("%d wide, 7 high", width) << QSize(width, 7);
    QTest::newRow("one pixel") << QSize(1, 1);
    QTest::newRow("one column") << QSize(1, 300);
    QTest::newRow("one row") << QSize(301, 1);
    QTest::newRow("a row and a bit of vectors") << QSize(67, 2);
    QTest::newRow("odd") << QSize(333, 201);
    QTest::newRow("in large pages") << QSize(1501, 1003);
}

void Argb32Test::grey()
{
    QFETCH(QSize, size);
    QImage grey(size, QImage::Format_Grayscale8);
    fillWithLevels(grey);
    describe(grey);
    const QImage colours = photo::toArgb32(grey, UnusedAlpha::Opaque);
    QCOMPARE(colours.format(), QImage::Format_ARGB32);
    QCOMPARE(pictures::difference(colours, expectedColours(size)), QString());
    QCOMPARE(descriptionDifferences(colours, grey), QByteArrayList());
}

void Argb32Test::greyWithin()
{
    QFETCH(QSize, size);
    QImage memory(size, QImage::Format_ARGB32);
    memory.fill(0x12345678);
    const uchar *const bits = memory.constBits();
    QImage grey = photo::greyWithin(memory);
    QCOMPARE(grey.size(), size);
    QCOMPARE(grey.format(), QImage::Format_Grayscale8);
    fillWithLevels(grey);
    QVERIFY(grey.constBits() >= bits);
    describe(grey);
    const QImage colours = photo::toArgb32(grey, UnusedAlpha::Opaque, std::move(memory));
    QCOMPARE(colours.constBits(), bits);
    QCOMPARE(colours.format(), QImage::Format_ARGB32);
    QCOMPARE(pictures::difference(colours, expectedColours(size)), QString());
    QCOMPARE(descriptionDifferences(colours, grey), QByteArrayList());
}

// As where the reader turned the picture upright.
void Argb32Test::otherMemoryIsLeftAside()
{
    QImage memory(40, 30, QImage::Format_ARGB32);
    memory.fill(0x12345678);
    QImage grey(30, 40, QImage::Format_Grayscale8);
    fillWithLevels(grey);
    const QImage colours = photo::toArgb32(grey, UnusedAlpha::Opaque, memory);
    QCOMPARE(pictures::difference(colours, expectedColours({30, 40})), QString());
    QCOMPARE(memory.pixel(39, 29), 0x12345678);
}

void Argb32Test::otherFormats_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("monochrome") << QImage::Format_Mono;
    QTest::newRow("indexed") << QImage::Format_Indexed8;
    QTest::newRow("without alpha") << QImage::Format_RGB32;
    QTest::newRow("of three bytes") << QImage::Format_RGB888;
    QTest::newRow("with alpha") << QImage::Format_ARGB32;
    QTest::newRow("with alpha, multiplied") << QImage::Format_ARGB32_Premultiplied;
    QTest::newRow("of 16 bits") << QImage::Format_RGBA64;
    QTest::newRow("grey of 16 bits") << QImage::Format_Grayscale16;
}

void Argb32Test::otherFormats()
{
    QFETCH(QImage::Format, format);
    QImage picture = pictures::noise(61, 47).convertToFormat(format);
    describe(picture);
    for (const UnusedAlpha alpha : {UnusedAlpha::Opaque, UnusedAlpha::Undefined}) {
        const QImage colours = photo::toArgb32(picture, alpha);
        QCOMPARE(colours.format(), QImage::Format_ARGB32);
        QCOMPARE(colours, picture.convertToFormat(QImage::Format_ARGB32));
        QCOMPARE(descriptionDifferences(colours, picture), QByteArrayList());
    }
    QVERIFY(photo::toArgb32(QImage(), UnusedAlpha::Opaque).isNull());
}

void Argb32Test::undefinedAlphaBecomesOpaque()
{
    QImage picture(5, 3, QImage::Format_ARGB32);
    picture.fill(0x12345678);
    picture.reinterpretAsFormat(QImage::Format_RGB32);
    const QImage colours = photo::toArgb32(picture, UnusedAlpha::Undefined);
    QCOMPARE(colours.pixel(4, 2), 0xff345678);
}

void Argb32Test::opaqueOneKeepsItsMemory()
{
    QImage picture = pictures::noise(61, 47).convertToFormat(QImage::Format_RGB32);
    const uchar *const bits = picture.constBits();
    QCOMPARE(photo::toArgb32(std::move(picture), UnusedAlpha::Opaque).constBits(), bits);
}

CRAYVELL_TEST_MAIN(Argb32Test)
#include "tst_argb32.moc"
