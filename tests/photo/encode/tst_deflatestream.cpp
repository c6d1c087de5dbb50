#include "photo/encode/deflatestream.h"

#include <malloc.h>
#include <random>

#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

using photo::Packing;

class Collector : public photo::ByteSink
{
public:
    void write(const unsigned char *bytes, std::size_t count) override
    {
        largest = std::max(largest, count);
        packed.insert(packed.end(), bytes, bytes + count);
    }

    std::vector<unsigned char> packed;
    std::size_t largest = 0;
};

std::vector<unsigned char> noise(std::size_t count)
{
    std::mt19937 random(7);
    std::vector<unsigned char> bytes(count);
    for (unsigned char &byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

// Noise of few values that repeats itself, not quite, after so many bytes.
std::vector<unsigned char> drawing(std::size_t count, std::size_t period)
{
    std::mt19937 random(7);
    std::vector<unsigned char> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        const bool isNew = i < period || random() % 12 == 0;
        bytes[i] = isNew ? static_cast<unsigned char>(random() % 32) : bytes[i - period];
    }
    return bytes;
}

std::vector<unsigned char> unpacked(const std::vector<unsigned char> &packed, std::size_t expected)
{
    std::vector<unsigned char> bytes(expected + 1);
    uLongf count = bytes.size();
    if (uncompress(bytes.data(), &count, packed.data(), packed.size()) != Z_OK)
        return {1, 2, 3};
    bytes.resize(count);
    return bytes;
}

} // namespace

class tst_DeflateStream : public QObject
{
    Q_OBJECT

private slots:
    void unpacksToTheSame_data();
    void unpacksToTheSame();
    void nothingIsAStream();
    void fillsAPieceExactly();
    void patienceFindsMore();
    void estimatesWhatComesOut();
    void estimatesAnyNumber();
    void isTheSameWhereverItLies();
    void memoryIsGivenBack();
};

void tst_DeflateStream::unpacksToTheSame_data()
{
    QTest::addColumn<std::vector<Packing>>("packings");
    QTest::addColumn<int>("portion");
    const std::vector<std::pair<const char *, Packing>> all = {
        {"matches", Packing::Matches}, {"runs", Packing::Runs}, {"patient", Packing::Patient}};
    for (const int portion : {1'000, 300'000, 5'000'000}) {
        const QByteArray size = QByteArray::number(portion) + " bytes at once";
        for (const auto &[name, packing] : all) {
            QTest::newRow(name + (", " + size)) << std::vector {packing} << portion;
            for (const auto &[other, next] : all) {
                if (next != packing)
                    QTest::newRow(name + QByteArray(" and ") + other + ", " + size)
                        << std::vector {packing, next} << portion;
            }
        }
        QTest::newRow("all in turns, " + size)
            << std::vector {Packing::Runs, Packing::Patient, Packing::Matches} << portion;
    }
}

void tst_DeflateStream::unpacksToTheSame()
{
    QFETCH(std::vector<Packing>, packings);
    QFETCH(int, portion);
    // Both much longer and much shorter than a piece when they are packed.
    for (const auto &bytes :
         {noise(1'500'000), drawing(3'000'000, 700), std::vector<unsigned char>(2'000'000, 255)}) {
        Collector sink;
        photo::DeflateStream stream(sink);
        std::size_t turn = 0;
        for (std::size_t at = 0; at < bytes.size(); at += portion) {
            const std::size_t count = std::min<std::size_t>(portion, bytes.size() - at);
            stream.add(bytes.data() + at, count, packings[turn++ % packings.size()]);
        }
        stream.finish();
        QVERIFY(unpacked(sink.packed, bytes.size()) == bytes);
        QVERIFY(sink.largest <= photo::DeflateStream::pieceBytes);
    }
}

void tst_DeflateStream::nothingIsAStream()
{
    for (const Packing packing : {Packing::Matches, Packing::Runs, Packing::Patient}) {
        Collector sink;
        photo::DeflateStream stream(sink);
        stream.add(nullptr, 0, packing);
        stream.finish();
        QVERIFY(unpacked(sink.packed, 10).empty());
    }
}

// One of these lengths, and what goes with it, is a piece when it is packed.
void tst_DeflateStream::fillsAPieceExactly()
{
    const auto bytes = noise(photo::DeflateStream::pieceBytes);
    for (std::size_t spare = 70; spare < 110; ++spare) {
        Collector sink;
        photo::DeflateStream stream(sink);
        stream.add(bytes.data(), bytes.size() - spare, Packing::Patient);
        stream.add(bytes.data() + bytes.size() - spare, spare, Packing::Runs);
        stream.finish();
        QVERIFY(unpacked(sink.packed, bytes.size()) == bytes);
    }
}

void tst_DeflateStream::patienceFindsMore()
{
    const auto packedBytes = [](Packing packing) {
        const auto bytes = drawing(1'000'000, 700);
        Collector sink;
        photo::DeflateStream stream(sink);
        stream.add(bytes.data(), bytes.size(), packing);
        stream.finish();
        return sink.packed.size();
    };
    QVERIFY(packedBytes(Packing::Patient) < packedBytes(Packing::Matches) * 95 / 100);
    QVERIFY(packedBytes(Packing::Matches) < packedBytes(Packing::Runs) * 95 / 100);
}

void tst_DeflateStream::estimatesWhatComesOut()
{
    const auto bytes = drawing(200'000, 700);
    photo::PackingEstimate estimate;
    for (int round = 0; round < 2; ++round) {
        for (const Packing packing : {Packing::Matches, Packing::Runs, Packing::Patient}) {
            Collector sink;
            photo::DeflateStream stream(sink);
            stream.add(bytes.data(), bytes.size(), packing);
            stream.finish();
            const double share =
                double(estimate.packedBytes(bytes, packing)) / double(sink.packed.size());
            QVERIFY2(share > 0.95 && share < 1.05, qPrintable(QString::number(share)));
        }
    }
}

// Less and more than the library keeps by itself, or looks ahead.
void tst_DeflateStream::estimatesAnyNumber()
{
    photo::PackingEstimate estimate;
    for (const std::size_t around : {8, 18, 290, 32768, 65536, 66000, 98304, 131072, 300'000}) {
        for (std::size_t count = around - 6; count < around + 6; ++count) {
            for (const auto &bytes : {noise(count), drawing(count, 40)}) {
                for (const Packing packing : {Packing::Matches, Packing::Runs}) {
                    Collector sink;
                    photo::DeflateStream stream(sink);
                    stream.add(bytes.data(), bytes.size(), packing);
                    stream.finish();
                    QVERIFY(unpacked(sink.packed, bytes.size()) == bytes);
                    constexpr std::size_t headerAndChecksum = 6;
                    const auto whole = sink.packed.size() - headerAndChecksum;
                    const auto estimated = estimate.packedBytes(bytes, packing);
                    QVERIFY2(
                        estimated < whole + whole / 50 + 8
                            && whole < estimated + estimated / 50 + 8,
                        qPrintable(
                            QStringLiteral("%1: %2, %3").arg(count).arg(whole).arg(estimated)));
                }
            }
        }
    }
}

// The library's state at many addresses, with bytes that come again from the third one on:
// that one's string is what the library once looked up, and kept, by its state's address.
void tst_DeflateStream::isTheSameWhereverItLies()
{
    for (const std::size_t count : {272, 70'000}) {
        std::vector<unsigned char> bytes = noise(count);
        for (std::size_t i = 42; i < count; ++i)
            bytes[i] = bytes[i - 40];
        std::vector<std::unique_ptr<unsigned char[]>> between;
        QSet<QByteArray> streams;
        QSet<std::size_t> estimates;
        for (int i = 0; i < (count < 1000 ? 3000 : 200); ++i) {
            for (const Packing packing : {Packing::Matches, Packing::Runs}) {
                Collector sink;
                photo::DeflateStream stream(sink);
                stream.add(bytes.data(), bytes.size(), packing);
                stream.finish();
                streams << QByteArray(reinterpret_cast<const char *>(sink.packed.data()),
                                      static_cast<qsizetype>(sink.packed.size()));
                estimates << photo::PackingEstimate().packedBytes(bytes, packing);
            }
            // Takes the place that the state had; the next one lies behind it.
            between.emplace_back(new unsigned char[sizeof(isal_zstream)]);
        }
        QCOMPARE(streams.size(), 2);
        QCOMPARE(estimates.size(), 2);
    }
}

void tst_DeflateStream::memoryIsGivenBack()
{
    if (process::isSanitized())
        QSKIP("the sanitizer has memory of its own");
    const auto bytes = drawing(1000, 70);
    const auto packOnce = [&] {
        Collector sink;
        photo::DeflateStream stream(sink);
        stream.add(bytes.data(), bytes.size(), Packing::Patient);
        stream.finish();
    };
    packOnce();
    const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    for (int i = 0; i < 20; ++i)
        packOnce();
    // One takes 272 kB.
    QVERIFY(mallinfo2().uordblks + mallinfo2().hblkhd < before + 100'000);
}

CRAYVELL_TEST_MAIN(tst_DeflateStream)
#include "tst_deflatestream.moc"
