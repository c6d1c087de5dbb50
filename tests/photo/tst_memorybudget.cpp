#include "photo/memorybudget.h"

#include <QDir>
#include <QTemporaryDir>
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
    void controlGroups_data();
    void controlGroups();
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
    // What the system would free for a program counts as well.
    const auto contents = [](const char *name) {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray table = contents("/proc/meminfo");
    const QByteArray rest = table.mid(table.indexOf("MemAvailable:") + 13, 40).simplified();
    const qint64 machine = rest.left(rest.indexOf(' ')).toLongLong() * 1024;
    const qint64 groups =
        photo::controlGroupMemory("/sys/fs/cgroup", contents("/proc/self/cgroup"));
    QVERIFY(photo::availableMemory() > std::min(machine, groups) / 100 * 95);
    QVERIFY(photo::availableMemory() < photo::beyondMemory);
}

void MemoryBudgetTest::controlGroups_data()
{
    // Of each group its folder and the contents of memory.max, memory.current and memory.stat.
    using Groups = QList<QByteArrayList>;
    QTest::addColumn<Groups>("groups");
    QTest::addColumn<QByteArray>("membership");
    QTest::addColumn<qint64>("left");
    const QByteArray stat = "anon 500\nfile 9000\ninactive_file 300\nactive_file 100\n";
    const QByteArray own = "0::/a/b\n";
    QTest::newRow("none") << Groups {} << own << photo::beyondMemory;
    QTest::newRow("without a limit")
        << Groups {{"a/b", "max\n", "700\n", stat}} << own << photo::beyondMemory;
    QTest::newRow("its own") << Groups {{"a/b", "1000\n", "700\n", ""}} << own << qint64(300);
    QTest::newRow("one above") << Groups {{"a/b", "max\n", "700\n", ""},
                                          {"a", "900\n", "700\n", ""}}
                               << own << qint64(200);
    QTest::newRow("the root of a container")
        << Groups {{"a/b", "1000\n", "700\n", ""}, {"", "800\n", "700\n", ""}} << own
        << qint64(100);
    QTest::newRow("in the root") << Groups {{"", "800\n", "700\n", ""}} << QByteArray("0::/\n")
                                 << qint64(100);
    QTest::newRow("files that were read")
        << Groups {{"a/b", "1000\n", "700\n", stat}} << own << qint64(600);
    QTest::newRow("nothing but those")
        << Groups {{"a/b", "1000\n", "200\n", stat}} << own << qint64(1000);
    QTest::newRow("more used than allowed")
        << Groups {{"a/b", "1000\n", "1700\n", ""}} << own << qint64(-700);
    QTest::newRow("beside older hierarchies")
        << Groups {{"a/b", "1000\n", "700\n", ""}, {"c", "10\n", "0\n", ""}}
        << QByteArray("4:memory:/c\n1:name=systemd:/c\n0::/a/b\n") << qint64(300);
    QTest::newRow("older hierarchies alone")
        << Groups {{"c", "10\n", "0\n", ""}} << QByteArray("4:memory:/c\n") << photo::beyondMemory;
    QTest::newRow("not told") << Groups {{"", "10\n", "0\n", ""}} << QByteArray()
                              << photo::beyondMemory;
}

void MemoryBudgetTest::controlGroups()
{
    QFETCH(QList<QByteArrayList>, groups);
    QFETCH(QByteArray, membership);
    const QTemporaryDir hierarchy;
    for (const QByteArrayList &group : groups) {
        const QDir folder(hierarchy.filePath(QString::fromUtf8(group[0])));
        QVERIFY(folder.mkpath("."));
        for (int i = 1; i < 4; ++i) {
            QFile file(folder.filePath(
                QStringList {"memory.max", "memory.current", "memory.stat"}[i - 1]));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(group[i]) == group[i].size());
        }
    }
    QTEST(photo::controlGroupMemory(hierarchy.path(), membership), "left");
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
