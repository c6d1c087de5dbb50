#include <QtTest>

#include "tests/support/testmain.h"

// What tests/scripts/tst_skips.sh looks at: rows that pass and are skipped, and what the
// environment asks for. SET_UP_SKIPS: all of it is skipped; FAILING_ROWS: so many fail.
class SkippingTests : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void someRows_data();
    void someRows();
    void noRow();
    void failingRows_data();
    void failingRows();
};

void SkippingTests::initTestCase()
{
    if (qEnvironmentVariableIsSet("SET_UP_SKIPS"))
        QSKIP("nothing can be \"set up\" <here>");
}

void SkippingTests::someRows_data()
{
    QTest::addColumn<bool>("isPossible");
    QTest::newRow("possible") << true;
    QTest::newRow("not here") << false;
}

void SkippingTests::someRows()
{
    QFETCH(bool, isPossible);
    if (!isPossible)
        QSKIP("a row lacks something");
}

void SkippingTests::noRow()
{
}

void SkippingTests::failingRows_data()
{
    QTest::addColumn<bool>("isWell");
    QTest::newRow("well") << true;
    for (int i = 0; i < qEnvironmentVariableIntValue("FAILING_ROWS"); ++i)
        QTest::addRow("%d", i) << false;
}

void SkippingTests::failingRows()
{
    QFETCH(bool, isWell);
    QVERIFY(isWell);
}

CRAYVELL_TEST_MAIN(SkippingTests)
#include "skippingtests.moc"
