#include "photo/memorybudget.h"

#include <QTemporaryFile>

#include <limits>

#include "photo/photofile.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/testmain.h"

class MemoryBudgetTest : public QObject
{
    Q_OBJECT

private slots:
    void needOfAPhoto_data();
    void needOfAPhoto();
    void products_data();
    void products();
    void somethingIsAvailable();
    void announcedByAFile_data();
    void announcedByAFile();
};

void MemoryBudgetTest::needOfAPhoto_data()
{
    constexpr qint64 most = std::numeric_limits<int>::max();
    QTest::addColumn<qint64>("width");
    QTest::addColumn<qint64>("height");
    QTest::addColumn<qint64>("bytes");
    QTest::newRow("a pixel") << qint64(1) << qint64(1) << qint64(26);
    QTest::newRow("24 megapixels") << qint64(6000) << qint64(4000) << qint64(624'000'000);
    QTest::newRow("more than 32 bits")
        << qint64(100'000) << qint64(60'000) << qint64(156'000'000'000);
    QTest::newRow("the largest that a file announces") << most << most << photo::beyondMemory;
    QTest::newRow("a product that would wrap around to little")
        << qint64(1'518'500'250) << qint64(1'518'500'250) << photo::beyondMemory;
    QTest::newRow("not told") << qint64(-1) << qint64(-1) << qint64(0);
    QTest::newRow("a width above 31 bits, taken for a negative") << -most << most << qint64(0);
    QTest::newRow("both above 31 bits") << -most << -most << qint64(0);
}

void MemoryBudgetTest::needOfAPhoto()
{
    QFETCH(qint64, width);
    QFETCH(qint64, height);
    QTEST(photo::photoMemoryNeed(width, height), "bytes");
}

void MemoryBudgetTest::products_data()
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    QTest::addColumn<QList<qint64>>("factors");
    QTest::addColumn<qint64>("product");
    QTest::newRow("small ones") << QList<qint64> {3, 4, 5} << qint64(60);
    QTest::newRow("the largest exact one")
        << QList<qint64> {1LL << 28, 1LL << 28, 1} << (qint64(1) << 56);
    QTest::newRow("one more") << QList<qint64> {(1LL << 56) + 1, 1} << photo::beyondMemory;
    QTest::newRow("the largest numbers") << QList<qint64> {most, most, most} << photo::beyondMemory;
    QTest::newRow("nothing of much") << QList<qint64> {most, most, 0} << qint64(0);
    QTest::newRow("negative") << QList<qint64> {-5, -7} << qint64(0);
}

void MemoryBudgetTest::products()
{
    QFETCH(QList<qint64>, factors);
    const qint64 product = factors.size() == 2
        ? photo::sizeProduct({factors[0], factors[1]})
        : photo::sizeProduct({factors[0], factors[1], factors[2]});
    QTEST(product, "product");
    QVERIFY(photo::beyondMemory > 100'000'000'000'000);
    QVERIFY(photo::beyondMemory <= std::numeric_limits<qint64>::max() / 64); // sums of a few
}

void MemoryBudgetTest::somethingIsAvailable()
{
    QVERIFY(photo::availableMemory() > 10'000'000);
    QVERIFY(photo::availableMemory() < photo::beyondMemory);
}

void MemoryBudgetTest::announcedByAFile_data()
{
    QTest::addColumn<quint32>("width");
    QTest::addColumn<quint32>("height");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("as much as there is") << 10U << 10U << true;
    QTest::newRow("the most of 31 bits") << 0x7fffffffU << 0x7fffffffU << false;
    QTest::newRow("a need that would wrap around") << 1'518'500'250U << 1'518'500'250U << false;
    QTest::newRow("a width above 31 bits") << 0xdf035151U << 0x7fffff00U << false;
    QTest::newRow("a height above 31 bits") << 0x7fffff00U << 0xdf035151U << false;
    QTest::newRow("both") << 0x80000000U << 0x80000000U << false;
    QTest::newRow("all bits") << 0xffffffffU << 0xffffffffU << false;
}

void MemoryBudgetTest::announcedByAFile()
{
    QFETCH(quint32, width);
    QFETCH(quint32, height);
    QTemporaryFile file;
    QVERIFY(file.open());
    QVERIFY(file.write(hostilephotos::tiffOfSize(width, height)) > 0 && file.flush());
    QTEST(!photo::readPhoto(file.fileName()).image.isNull(), "isRead");
}

CRAYVELL_TEST_MAIN(MemoryBudgetTest)
#include "tst_memorybudget.moc"
