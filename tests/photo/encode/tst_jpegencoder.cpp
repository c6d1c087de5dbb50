#include <QImage>
#include <QRandomGenerator>
#include <QtTest>

#include "photo/encode/jpegencoder.h"
#include "photo/photoerror.h"
#include "tests/support/testmain.h"

namespace {

class Bytes : public photo::ByteSink
{
public:
    void write(const unsigned char *bytes, std::size_t count) override
    {
        all.append(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(count));
    }

    QByteArray all;
};

struct Full
{
};

class FullSink : public photo::ByteSink
{
public:
    void write(const unsigned char *, std::size_t) override { throw Full(); }
};

QImage decodedOf(const std::vector<unsigned char> &grey, QSize size, int quality)
{
    Bytes sink;
    photo::JpegEncoder encoder(size, quality, {}, sink);
    encoder.write(grey.data(), size.height());
    encoder.finish();
    return QImage::fromData(sink.all).convertToFormat(QImage::Format_Grayscale8);
}

} // namespace

class tst_JpegEncoder : public QObject
{
    Q_OBJECT

private slots:
    void edges_data();
    void edges();
    void lastRowIsRepeated();
    void tooLarge_data();
    void tooLarge();
    void failingOutput_data();
    void failingOutput();
};

void tst_JpegEncoder::edges_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size :
         {QSize(1, 1), QSize(8, 8), QSize(9, 8), QSize(8, 9), QSize(15, 17), QSize(23, 20)})
        QTest::addRow("%d x %d", size.width(), size.height()) << size;
}

// One grey stays one up to the last column and row, whatever fills their blocks.
void tst_JpegEncoder::edges()
{
    QFETCH(QSize, size);
    constexpr unsigned char grey = 200;
    const std::vector<unsigned char> rows(std::size_t(size.width()) * size.height(), grey);
    const QImage decoded = decodedOf(rows, size, 50);
    QCOMPARE(decoded.size(), size);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            QVERIFY2(qAbs(decoded.constScanLine(y)[x] - grey) <= 1,
                     qPrintable(QStringLiteral("(%1, %2)").arg(x).arg(y)));
    }
}

// Below it, as far as its blocks go: anything else would shine through.
void tst_JpegEncoder::lastRowIsRepeated()
{
    const QSize size(16, 10);
    std::vector<unsigned char> rows(16 * 10, 0);
    std::fill_n(rows.end() - 16, 16, 250);
    const QImage decoded = decodedOf(rows, size, 5);
    for (int x = 0; x < size.width(); ++x)
        QVERIFY(decoded.constScanLine(9)[x] > 240);
}

void tst_JpegEncoder::tooLarge_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("the widest") << QSize(65500, 1) << QByteArray();
    QTest::newRow("too wide") << QSize(
        65501, 1) << QByteArray("is 65501 x 1 pixels, and a JPEG holds at most 65500 each way");
    QTest::newRow("the highest") << QSize(1, 65500) << QByteArray();
    QTest::newRow("too high") << QSize(
        1, 65501) << QByteArray("is 1 x 65501 pixels, and a JPEG holds at most 65500 each way");
}

void tst_JpegEncoder::tooLarge()
{
    QFETCH(QSize, size);
    Bytes sink;
    QByteArray reason;
    try {
        const photo::JpegEncoder encoder(size, 90, {}, sink);
    } catch (const photo::PhotoError &error) {
        reason = error.what();
    }
    QTEST(reason, "reason");
}

void tst_JpegEncoder::failingOutput_data()
{
    QTest::addColumn<int>("side");
    QTest::newRow("at its end") << 8;
    QTest::newRow("before") << 800;
}

// The reason is the sink's own.
void tst_JpegEncoder::failingOutput()
{
    QFETCH(int, side);
    std::vector<unsigned char> noise(std::size_t(side) * side);
    QRandomGenerator random(1);
    for (unsigned char &grey : noise)
        grey = static_cast<unsigned char>(random.bounded(256));
    FullSink sink;
    const auto encode = [&] {
        photo::JpegEncoder encoder(QSize(side, side), 90, {}, sink);
        encoder.write(noise.data(), side);
        encoder.finish();
    };
    QVERIFY_EXCEPTION_THROWN(encode(), Full);
}

CRAYVELL_TEST_MAIN(tst_JpegEncoder)
#include "tst_jpegencoder.moc"
