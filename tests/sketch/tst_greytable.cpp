#include "sketch/greytable.h"

#include <numeric>
#include <vector>

#include "sketch/reference/levels.h"
#include "tests/support/testmain.h"

class tst_GreyRender : public QObject
{
    Q_OBJECT

private slots:
    void everyLevelPair();
    void sizesAndAlignments_data();
    void sizesAndAlignments();
    void inPlace();
};

void tst_GreyRender::everyLevelPair()
{
    for (int low = 0; low < 256; ++low) {
        for (int high = 0; high < 256; ++high) {
            const sketch::GreyTable table = sketch::greyTable(low, high);
            for (int edge = 0; edge < 256; ++edge) {
                const int expected = sketch::reference::greyLevel(255 - edge, low, high);
                if (table[edge] != expected) {
                    QFAIL(qPrintable(QString("low %1 high %2 edge %3: %4 instead of %5")
                                         .arg(low)
                                         .arg(high)
                                         .arg(edge)
                                         .arg(table[edge])
                                         .arg(expected)));
                }
            }
        }
    }
}

void tst_GreyRender::sizesAndAlignments_data()
{
    QTest::addColumn<int>("low");
    QTest::addColumn<int>("high");

    QTest::newRow("wide open") << 0 << 255;
    QTest::newRow("narrow") << 90 << 180;
}

void tst_GreyRender::sizesAndAlignments()
{
    QFETCH(int, low);
    QFETCH(int, high);
    const sketch::GreyTable table = sketch::greyTable(low, high);
    std::vector<unsigned char> edges(300);
    std::iota(edges.begin(), edges.end(), static_cast<unsigned char>(7));
    for (std::size_t count = 0; count < 200; ++count) {
        for (std::size_t start = 0; start < 5; ++start) {
            std::vector<unsigned char> grey(300, 77);
            sketch::renderGrey(edges.data() + start, grey.data() + start, count, table);
            for (std::size_t i = 0; i < grey.size(); ++i) {
                const bool inside = i >= start && i < start + count;
                const int expected =
                    inside ? sketch::reference::greyLevel(255 - edges[i], low, high) : 77;
                if (grey[i] != expected)
                    QFAIL(qPrintable(QString("count %1 at %2").arg(count).arg(i)));
            }
        }
    }
}

void tst_GreyRender::inPlace()
{
    std::vector<unsigned char> bytes {0, 1, 128, 254, 255};
    sketch::renderGrey(bytes.data(), bytes.data(), bytes.size(), sketch::greyTable(0, 255));
    QCOMPARE(bytes, (std::vector<unsigned char> {255, 254, 127, 1, 0}));
}

CRAYVELL_TEST_MAIN(tst_GreyRender)
#include "tst_greytable.moc"
