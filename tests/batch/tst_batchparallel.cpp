#include "tests/batch/batchprocess.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

namespace {

constexpr int photoCount = 12;

}

// Many processes on one album, without locks.
class tst_BatchParallel : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void resumedAfterAKill();
    void manyAtOnce();
    void sharesOfAList();

private:
    std::unique_ptr<BatchProcess> m_batch;
    QByteArray m_sketches[photoCount];
};

void tst_BatchParallel::init()
{
    m_batch = std::make_unique<BatchProcess>();
    for (int i = 0; i < photoCount; ++i) {
        m_batch->write(QStringLiteral("album/%1/photo.jpg").arg(i),
                       testphotos::jpeg(300 + i, 200, i));
    }
    COMPARE_EXIT(m_batch->run({"-r", "--output-dir", "expected", "album"}), 0);
    for (int i = 0; i < photoCount; ++i) {
        m_sketches[i] = m_batch->contents(QStringLiteral("expected/%1/photo.jpg").arg(i));
        QVERIFY(!m_sketches[i].isEmpty());
    }
}

void tst_BatchParallel::resumedAfterAKill()
{
    if (!m_batch->shell("parallel --version").output.startsWith("GNU parallel"))
        QSKIP("GNU parallel is not installed");
    const QString common = "find album -name '*.jpg' -print0 | sort -z | HOME=$PWD parallel -0 -j 2"
                           " --joblog log ";
    const QString command = "\"$batch\" --skip-existing --keep-folders --output-dir out {}";
    // The fifth job dies by SIGKILL, as a machine that goes down would end it.
    const auto first =
        m_batch->shell(common + "'if [ {#} = 5 ]; then kill -KILL $$; fi; exec " + command + "'");
    COMPARE_EXIT(first, 1);
    QCOMPARE(m_batch->files().filter(QRegularExpression("^out/")).size(), photoCount - 1);
    const auto resumed = m_batch->shell(common + "--resume-failed '" + command + "'");
    COMPARE_EXIT(resumed, 0);
    for (int i = 0; i < photoCount; ++i) {
        QCOMPARE(m_batch->contents(QStringLiteral("out/album/%1/photo.jpg").arg(i)), m_sketches[i]);
    }
    QCOMPARE(m_batch->files().filter(QRegularExpression("^out/")).size(), photoCount);
}

void tst_BatchParallel::manyAtOnce()
{
    // All processes have all photos: each sketch is made by one of them, and the
    // others find it.
    const auto outcome = m_batch->shell(
        "for i in 1 2 3 4; do \"$batch\" -r -j 1 --skip-existing --output-dir out album &"
        " jobs=\"$jobs $!\"; done; for job in $jobs; do wait $job || exit 1; done");
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    for (int i = 0; i < photoCount; ++i)
        QCOMPARE(m_batch->contents(QStringLiteral("out/%1/photo.jpg").arg(i)), m_sketches[i]);
    QCOMPARE(m_batch->files().filter(QRegularExpression("^out/")).size(), photoCount);
}

void tst_BatchParallel::sharesOfAList()
{
    // As the tasks of an array job take every third line each.
    for (int task = 0; task < 3; ++task) {
        const auto outcome = m_batch->shell(
            QStringLiteral("find album -name '*.jpg' | sort | awk 'NR %% 3 == %1' |"
                           " \"$batch\" --files-from - --keep-folders --skip-existing"
                           " --output-dir out")
                .arg(task)
                .replace("%%", "%"));
        COMPARE_EXIT(outcome, 0);
        QCOMPARE(m_batch->files().filter(QRegularExpression("^out/")).size(),
                 photoCount / 3 * (task + 1));
    }
}

CRAYVELL_TEST_MAIN(tst_BatchParallel)
#include "tst_batchparallel.moc"
