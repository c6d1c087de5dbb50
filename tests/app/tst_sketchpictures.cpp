#include "app/sketchpictures.h"

#include <QColorSpace>

#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

namespace {

QImage withMetadata(QImage picture)
{
    picture.setText(QStringLiteral("Comment"), QStringLiteral("at the sea"));
    picture.setDotsPerMeterX(11811);
    picture.setDotsPerMeterY(5906);
    picture.setColorSpace(QColorSpace::AdobeRgb);
    picture.setOffset({3, -4});
    picture.setDevicePixelRatio(2);
    return picture;
}

void compareMetadata(const QImage &picture)
{
    QCOMPARE(picture.text(QStringLiteral("Comment")), QStringLiteral("at the sea"));
    QCOMPARE(picture.dotsPerMeterX(), 11811);
    QCOMPARE(picture.dotsPerMeterY(), 5906);
    QCOMPARE(picture.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
    QCOMPARE(picture.offset(), QPoint(3, -4));
    QCOMPARE(picture.devicePixelRatio(), 2.0);
}

} // namespace

class SketchPicturesTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingForNoPhoto();
    void likeThePhoto();
    void isWrittenWithoutACopy();
    void takesTurns();
    void keepsPicturesThatAreInUse();
    void drawsOverNoneThatIsInUse();
    void followsThePhotosSize();
    void pixmapSharesThePicture();
    void pixmapIsSafeFromThePicture();
    void noPixmapOfNoPicture();

private:
    const QImage m_photo = pictures::noise(40, 30);
};

void SketchPicturesTest::nothingForNoPhoto()
{
    SketchPictures pictures;
    QVERIFY(pictures.next(QImage()).isNull());
}

void SketchPicturesTest::likeThePhoto()
{
    const QImage photo = withMetadata(m_photo);
    SketchPictures pictures;
    const QImage sketch = pictures.next(photo);
    QCOMPARE(sketch.size(), QSize(40, 30));
    QCOMPARE(sketch.format(), QImage::Format_ARGB32);
    compareMetadata(sketch);
}

void SketchPicturesTest::isWrittenWithoutACopy()
{
    SketchPictures pictures;
    QImage sketch = pictures.next(m_photo);
    const uchar *memory = sketch.constBits();
    QCOMPARE(sketch.bits(), memory);
}

void SketchPicturesTest::takesTurns()
{
    SketchPictures pictures;
    QImage shown = pictures.next(m_photo);
    const uchar *first = shown.constBits();
    shown.fill(Qt::red);
    shown = pictures.next(m_photo); // the first is still in use when this is asked for
    const uchar *second = shown.constBits();
    QVERIFY(second != first);
    shown.fill(Qt::green);
    shown = pictures.next(m_photo);
    QCOMPARE(shown.constBits(), first);
    QCOMPARE(shown.pixelColor(0, 0), QColor(Qt::red)); // not a copy at the same place
    shown = pictures.next(m_photo);
    QCOMPARE(shown.constBits(), second);
}

void SketchPicturesTest::keepsPicturesThatAreInUse()
{
    SketchPictures pictures;
    QList<QImage> kept;
    for (int i = 0; i < 4; ++i) {
        QImage sketch = pictures.next(m_photo);
        sketch.fill(QColor(i, i, i));
        kept += sketch;
    }
    pictures.release();
    for (int i = 0; i < 4; ++i)
        QCOMPARE(kept[i].pixel(39, 29), qRgb(i, i, i));
}

void SketchPicturesTest::drawsOverNoneThatIsInUse()
{
    SketchPictures pictures;
    QList<QImage> kept;
    for (int i = 0; i < 4; ++i) {
        QImage sketch = pictures.next(m_photo);
        for (const QImage &other : kept)
            QVERIFY(sketch.constBits() != other.constBits());
        sketch.fill(QColor(i, i, i));
        kept += sketch;
    }
    for (int i = 0; i < 4; ++i)
        QCOMPARE(kept[i].pixel(0, 0), qRgb(i, i, i));
}

void SketchPicturesTest::followsThePhotosSize()
{
    SketchPictures pictures;
    QImage shown = pictures.next(m_photo);
    shown = pictures.next(pictures::noise(7, 5));
    QCOMPARE(shown.size(), QSize(7, 5));
    shown = pictures.next(m_photo);
    QCOMPARE(shown.size(), QSize(40, 30));
}

void SketchPicturesTest::pixmapSharesThePicture()
{
    const QImage picture = withMetadata(m_photo);
    const QPixmap pixmap = opaquePixmap(picture);
    const QImage shown = pixmap.toImage();
    QCOMPARE(shown.constBits(), picture.constBits());
    QCOMPARE(shown.format(), QImage::Format_RGB32);
    QCOMPARE(pictures::difference(shown, picture), QString());
    compareMetadata(shown);
}

void SketchPicturesTest::pixmapIsSafeFromThePicture()
{
    QPixmap pixmap;
    {
        QImage picture = m_photo.copy();
        pixmap = opaquePixmap(picture);
        picture.fill(Qt::red);
    }
    QCOMPARE(pictures::difference(pixmap.toImage(), m_photo), QString());
}

void SketchPicturesTest::noPixmapOfNoPicture()
{
    QVERIFY(opaquePixmap(QImage()).isNull());
}

CRAYVELL_TEST_MAIN(SketchPicturesTest)
#include "tst_sketchpictures.moc"
