#include <QJsonDocument>
#include <QJsonObject>

#include "tests/batch/failingcalls.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// Which photos folders and lists stand for.
class tst_BatchInputs : public QObject
{
    Q_OBJECT

private slots:
    void foldersByName();
    void folderThatCannotBeRead();
    void absoluteNamesBelowTheOutputFolder();
    void nameThatEndsWithCr();
    void listThatComesLater();
    void limitOfAFilesSize();
};

void tst_BatchInputs::foldersByName()
{
    BatchProcess batch;
    QByteArrayList names;
    for (const char letter : QByteArray("kqbxmeahzdwcpt"))
        names << "in/" + QByteArray(1, letter) + ".jpg";
    for (const QByteArray &name : names)
        batch.write(name, testphotos::jpeg(16, 16));
    const auto outcome = batch.run({"-j", "1", "--json", "--output-dir", "out", "in"});
    COMPARE_EXIT(outcome, 0);
    QByteArrayList taken;
    for (const QByteArray &line : outcome.output.trimmed().split('\n'))
        taken << QJsonDocument::fromJson(line).object()["input"].toString().toUtf8();
    std::ranges::sort(names);
    QCOMPARE(taken, names);
}

void tst_BatchInputs::folderThatCannotBeRead()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
    BatchProcess batch;
    batch.write("in/a.jpg", testphotos::jpeg());
    batch.write("in/shut/b.jpg", testphotos::jpeg());
    const auto outcome =
        batch.run({"-r", "--output-dir", "out", "in"}, {}, failingCalls("opendir"));
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("in/shut: cannot be read: Permission denied\n"));
    QVERIFY(batch.exists("out/a.jpg"));
}

void tst_BatchInputs::absoluteNamesBelowTheOutputFolder()
{
    BatchProcess batch;
    batch.write("in/a.jpg", testphotos::jpeg());
    batch.write("list", batch.path("in/a.jpg").toUtf8());
    const auto outcome =
        batch.run({"--keep-folders", "--output-dir", "out", "--json", "--files-from", "list"});
    COMPARE_EXIT(outcome, 0);
    const QString output = "out" + batch.path("in/a.jpg");
    QCOMPARE(QJsonDocument::fromJson(outcome.output).object()["output"].toString(), output);
    QVERIFY(batch.exists(output));
    QCOMPARE(batch.contents("in/a.jpg"), testphotos::jpeg());
}

void tst_BatchInputs::nameThatEndsWithCr()
{
    BatchProcess batch;
    batch.write("a.jpg\r", testphotos::jpeg());
    batch.write("list", "a.jpg\r\n");
    COMPARE_EXIT(batch.run({"--output-dir", "out", "--files-from", "list"}), 0);
    QVERIFY(batch.exists("out/a.jpg\r") || batch.exists("out/a.jpg\r.jpg"));
}

// From a pipe that does not block, and is empty at first.
void tst_BatchInputs::listThatComesLater()
{
    if (QStandardPaths::findExecutable("python3").isEmpty())
        QSKIP("python3 makes the pipe that does not block, and is not installed");
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("run.py", R"(
import os, subprocess, sys
reading, writing = os.pipe()
os.set_blocking(reading, False)
child = subprocess.Popen([os.environ['batch'], '--files-from', '-'], stdin=reading)
os.close(reading)
def sleeps():
    with open(f'/proc/{child.pid}/stat') as file:
        return file.read().rpartition(')')[2].split()[0] == 'S'
times = 0
while child.poll() is None and times < 20:
    times = times + 1 if sleeps() else 0
try:
    os.write(writing, b'a.jpg\n')
except BrokenPipeError:
    pass
os.close(writing)
sys.exit(child.wait())
)");
    COMPARE_EXIT(batch.shell("python3 run.py"), 0);
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchInputs::limitOfAFilesSize()
{
    BatchProcess batch;
    batch.write("large.jpg", testphotos::jpeg(900, 700));
    const auto outcome = batch.shell("ulimit -f 4; exec \"$batch\" large.jpg");
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("large.jpg: cannot write the output: File too large\n"));
    QCOMPARE(batch.files(), QStringList {"large.jpg"});
}

CRAYVELL_TEST_MAIN(tst_BatchInputs)
#include "tst_batchinputs.moc"
