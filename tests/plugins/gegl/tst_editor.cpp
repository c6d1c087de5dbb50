// The operation in the image editor, without its window.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

class EditorTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sketches_data();
    void sketches();

private:
    bool run(const QString &script);

    QTemporaryDir m_folder;
    QByteArray m_said;
};

void EditorTest::initTestCase()
{
    if (QStandardPaths::findExecutable("gimp-console-2.10").isEmpty())
        QSKIP("the editor is not installed");
    QVERIFY(m_folder.isValid());
    const QDir folder(m_folder.path());
    QVERIFY(folder.mkpath("editor/plug-ins/sketch"));
    QVERIFY(QFile::copy(CRAYVELL_EDITOR_PLUGIN, folder.filePath("editor/plug-ins/sketch/sketch")));
}

bool EditorTest::run(const QString &script)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("GEGL_PATH", CRAYVELL_GEGL_PATH);
    environment.insert("GIMP2_DIRECTORY", m_folder.filePath("editor"));
    environment.insert("LD_PRELOAD", CRAYVELL_HOST_PRELOAD);
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start("gimp-console-2.10",
                  {"-i", "-d", "-f", "-s", "-b", script, "-b", "(gimp-quit 1)"});
    const bool isDone = process.waitForFinished(600'000);
    m_said = process.readAll();
    return isDone && process.exitStatus() == QProcess::NormalExit;
}

void EditorTest::sketches_data()
{
    QTest::addColumn<QString>("photo");
    QTest::addColumn<QString>("convert");
    QTest::newRow("example photo") << QStringLiteral(CRAYVELL_EXAMPLE) << QString();
    QTest::newRow("grey") << QString() << "(gimp-image-convert-grayscale image)";
    QTest::newRow("with alpha") << QString() << "(gimp-layer-add-alpha layer)";
}

void EditorTest::sketches()
{
    QFETCH(QString, photo);
    QFETCH(QString, convert);
    // In the working folder, under a plain name: scripts of the editor are ASCII where the
    // locale is.
    const QString input =
        photo.isEmpty() ? QStringLiteral("photo.png") : QStringLiteral("photo.jpg");
    QFile::remove(m_folder.filePath(input));
    QVERIFY(photo.isEmpty() ? pictures::noise(333, 222).save(m_folder.filePath(input))
                            : QFile::copy(photo, m_folder.filePath(input)));
    // What the editor itself makes of the file is written as well, to be compared with.
    const QString script =
        QStringLiteral("(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE \"%1\" \"%1\")))"
                       " (layer (car (gimp-image-get-active-drawable image)))) %2"
                       " (file-png-save-defaults RUN-NONINTERACTIVE image layer"
                       " \"before.png\" \"before.png\")"
                       " (crayvell-test-sketch RUN-NONINTERACTIVE image layer 51 230)"
                       " (file-png-save-defaults RUN-NONINTERACTIVE image layer"
                       " \"after.png\" \"after.png\"))")
            .arg(input, convert);
    for (const char *name : {"before.png", "after.png"})
        QFile::remove(m_folder.filePath(name));
    QVERIFY2(run(script), m_said);
    const QImage before(m_folder.filePath("before.png"));
    const QImage after(m_folder.filePath("after.png"));
    QVERIFY2(!before.isNull() && !after.isNull(), m_said);
    const QImage expected =
        pictures::expectedSketch(before.convertToFormat(QImage::Format_ARGB32), 51, 230);
    QCOMPARE(pictures::difference(after, expected), QString());
}

CRAYVELL_TEST_MAIN(EditorTest)
#include "tst_editor.moc"
