#include "photo/pngtexts.h"

#include <QBuffer>

#include "tests/support/pngfile.h"
#include "tests/support/testmain.h"

class PngTextsTest : public QObject
{
    Q_OBJECT

private slots:
    void unpackedBytes_data();
    void unpackedBytes();
};

void PngTextsTest::unpackedBytes_data()
{
    QTest::addColumn<QByteArray>("chunks");
    QTest::addColumn<qint64>("bytes");

    constexpr qsizetype lengthInFront = 4;
    const QByteArray text(50'000, 't');
    const QByteArray packed = qCompress(text).mid(lengthInFront);
    const auto named = [](const QByteArray &rest) { return QByteArray("name\0", 5) + rest; };
    const QByteArray plain = named(QByteArray("\0\0en\0Name\0", 10) + text);
    const QByteArray international = named(QByteArray("\1\0en\0Name\0", 10) + packed);
    QTest::newRow("none") << QByteArray() << qint64(0);
    QTest::newRow("as it is") << pngChunk("tEXt", named(text)) << qint64(0);
    QTest::newRow("packed") << pngChunk("zTXt", named('\0' + packed)) << qint64(50'000);
    QTest::newRow("profile") << pngChunk("iCCP", named('\0' + packed)) << qint64(50'000);
    QTest::newRow("international") << pngChunk("iTXt", plain) << qint64(plain.size());
    QTest::newRow("international, packed") << pngChunk("iTXt", international) << qint64(50'000);
    QTest::newRow("several") << pngChunk("iTXt", international)
            + pngChunk("iCCP", named('\0' + packed)) + pngChunk("zTXt", named('\0' + packed))
                             << qint64(150'000);
    QTest::newRow("cut") << pngChunk("zTXt", named('\0' + packed.left(packed.size() - 3)))
                         << qint64(50'000);
    QTest::newRow("of something else") << pngChunk("zzZz", named('\0' + packed)) << qint64(0);
}

void PngTextsTest::unpackedBytes()
{
    QFETCH(QByteArray, chunks);
    QByteArray file = pngHeader(1, 1, 8, 0) + chunks + pngChunk("IEND", "");
    QBuffer device(&file);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QTEST(photo::packedTextBytes(device), "bytes");
    QCOMPARE(device.pos(), 0);
}

CRAYVELL_TEST_MAIN(PngTextsTest)
#include "tst_pngtexts.moc"
