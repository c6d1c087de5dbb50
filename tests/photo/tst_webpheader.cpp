#include "photo/webpheader.h"

#include <QBuffer>

#include "tests/support/hostilephotos.h"
#include "tests/support/testmain.h"

class WebPHeaderTest : public QObject
{
    Q_OBJECT

private slots:
    void header_data();
    void header();
};

void WebPHeaderTest::header_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("isAnimated");
    QTest::addColumn<int>("workBytesPerPixel");
    const QImage scene = testphotos::scene(300, 70);
    QTest::newRow("lossy") << testphotos::encoded(scene, "webp", {}, 80) << QSize(300, 70) << false
                           << 0;
    QTest::newRow("lossless") << testphotos::encoded(scene, "webp", {}, 100) << QSize(300, 70)
                              << false << 4;
    QTest::newRow("an animation") << hostilephotos::animatedWebP(16384, 1200) << QSize(16384, 1200)
                                  << true << 8;
    const QByteArray cut = hostilephotos::animatedWebP(300, 70).left(29);
    QTest::newRow("a cut header") << cut << QSize() << false << 0;
    QTest::newRow("another format") << testphotos::encoded(scene, "png") << QSize() << false << 0;
    QTest::newRow("nothing") << QByteArray() << QSize() << false << 0;
}

void WebPHeaderTest::header()
{
    QFETCH(QByteArray, file);
    QFETCH(QSize, size);
    QFETCH(int, workBytesPerPixel);
    QBuffer device(&file);
    QVERIFY(device.open(QIODevice::ReadOnly));
    const photo::WebPHeader found = photo::readWebPHeader(device);
    QCOMPARE(found.size.isEmpty(), size.isEmpty());
    if (size.isEmpty())
        return;
    QCOMPARE(found.size, size);
    QTEST(found.isAnimated, "isAnimated");
    QCOMPARE(photo::webPWorkBytes(found), qint64(size.width()) * size.height() * workBytesPerPixel);
    QCOMPARE(device.pos(), 0);
}

CRAYVELL_TEST_MAIN(WebPHeaderTest)
#include "tst_webpheader.moc"
