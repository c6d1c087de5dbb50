#include <QtTest>

#include "sketch/kernel/instructionsets.h"
#include "tests/support/testmain.h"

// Which of the machine's instruction sets is in use.
class InstructionSetsTest : public QObject
{
    Q_OBJECT

private slots:
    void bestAtFirst();
    void bestComesBack();
    void unknownIsRefused();
};

void InstructionSetsTest::bestAtFirst()
{
    QCOMPARE(sketch::variantInUse(), sketch::variantNames().front());
}

void InstructionSetsTest::bestComesBack()
{
    const std::string best = sketch::variantNames().front();
    const std::string plainest = sketch::variantNames().back();
    if (best == plainest)
        QSKIP("this machine has one instruction set only");
    QVERIFY(sketch::useVariant(plainest));
    QCOMPARE(sketch::variantInUse(), plainest);
    QVERIFY(sketch::useVariant(""));
    QCOMPARE(sketch::variantInUse(), best);
}

void InstructionSetsTest::unknownIsRefused()
{
    const std::string plainest = sketch::variantNames().back();
    QVERIFY(sketch::useVariant(plainest));
    QVERIFY(!sketch::useVariant("AVX99"));
    QCOMPARE(sketch::variantInUse(), plainest);
}

CRAYVELL_TEST_MAIN(InstructionSetsTest)
#include "tst_instructionsets.moc"
