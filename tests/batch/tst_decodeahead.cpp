#include "batch/decodeahead.h"

#include <atomic>

#include "batch/sketchrows.h"
#include "photo/photoerror.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

namespace {

// Gives a picture's rows, notes in which thread, and fails where it is told to.
class PictureDecoder : public photo::PhotoDecoder
{
public:
    explicit PictureDecoder(QImage picture, int failingRow = -1)
        : m_picture(std::move(picture))
        , m_failingRow(failingRow)
    {
    }
    QSize size() const override { return m_picture.size(); }
    qint64 memoryNeed() const override { return 0; }
    QImage rows(int first, int count) override
    {
        // What was given before is void from here on.
        m_given.fill(0x5a5a5a5aU);
        asked.push_back(first);
        threads.push_back(std::this_thread::get_id());
        ++calls;
        if (m_failingRow >= first && m_failingRow < first + count)
            throw photo::PhotoError("row " + std::to_string(m_failingRow));
        m_given = m_picture.copy(0, first, m_picture.width(), count);
        return {m_given.constBits(), m_given.width(), count, m_given.bytesPerLine(),
                m_given.format()};
    }
    void finish() override
    {
        isFinished = true;
        if (m_failingRow == size().height())
            throw photo::PhotoError("the end");
    }

    std::atomic<int> calls = 0; // readable from any thread
    bool isFinished = false;
    std::vector<int> asked;
    std::vector<std::thread::id> threads;

private:
    QImage m_picture;
    QImage m_given;
    int m_failingRow;
};

const sketch::GreyTable &table()
{
    static const sketch::GreyTable inverted = sketch::greyTable(0, 255);
    return inverted;
}

QByteArray sketched(PictureDecoder &decoder, batch::IdleThreads &threads)
{
    QByteArray greys;
    batch::sketchRows(decoder, table(), threads, [&](const uchar *grey, int rows) {
        greys.append(reinterpret_cast<const char *>(grey),
                     qsizetype(rows) * decoder.size().width());
    });
    return greys;
}

QByteArray reasonOf(PictureDecoder &decoder, batch::IdleThreads &threads)
{
    try {
        sketched(decoder, threads);
        return {};
    } catch (const photo::PhotoError &error) {
        return error.what();
    }
}

} // namespace

class DecodeAheadTest : public QObject
{
    Q_OBJECT

private slots:
    void sameSketchInOtherThread_data();
    void sameSketchInOtherThread();
    void withoutIdleThreadNoneIsUsed();
    void aThreadThatGetsIdleIsUsed();
    void failuresArrive_data();
    void failuresArrive();
    void aReceiverThatFailsEndsTheThread();
    void fewBandsAreAhead();
};

void DecodeAheadTest::sameSketchInOtherThread_data()
{
    QTest::addColumn<int>("height");
    for (const int height : {1, 5, 31, 32, 33, 60, 61, 500})
        QTest::addRow("%d rows", height) << height;
}

void DecodeAheadTest::sameSketchInOtherThread()
{
    QFETCH(int, height);
    const QImage picture = pictures::noise(77, height);
    PictureDecoder alone(picture);
    PictureDecoder ahead(picture);
    batch::IdleThreads none;
    batch::IdleThreads one(1);
    const QByteArray expected = sketched(alone, none);
    QCOMPARE(expected.size(), 77 * height);
    QCOMPARE(sketched(ahead, one), expected);
    QCOMPARE(ahead.asked, alone.asked);
    QVERIFY(ahead.isFinished && alone.isFinished);
    for (const std::thread::id &thread : ahead.threads)
        QVERIFY(thread != std::this_thread::get_id());
    QVERIFY(one.take()); // given back
    QVERIFY(!one.take());
}

void DecodeAheadTest::withoutIdleThreadNoneIsUsed()
{
    PictureDecoder decoder(pictures::noise(50, 200));
    batch::IdleThreads none;
    sketched(decoder, none);
    QVERIFY(!decoder.threads.empty());
    for (const std::thread::id &thread : decoder.threads)
        QVERIFY(thread == std::this_thread::get_id());
}

void DecodeAheadTest::aThreadThatGetsIdleIsUsed()
{
    const QImage picture = pictures::noise(50, 400);
    PictureDecoder alone(picture);
    PictureDecoder decoder(picture);
    batch::IdleThreads none;
    batch::IdleThreads threads;
    const QByteArray expected = sketched(alone, none);
    QByteArray greys;
    int calls = 0;
    batch::sketchRows(decoder, table(), threads, [&](const uchar *grey, int rows) {
        greys.append(reinterpret_cast<const char *>(grey), qsizetype(rows) * 50);
        if (++calls == 3)
            threads.add();
    });
    QCOMPARE(greys, expected);
    QCOMPARE(decoder.asked, alone.asked);
    QVERIFY(decoder.threads[2] == std::this_thread::get_id());
    QVERIFY(decoder.threads[3] != std::this_thread::get_id());
    QVERIFY(decoder.threads.back() == decoder.threads[3]);
}

void DecodeAheadTest::failuresArrive_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("in the first band") << 3 << QByteArray("row 3");
    QTest::newRow("in the middle") << 150 << QByteArray("row 150");
    QTest::newRow("in the last row") << 299 << QByteArray("row 299");
    QTest::newRow("behind it") << 300 << QByteArray("the end");
}

void DecodeAheadTest::failuresArrive()
{
    QFETCH(int, row);
    QFETCH(QByteArray, reason);
    PictureDecoder decoder(pictures::noise(50, 300), row);
    batch::IdleThreads one(1);
    QCOMPARE(reasonOf(decoder, one), reason);
    QVERIFY(one.take());
}

void DecodeAheadTest::aReceiverThatFailsEndsTheThread()
{
    PictureDecoder decoder(pictures::noise(50, 3000));
    batch::IdleThreads one(1);
    QVERIFY_EXCEPTION_THROWN(
        batch::sketchRows(decoder, table(), one,
                          [](const uchar *, int) { throw photo::PhotoError("the disk is full"); }),
        photo::PhotoError);
    QVERIFY(one.take());
    QVERIFY(decoder.asked.size() <= batch::DecodeAhead::bandsAhead);
    QVERIFY(!decoder.isFinished);
}

void DecodeAheadTest::fewBandsAreAhead()
{
    PictureDecoder decoder(pictures::noise(50, 3000));
    batch::IdleThreads one(1);
    int received = 0;
    int mostAhead = 0;
    batch::sketchRows(decoder, table(), one, [&](const uchar *, int) {
        mostAhead = std::max(mostAhead, decoder.calls - received++);
    });
    QVERIFY2(mostAhead <= batch::DecodeAhead::bandsAhead, QByteArray::number(mostAhead));
    QCOMPARE(decoder.calls, received);
}

CRAYVELL_TEST_MAIN(DecodeAheadTest)
#include "tst_decodeahead.moc"
