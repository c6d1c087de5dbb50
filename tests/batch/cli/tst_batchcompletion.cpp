#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

// What the shells make of a line when Tab is pressed at its end.
class tst_BatchCompletion : public QObject
{
    Q_OBJECT

private slots:
    void bash_data();
    void bash();
    void zsh_data();
    void zsh();
    void fish_data();
    void fish();

private:
    static QByteArray answer(BatchProcess &batch, const QString &shell,
                             const QStringList &arguments);
};

QByteArray tst_BatchCompletion::answer(BatchProcess &batch, const QString &shell,
                                       const QStringList &arguments)
{
    batch.write("photo.jpg", testphotos::jpeg());
    batch.write("album/a.jpg", testphotos::jpeg());
    QProcess process;
    // Whatever signs are in the path.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("texts", CRAYVELL_BATCH_TEXTS);
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(batch.folder.path());
    process.start(shell, arguments);
    process.waitForFinished(120000);
    return process.readAllStandardOutput().trimmed();
}

void tst_BatchCompletion::bash_data()
{
    QTest::addColumn<QString>("words"); // as bash takes them apart
    QTest::addColumn<QByteArray>("choices");

    QTest::newRow("option") << "--overw" << QByteArray("--overwrite");
    QTest::newRow("value as a word") << "--format p" << QByteArray("png");
    QTest::newRow("value behind =") << "--format = p" << QByteArray("png");
    QTest::newRow("all values behind =") << "--format =" << QByteArray("jpg png");
    QTest::newRow("file behind =") << "--output = ph" << QByteArray("photo.jpg");
    QTest::newRow("folder behind =") << "--output-dir = al" << QByteArray("album");
    QTest::newRow("folder as a word") << "--output-dir al" << QByteArray("album");
    QTest::newRow("no photo for a folder") << "--output-dir = ph" << QByteArray();
    QTest::newRow("number") << "--quality = ''" << QByteArray();
    QTest::newRow("value of one that takes none") << "--json = ''" << QByteArray();
    QTest::newRow("no option behind --") << "-- --overw" << QByteArray();
    QTest::newRow("photo behind --") << "--json -- ph" << QByteArray("photo.jpg");
    QTest::newRow("no value behind --") << "-- --format p" << QByteArray("photo.jpg");
}

void tst_BatchCompletion::bash()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, choices);
    const QString common = QStringLiteral("/usr/share/bash-completion/bash_completion");
    if (!QFile::exists(common))
        QSKIP("the package bash-completion is not installed");
    BatchProcess batch;
    const QString script = ". " + common + "; . \"$texts/crayvell-batch.bash\";"
        + " COMP_WORDS=(crayvell-batch " + words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1));"
        + " line=${COMP_WORDS[*]}; COMP_LINE=${line// = /=}; COMP_LINE=${COMP_LINE// =/=};"
        + " COMP_POINT=${#COMP_LINE}; _crayvell_batch 2>/dev/null; echo \"${COMPREPLY[*]}\"";
    QCOMPARE(answer(batch, "bash", {"--norc", "-c", script}), choices);
}

void tst_BatchCompletion::zsh_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("option") << "--overw" << QByteArray("--overwrite");
    QTest::newRow("value as a word") << "--format p" << QByteArray("--format png");
    QTest::newRow("value behind =") << "--format=p" << QByteArray("--format=png");
    QTest::newRow("file behind =") << "--output=ph" << QByteArray("--output=photo.jpg");
    QTest::newRow("file at the letter") << "-oph" << QByteArray("-ophoto.jpg");
    QTest::newRow("file behind the letter") << "-o ph" << QByteArray("-o photo.jpg");
    QTest::newRow("folder behind =") << "--output-dir=al" << QByteArray("--output-dir=album/");
    QTest::newRow("no option behind --") << "-- --overw" << QByteArray("-- --overw");
    QTest::newRow("photo behind --") << "-- ph" << QByteArray("-- photo.jpg");
}

// Completion works in an interactive shell alone, which zsh itself can type into. The
// line is written to a file by the key behind Tab.
void tst_BatchCompletion::zsh()
{
    QFETCH(QString, typed);
    QFETCH(QByteArray, line);
    if (QStandardPaths::findExecutable("zsh").isEmpty())
        QSKIP("zsh is not installed");
    BatchProcess batch;
    batch.write("setup",
                "PS1=; fpath=(\"$texts\" $fpath)\n"
                "autoload -U compinit; compinit -u -D\n"
                "tell() { print -r -- $BUFFER >line.new; mv line.new line }\n"
                "zle -N tell; bindkey '^I' complete-word; bindkey '^T' tell\n");
    const QString script = "zmodload zsh/zpty zsh/zselect; zpty z zsh -f -i;"
                           " zpty -w z '. ./setup';"
                           " zpty -w -n z $'crayvell-batch "
        + typed
        + "\\t\\x14';"
          " for i in {1..3000}; do [[ -e line ]] && break; zselect -t 2; zpty -r -t z part; done;"
          " cat line; zpty -d z";
    QCOMPARE(answer(batch, "zsh", {"-f", "-c", script}), "crayvell-batch " + line);
}

void tst_BatchCompletion::fish_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("choice"); // without its explanation

    QTest::newRow("option") << "--overw" << QByteArray("--overwrite");
    QTest::newRow("value as a word") << "--format p" << QByteArray("png");
    QTest::newRow("value behind =") << "--format=p" << QByteArray("--format=png");
    QTest::newRow("folder as a word") << "--output-dir al" << QByteArray("album/");
    QTest::newRow("no photo for a folder") << "--output-dir ph" << QByteArray();
    QTest::newRow("no option behind --") << "-- --overw" << QByteArray();
}

void tst_BatchCompletion::fish()
{
    QFETCH(QString, typed);
    QFETCH(QByteArray, choice);
    if (QStandardPaths::findExecutable("fish").isEmpty())
        QSKIP("fish is not installed");
    BatchProcess batch;
    const QString script = "source \"$texts/crayvell-batch.fish\";"
                           " complete -C 'crayvell-batch "
        + typed + "'";
    QCOMPARE(answer(batch, "fish", {"-N", "-c", script}).split('\t').first(), choice);
}

CRAYVELL_TEST_MAIN(tst_BatchCompletion)
#include "tst_batchcompletion.moc"
