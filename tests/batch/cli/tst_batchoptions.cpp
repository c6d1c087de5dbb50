#include <QImageReader>
#include <QJsonDocument>
#include <QJsonObject>

#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

class tst_BatchOptions : public QObject
{
    Q_OBJECT

private slots:
    void besideThePhoto();
    void outputNamesTheFormat();
    void formatAndSuffixes();
    void standardInputAndOutput();
    void pictureOnStandardOutputOnly();
    void listOfPhotos();
    void listEndedByNul();
    void listFromStandardInput();
    void recursive();
    void keepFolders();
    void jobsGiveTheSameBytes();
    void quietAndVerbose();
    void dryRunWritesNothing();
    void planThatNobodyTakes();
    void json();
    void jsonThatNobodyTakes();
    void jsonOfAFailure();
    void startsWithoutDisplayAndLocale();
};

void tst_BatchOptions::besideThePhoto()
{
    BatchProcess batch;
    batch.write("album/beach.jpg", testphotos::jpeg());
    batch.write("dune.PNG", testphotos::encoded(testphotos::scene(20, 20), "png"));
    batch.write("photo.2020", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"album/beach.jpg", "dune.PNG", "photo.2020"}), 0);
    QCOMPARE(batch.files(),
             QStringList({"album/beach-sketch.jpg", "album/beach.jpg", "dune-sketch.jpg",
                          "dune.PNG", "photo.2020", "photo.2020-sketch.jpg"}));
}

void tst_BatchOptions::outputNamesTheFormat()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    for (const char *name : {"new/folder/b.png", "b.jpg", "b.JPEG"})
        COMPARE_EXIT(batch.run({"-o", name, "a.jpg"}), 0);
    QCOMPARE(QImageReader::imageFormat(batch.path("new/folder/b.png")), "png");
    QCOMPARE(QImageReader::imageFormat(batch.path("b.jpg")), "jpeg");
    QCOMPARE(QImageReader::imageFormat(batch.path("b.JPEG")), "jpeg");
}

void tst_BatchOptions::formatAndSuffixes()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.tiff", testphotos::encoded(testphotos::scene(20, 20), "tiff"));
    COMPARE_EXIT(batch.run({"--format", "png", "--output-dir", "out", "a.jpg", "b.tiff"}), 0);
    QCOMPARE(batch.files(), QStringList({"a.jpg", "b.tiff", "out/a.png", "out/b.png"}));
    QCOMPARE(QImageReader::imageFormat(batch.path("out/a.png")), "png");
}

void tst_BatchOptions::standardInputAndOutput()
{
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    batch.write("a.jpg", photo);
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    const QByteArray expected = batch.contents("a-sketch.jpg");

    const auto piped = batch.run({"-"}, photo);
    COMPARE_EXIT(piped, 0);
    QCOMPARE(piped.output, expected);
    COMPARE_EXIT(batch.run({"-", "-o", "b.jpg"}, photo), 0);
    QCOMPARE(batch.contents("b.jpg"), expected);
    QVERIFY(!expected.isEmpty());
    QCOMPARE(batch.run({"a.jpg", "-o", "-"}).output, expected);
    QCOMPARE(batch.run({"-", "--format", "png"}, photo).output.left(4), "\x89PNG");
}

void tst_BatchOptions::pictureOnStandardOutputOnly()
{
    BatchProcess batch;
    const auto broken = batch.run({"-"}, testphotos::jpeg().left(900));
    COMPARE_EXIT(broken, 1);
    QCOMPARE(broken.output, QByteArray());
    QVERIFY(broken.errors.startsWith("-: "));
    batch.write("a.jpg", testphotos::jpeg());
    const auto verbose = batch.run({"-v", "a.jpg"});
    COMPARE_EXIT(verbose, 0);
    QCOMPARE(verbose.output, QByteArray());
    const auto closed = batch.shell("\"$batch\" -o - a.jpg >&-");
    COMPARE_EXIT(closed, 1);
}

void tst_BatchOptions::listOfPhotos()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b c.jpg", testphotos::jpeg());
    batch.write("-", testphotos::jpeg());
    batch.write("list", "b c.jpg\n\na.jpg\n-");
    COMPARE_EXIT(batch.run({"--files-from", "list"}), 0);
    QVERIFY(batch.exists("--sketch.jpg"));
    QVERIFY(batch.exists("a-sketch.jpg"));
    QVERIFY(batch.exists("b c-sketch.jpg"));
}

void tst_BatchOptions::listEndedByNul()
{
    BatchProcess batch;
    batch.write("a\nb.jpg", testphotos::jpeg());
    batch.write("-c.jpg", testphotos::jpeg());
    batch.write("list", QByteArray("a\nb.jpg\0-c.jpg\0", 15));
    COMPARE_EXIT(batch.run({"--null", "--files-from", "list", "--output-dir", "out"}), 0);
    QVERIFY(batch.exists("out/a\nb.jpg"));
    QVERIFY(batch.exists("out/-c.jpg"));
}

void tst_BatchOptions::listFromStandardInput()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"--files-from", "-"}, "a.jpg\n"), 0);
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchOptions::recursive()
{
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    batch.write("album/a.jpg", photo);
    batch.write("album/june/b.jpeg", photo);
    batch.write("album/june/deep/c", photo);
    batch.write("album/notes.txt", "no photo");
    batch.write("album/.hidden.jpg", photo);
    QVERIFY(QFile::link(batch.path("album"), batch.path("album/june/loop")));

    COMPARE_EXIT(batch.run({"--output-dir", "flat", "album"}), 0);
    QVERIFY(batch.exists("flat/a.jpg"));
    QVERIFY(!batch.exists("flat/june"));
    // The output folder inside the album is no part of the album.
    for (int i = 0; i < 2; ++i) {
        COMPARE_EXIT(batch.run({"-r", "--overwrite", "--output-dir", "album/out", "album"}), 0);
        QDir out(batch.path("album/out"));
        QCOMPARE(out.entryList(QDir::Files | QDir::Hidden), QStringList {"a.jpg"});
        QVERIFY(batch.exists("album/out/june/b.jpg"));
        QVERIFY(batch.exists("album/out/june/deep/c.jpg"));
        QVERIFY(!batch.exists("album/out/june/loop"));
        QVERIFY(!batch.exists("album/out/out"));
    }
}

void tst_BatchOptions::keepFolders()
{
    BatchProcess batch;
    batch.write("album/june/a.jpg", testphotos::jpeg());
    batch.write("album/july/a.jpg", testphotos::jpeg());
    COMPARE_EXIT(
        batch.run({"--keep-folders", "--output-dir", "out", "./album/june/a.jpg", "album/july"}),
        0);
    QVERIFY(batch.exists("out/album/june/a.jpg"));
    QVERIFY(batch.exists("out/album/july/a.jpg"));
}

void tst_BatchOptions::jobsGiveTheSameBytes()
{
    BatchProcess batch;
    for (int i = 0; i < 12; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg(120 + i, 90, i));
    for (const char *format : {"jpg", "png"}) {
        for (const char *jobs : {"1", "2", "7"}) {
            COMPARE_EXIT(batch.run({"-j", jobs, "--format", format, "--output-dir",
                                    QStringLiteral("out") + jobs, "p"}),
                         0);
        }
        for (int i = 0; i < 12; ++i) {
            const QString name = QStringLiteral("/%1.%2").arg(i).arg(format);
            const QByteArray alone = batch.contents("out1" + name);
            QVERIFY(!alone.isEmpty());
            QCOMPARE(batch.contents("out2" + name), alone);
            QCOMPARE(batch.contents("out7" + name), alone);
        }
    }
}

void tst_BatchOptions::quietAndVerbose()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", "no photo at all");
    const auto quiet = batch.run({"-q", "--output-dir", "o1", "a.jpg", "b.jpg"});
    QCOMPARE(quiet.errors, QByteArray("b.jpg: is no picture of a known format\n"));
    const auto plain = batch.run({"--output-dir", "o2", "a.jpg", "b.jpg"});
    QCOMPARE(plain.errors, quiet.errors);
    const auto verbose = batch.run({"-v", "--output-dir", "o3", "a.jpg", "b.jpg"});
    QVERIFY(verbose.errors.contains("a.jpg -> o3/a.jpg, 64 x 48, "));
    QVERIFY(verbose.errors.contains("1 done, 0 skipped, 1 failed"));
}

void tst_BatchOptions::dryRunWritesNothing()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    batch.write("out/b.jpg", "mine");
    const QStringList before = batch.files();
    const auto blocked = batch.run({"-n", "--output-dir", "out", "a.jpg", "b.jpg"});
    COMPARE_EXIT(blocked, 1);
    QCOMPARE(blocked.output, QByteArray("a.jpg -> out/a.jpg\n"));
    QCOMPARE(blocked.errors,
             QByteArray("b.jpg: the output out/b.jpg exists already; --overwrite "
                        "replaces it, --skip-existing leaves it\n"));
    const auto skipping =
        batch.run({"-n", "--skip-existing", "--output-dir", "out", "a.jpg", "b.jpg"});
    COMPARE_EXIT(skipping, 0);
    QCOMPARE(skipping.output,
             QByteArray("a.jpg -> out/a.jpg\n"
                        "b.jpg: skipped: the output exists already\n"));
    QCOMPARE(skipping.errors, QByteArray());
    const auto quiet = batch.run({"-n", "-q", "--output-dir", "new", "a.jpg"});
    QCOMPARE(quiet.output, QByteArray());
    const auto json = batch.run({"-n", "--json", "--output-dir", "new", "a.jpg"});
    QVERIFY(json.output.startsWith('{') && json.output.count('\n') == 1);
    QCOMPARE(json.errors, QByteArray());
    const auto colliding = batch.run({"-n", "--output-dir", "new", "a.jpg", "./a.jpg"});
    COMPARE_EXIT(colliding, 2);
    QVERIFY(colliding.errors.contains("a.jpg: has the same output as ./a.jpg: new/a.jpg"));
    QCOMPARE(batch.files(), before);
    QVERIFY(!batch.exists("new"));
}

void tst_BatchOptions::planThatNobodyTakes()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.shell("\"$batch\" --dry-run a.jpg >/dev/full");
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("plan"), outcome.errors.constData());
}

void tst_BatchOptions::json()
{
    BatchProcess batch;
    batch.write("a \"quoted\"\n.jpg", testphotos::jpeg());
    batch.write("b.jpg", "no photo");
    batch.write("c.jpg", testphotos::jpeg());
    batch.write("o/c.jpg", "mine");
    const auto outcome = batch.run({"--json", "-j", "1", "--skip-existing", "--output-dir", "o",
                                    "a \"quoted\"\n.jpg", "b.jpg", "c.jpg"});
    COMPARE_EXIT(outcome, 1);
    QList<QByteArray> lines = outcome.output.split('\n');
    QVERIFY(lines.takeLast().isEmpty());
    QCOMPARE(lines.size(), 3);
    QList<QJsonObject> objects;
    for (const QByteArray &line : lines) {
        objects << QJsonDocument::fromJson(line).object();
        QCOMPARE(objects.last().keys(),
                 QStringList({"height", "input", "milliseconds", "output", "reason", "status",
                              "warning", "width"}));
    }
    QCOMPARE(objects[0]["input"].toString(), QStringLiteral("a \"quoted\"\n.jpg"));
    QCOMPARE(objects[0]["output"].toString(), QStringLiteral("o/a \"quoted\"\n.jpg"));
    QCOMPARE(objects[0]["status"].toString(), QStringLiteral("done"));
    QCOMPARE(objects[0]["width"].toInt(), 64);
    QCOMPARE(objects[0]["height"].toInt(), 48);
    QCOMPARE(objects[1]["status"].toString(), QStringLiteral("failed"));
    QVERIFY(!objects[1]["reason"].toString().isEmpty());
    QCOMPARE(objects[2]["status"].toString(), QStringLiteral("skipped"));
}

void tst_BatchOptions::jsonThatNobodyTakes()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.shell("\"$batch\" --json a.jpg >/dev/full");
    COMPARE_EXIT(outcome, 1);
    QVERIFY(outcome.errors.contains("JSON"));
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchOptions::jsonOfAFailure()
{
    BatchProcess batch;
    const auto outcome = batch.run({"--json", "none.jpg"});
    COMPARE_EXIT(outcome, 1);
    const QJsonObject object = QJsonDocument::fromJson(outcome.output).object();
    QCOMPARE(object["status"].toString(), "failed");
    QVERIFY(object["width"].isDouble() && object["height"].isDouble());
    QCOMPARE(object["width"].toInt(-1), 0);
    QCOMPARE(object["height"].toInt(-1), 0);
}

void tst_BatchOptions::startsWithoutDisplayAndLocale()
{
    BatchProcess batch;
    batch.write("a\u00e4\u65e5.jpg", testphotos::jpeg());
    batch.write("b.png", testphotos::encoded(testphotos::scene(20, 20), "png"));
    const auto outcome = batch.shell("env -i \"$batch\" --output-dir o a*.jpg b.png");
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    QVERIFY(batch.exists("o/a\u00e4\u65e5.jpg"));
    QVERIFY(batch.exists("o/b.jpg"));
}

CRAYVELL_TEST_MAIN(tst_BatchOptions)
#include "tst_batchoptions.moc"
