#include <QBuffer>
#include <QRandomGenerator>
#include <QtTest>

#include "photo/decode/toolkitdecoder.h"
#include "tests/photo/decode/decodedphoto.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

class tst_ToolkitDecoder : public QObject
{
    Q_OBJECT

private slots:
    void needsTheBytesOfAWebP();
};

// Its reader takes the whole file before it begins.
void tst_ToolkitDecoder::needsTheBytesOfAWebP()
{
    const auto needBesideFile = [](const QImage &picture) {
        QByteArray file = testphotos::encoded(picture, "webp");
        QBuffer device(&file);
        if (!device.open(QIODevice::ReadOnly))
            qFatal("a buffer does not open");
        const photo::ToolkitDecoder decoder(device, {photo::PhotoFormat::WebP, "WebP"}, "webp",
                                            {bandRows, false});
        return std::pair(decoder.memoryNeed() - file.size(), file.size());
    };
    QImage flat(200, 200, QImage::Format_RGB32);
    flat.fill(Qt::red);
    QImage noise = flat.copy();
    QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(noise.bits()), 200 * 200);
    const auto [flatNeed, flatBytes] = needBesideFile(flat);
    const auto [noiseNeed, noiseBytes] = needBesideFile(noise);
    QVERIFY(noiseBytes > 2 * flatBytes);
    QCOMPARE(noiseNeed, flatNeed);
}

CRAYVELL_TEST_MAIN(tst_ToolkitDecoder)
#include "tst_toolkitdecoder.moc"
