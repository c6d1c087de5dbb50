// The operation in the image editor, without its window.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

namespace {

// In the working folder, under plain names: scripts of the editor are ASCII where the locale is.
const struct Photo
{
    const char *what;
    QString name;
    const char *file; // noise where it is empty
    QString convert;
} photos[] = {
    {"example photo", "photo.jpg", CRAYVELL_EXAMPLE, ""},
    {"grey", "grey.png", "", "(gimp-image-convert-grayscale image)"},
    {"with alpha", "alpha.png", "", "(gimp-layer-add-alpha layer)"},
};

} // namespace

class EditorTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sketches_data();
    void sketches();

private:
    void runScripts(const QStringList &scripts);

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
    QStringList scripts;
    for (const Photo &photo : photos) {
        QVERIFY(*photo.file ? QFile::copy(photo.file, folder.filePath(photo.name))
                            : pictures::noise(333, 222).save(folder.filePath(photo.name), "png"));
        // What the editor itself makes of the file is written as well, to be compared with.
        scripts << QStringLiteral(
                       "(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE \"%1\" \"%1\")))"
                       " (layer (car (gimp-image-get-active-drawable image)))) %2"
                       " (file-png-save-defaults RUN-NONINTERACTIVE image layer"
                       " \"%1-before.png\" \"%1-before.png\")"
                       " (crayvell-test-sketch RUN-NONINTERACTIVE image layer 51 230)"
                       " (file-png-save-defaults RUN-NONINTERACTIVE image layer"
                       " \"%1-after.png\" \"%1-after.png\"))")
                       .arg(photo.name, photo.convert);
    }
    runScripts(scripts);
}

// One start for all photos, as it takes longer than they do.
void EditorTest::runScripts(const QStringList &scripts)
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
    QStringList arguments {"-i", "-d", "-f", "-s"};
    for (const QString &script : scripts + QStringList {"(gimp-quit 1)"})
        arguments << "-b" << script;
    process.start("gimp-console-2.10", arguments);
    const bool isDone = process.waitForFinished(600'000);
    m_said = process.readAll();
    QVERIFY2(isDone && process.exitStatus() == QProcess::NormalExit, m_said);
}

void EditorTest::sketches_data()
{
    QTest::addColumn<QString>("name");
    for (const Photo &photo : photos)
        QTest::newRow(photo.what) << photo.name;
}

void EditorTest::sketches()
{
    QFETCH(QString, name);
    const QImage before(m_folder.filePath(name + "-before.png"));
    const QImage after(m_folder.filePath(name + "-after.png"));
    QVERIFY2(!before.isNull() && !after.isNull(), m_said);
    const QImage expected =
        pictures::expectedSketch(before.convertToFormat(QImage::Format_ARGB32), 51, 230);
    QCOMPARE(pictures::difference(after, expected), QString());
}

CRAYVELL_TEST_MAIN(EditorTest)
#include "tst_editor.moc"
