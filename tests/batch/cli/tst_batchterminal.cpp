#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// The progress bar, and what reaches a terminal.
class tst_BatchTerminal : public QObject
{
    Q_OBJECT

private slots:
    void noBarWithoutTerminal();
    void barOnTerminal_data();
    void barOnTerminal();
    void barGoesWithASignal();
    void barAndJson_data();
    void barAndJson();
    void namesArePrintable();
};

void tst_BatchTerminal::noBarWithoutTerminal()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    const auto outcome = batch.run({"a.jpg", "b.jpg"}, {}, {"TERM=xterm"});
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
}

void tst_BatchTerminal::barOnTerminal_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<bool>("bar");
    QTest::addColumn<bool>("colours");

    QTest::newRow("a terminal") << QString("TERM=xterm") << true << true;
    QTest::newRow("without colours") << QString("TERM=xterm NO_COLOR=1") << true << false;
    QTest::newRow("colours not forbidden") << QString("TERM=xterm NO_COLOR=") << true << true;
    QTest::newRow("a dumb terminal") << QString("TERM=dumb") << false << false;
}

void tst_BatchTerminal::barOnTerminal()
{
    QFETCH(QString, setting);
    QFETCH(bool, bar);
    QFETCH(bool, colours);
    if (QStandardPaths::findExecutable("script").isEmpty())
        QSKIP("script (util-linux) makes the terminal, and is not installed");
    BatchProcess batch;
    for (int i = 0; i < 3; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg(60, 60, i));
    const QString command = "\"$batch\" --output-dir out p";
    const auto outcome =
        batch.shell("env -u NO_COLOR " + setting + " script -qec '" + command + "' /dev/null");
    QCOMPARE(outcome.output.contains("3/3"), bar);
    QCOMPARE(outcome.output.contains(" MP/s"), bar);
    QCOMPARE(outcome.output.contains(" left"), bar);
    QCOMPARE(outcome.output.contains("\x1b[32m"), colours);
    QVERIFY(batch.exists("out/2.jpg"));
    QCOMPARE(outcome.output.contains("3 done, 0 skipped, 0 failed"), bar);
    // One photo has told everything itself.
    const auto one =
        batch.shell("env -u NO_COLOR " + setting + " script -qec '\"$batch\" p/0.jpg' /dev/null");
    QVERIFY(batch.exists("p/0-sketch.jpg"));
    QVERIFY(!one.output.contains("1 done"));
}

// The prompt of the shell stands where it stood.
void tst_BatchTerminal::barGoesWithASignal()
{
    if (QStandardPaths::findExecutable("python3").isEmpty())
        QSKIP("python3 makes the terminal, and is not installed");
    BatchProcess batch;
    for (int i = 0; i < 300; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg(300, 300, i % 9));
    batch.write("run.py", R"(
import os, pty, signal, subprocess, sys
ours, its = pty.openpty()
child = subprocess.Popen([os.environ['batch'], '-j', '1', '--output-dir', 'out', 'p'],
                         stdin=its, stdout=its, stderr=its, env=dict(os.environ, TERM='xterm'))
os.close(its)
shown = b''
def more():
    global shown
    try:
        portion = os.read(ours, 4096)
    except OSError:
        portion = b''
    shown += portion
    return portion
while b'/300' not in shown and more():
    pass
child.send_signal(signal.SIGINT)
while more():
    pass
if child.wait() != -signal.SIGINT:
    sys.exit('not ended by the signal')
sys.stdout.buffer.write(shown)
)");
    const auto outcome = batch.shell("python3 run.py");
    QCOMPARE(outcome.errors, QByteArray());
    QVERIFY(outcome.output.contains("/300"));
    QVERIFY2(outcome.output.endsWith("\r\x1b[K"), outcome.output.right(100).toHex());
}

void tst_BatchTerminal::barAndJson_data()
{
    QTest::addColumn<QString>("destination");
    QTest::addColumn<bool>("bar");

    QTest::newRow("both on the terminal") << QString() << true;
    QTest::newRow("JSON read by a program that writes to the terminal") << "| cat" << false;
    QTest::newRow("JSON in a file") << ">json" << true;
}

// No line of JSON stands on the bar's line.
void tst_BatchTerminal::barAndJson()
{
    QFETCH(QString, destination);
    QFETCH(bool, bar);
    if (QStandardPaths::findExecutable("script").isEmpty())
        QSKIP("script (util-linux) makes the terminal, and is not installed");
    BatchProcess batch;
    for (int i = 0; i < 3; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg(60, 60, i));
    const QString command = "\"$batch\" --json --output-dir out p " + destination;
    const auto outcome = batch.shell("TERM=xterm script -qec '" + command + "' /dev/null");
    QCOMPARE(outcome.output.contains("3/3"), bar);
    const QByteArray shown = "\n" + outcome.output;
    int lines = 0;
    for (qsizetype at = 0; (at = shown.indexOf("{\"height\"", at)) >= 0; ++at, ++lines) {
        const QByteArray before = shown.left(at);
        QVERIFY2(before.endsWith('\n') || before.endsWith("\r\x1b[K"), before.constData());
    }
    QCOMPARE(lines, destination.startsWith('>') ? 0 : 3);
}

// What a terminal would take for an order, or a reader for another name, stands as text.
void tst_BatchTerminal::namesArePrintable()
{
    BatchProcess batch;
    const auto outcome = batch.run({"a\\b\x7f\x1b[2J\n\t.jpg"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors,
             QByteArray("a\\\\b\\177\\033[2J\\n\\t.jpg: cannot be read: "
                        "No such file or directory\n"));
}

CRAYVELL_TEST_MAIN(tst_BatchTerminal)
#include "tst_batchterminal.moc"
