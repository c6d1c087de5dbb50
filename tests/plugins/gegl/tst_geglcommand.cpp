// The operation in GEGL's own command.

#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

class GeglCommandTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void isListed();
    void sketches_data();
    void sketches();
    void aLevelBeyondTheRangeIsTold();

private:
    bool run(const QStringList &arguments, const QString &tiles = {}, const QString &threads = {});

    QTemporaryDir m_folder;
    QByteArray m_said;
};

void GeglCommandTest::initTestCase()
{
    if (QStandardPaths::findExecutable("gegl").isEmpty())
        QSKIP("gegl is not installed");
    QVERIFY(m_folder.isValid());
}

bool GeglCommandTest::run(const QStringList &arguments, const QString &tiles,
                          const QString &threads)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("GEGL_PATH", CRAYVELL_GEGL_PATH);
    environment.insert("LD_PRELOAD", CRAYVELL_HOST_PRELOAD);
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    if (!tiles.isEmpty())
        environment.insert("GEGL_TILE_SIZE", tiles);
    if (!threads.isEmpty())
        environment.insert("GEGL_THREADS", threads);
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("gegl", arguments);
    const bool isDone = process.waitForFinished(300'000);
    m_said = process.readAll();
    return isDone && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

void GeglCommandTest::isListed()
{
    QVERIFY2(run({"--list-all"}), m_said);
    QVERIFY2(m_said.contains("crayvell:sketch"), m_said);
    QVERIFY2(run({"--info", "crayvell:sketch"}), m_said);
    QVERIFY2(m_said.contains("Pencil Sketch") && m_said.contains("Greys below this level"), m_said);
}

void GeglCommandTest::sketches_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QString>("tiles");
    QTest::addColumn<QString>("threads");
    const QString own;
    QTest::newRow("colour") << QSize(640, 479) << QImage::Format_RGB32 << own << own;
    QTest::newRow("with alpha") << QSize(157, 61) << QImage::Format_ARGB32 << own << own;
    QTest::newRow("grey") << QSize(157, 61) << QImage::Format_Grayscale8 << own << own;
    QTest::newRow("one pixel") << QSize(1, 1) << QImage::Format_RGB32 << own << own;
    QTest::newRow("tiny") << QSize(3, 5) << QImage::Format_RGB32 << own << own;
    QTest::newRow("large") << QSize(2500, 1700) << QImage::Format_RGB32 << own << own;
    for (const char *tiles : {"64x64", "512x512"}) {
        for (const char *threads : {"1", "4"}) {
            QTest::addRow("tiles of %s, %s threads", tiles, threads)
                << QSize(1200, 900) << QImage::Format_RGB32 << QString(tiles) << QString(threads);
        }
    }
}

void GeglCommandTest::sketches()
{
    QFETCH(QSize, size);
    QFETCH(QImage::Format, format);
    QFETCH(QString, tiles);
    QFETCH(QString, threads);
    const QImage noise = pictures::noise(size.width(), size.height());
    QImage photo = noise.convertToFormat(format);
    if (format == QImage::Format_ARGB32)
        photo.setAlphaChannel(pictures::scene(size.width(), size.height())
                                  .convertToFormat(QImage::Format_Grayscale8));
    const QImage expected =
        pictures::expectedSketch(photo.convertToFormat(QImage::Format_ARGB32), 51, 230);
    QVERIFY(photo.save(m_folder.filePath("photo.png")));
    QVERIFY2(
        run({"photo.png", "-o", "sketch.png", "--", "crayvell:sketch", "black=51", "white=230"},
            tiles, threads),
        m_said);
    const QImage sketch(m_folder.filePath("sketch.png"));
    QCOMPARE(pictures::difference(sketch, expected), QString());
}

// And leaves the level as it was.
void GeglCommandTest::aLevelBeyondTheRangeIsTold()
{
    const QImage photo = pictures::noise(64, 48);
    QVERIFY(photo.save(m_folder.filePath("photo.png")));
    run({"photo.png", "-o", "sketch.png", "--", "crayvell:sketch", "black=999"});
    QVERIFY2(m_said.contains("\"999\"") && m_said.contains("'black'"), m_said);
    QCOMPARE(pictures::difference(QImage(m_folder.filePath("sketch.png")),
                                  pictures::expectedSketch(photo, 0, 255)),
             QString());
}

CRAYVELL_TEST_MAIN(GeglCommandTest)
#include "tst_geglcommand.moc"
