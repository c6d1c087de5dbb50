#include "app/sketchpictures.h"

#include <QColorSpace>

#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

class SketchPicturesTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingForNoPhoto();
    void likeThePhoto();
    void isWrittenWithoutACopy();
    void takesTurns();
    void keepsPicturesThatAreInUse();
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
    QImage photo = m_photo;
    photo.setText(QStringLiteral("Comment"), QStringLiteral("at the sea"));
    photo.setDotsPerMeterX(11811);
    photo.setDotsPerMeterY(5906);
    photo.setColorSpace(QColorSpace::AdobeRgb);
    SketchPictures pictures;
    const QImage sketch = pictures.next(photo);
    QCOMPARE(sketch.size(), QSize(40, 30));
    QCOMPARE(sketch.format(), QImage::Format_ARGB32);
    QCOMPARE(sketch.text(QStringLiteral("Comment")), QStringLiteral("at the sea"));
    QCOMPARE(sketch.dotsPerMeterX(), 11811);
    QCOMPARE(sketch.dotsPerMeterY(), 5906);
    QCOMPARE(sketch.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
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
    shown = pictures.next(m_photo); // the first is still in use when this is asked for
    const uchar *second = shown.constBits();
    QVERIFY(second != first);
    shown = pictures.next(m_photo);
    QCOMPARE(shown.constBits(), first);
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
    const QPixmap pixmap = opaquePixmap(m_photo);
    const QImage shown = pixmap.toImage();
    QCOMPARE(shown.constBits(), m_photo.constBits());
    QCOMPARE(shown.format(), QImage::Format_RGB32);
    QCOMPARE(pictures::difference(shown, m_photo), QString());
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
