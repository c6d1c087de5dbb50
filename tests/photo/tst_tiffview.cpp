#include "photo/tiffview.h"

#include "photo/photoerror.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/testmain.h"

#include <QBuffer>

namespace {

struct Layout
{
    bool isBig;
    bool isBigEndian;
};

// A directory of one entry with its value elsewhere in a file of two megabytes.
class OneTag
{
public:
    OneTag(Layout layout, quint16 tag, quint16 type, quint64 count)
        : m_layout(layout)
    {
        m_bytes = layout.isBigEndian ? "MM" : "II";
        m_bytes += two(layout.isBig ? 43 : 42);
        if (layout.isBig)
            m_bytes += two(8) + two(0) + place(16) + eight(1);
        else
            m_bytes += place(8) + two(1);
        m_entryAt = m_bytes.size();
        m_bytes += two(tag) + two(type) + place(count) + place(100);
        m_bytes += QByteArray(2'000'000, '\x55');
    }

    const QByteArray &bytes() const { return m_bytes; }
    // With the entry's value replaced by one byte in it.
    QByteArray hidden() const
    {
        QByteArray shown = m_bytes;
        const QByteArray entry = two(1) + place(1) + place(0);
        return shown.replace(m_entryAt + 2, entry.size(), entry);
    }

private:
    template <typename Number> QByteArray number(Number value) const
    {
        QByteArray bytes = hostilephotos::littleEndian(value);
        if (m_layout.isBigEndian)
            std::reverse(bytes.begin(), bytes.end());
        return bytes;
    }
    QByteArray two(quint16 value) const { return number(value); }
    QByteArray eight(quint64 value) const { return number(value); }
    QByteArray place(quint64 value) const
    {
        return m_layout.isBig ? number(value) : number(quint32(value));
    }

    Layout m_layout;
    QByteArray m_bytes;
    qsizetype m_entryAt = 0;
};

} // namespace

class TiffViewTest : public QObject
{
    Q_OBJECT

private slots:
    void showsWhatPicturesNeed_data();
    void showsWhatPicturesNeed();
    void secondOfATagIsHidden();
    void tooManyStrips();
    void otherFilesAsTheyAre_data();
    void otherFilesAsTheyAre();
    void readsAnywhere();
};

void TiffViewTest::showsWhatPicturesNeed_data()
{
    QTest::addColumn<quint16>("tag");
    QTest::addColumn<quint16>("type");
    QTest::addColumn<quint64>("count");
    QTest::addColumn<bool>("isShown");
    const auto row = [](const char *name, int tag, int type, int count, bool isShown) {
        QTest::newRow(name) << quint16(tag) << quint16(type) << quint64(count) << isShown;
    };
    row("bits of samples", 258, 3, 5, true);
    row("strip offsets", 273, 4, 100'000, true);
    row("strip lengths", 279, 4, 100'000, true);
    row("tile offsets", 324, 16, 100'000, true);
    row("tile lengths", 325, 4, 100'000, true);
    row("resolution", 282, 5, 2, true);
    row("palette", 320, 3, 768, true);
    row("meaning of samples", 338, 3, 5, true);
    row("JPEG tables", 347, 7, 600, true);
    row("JPEG tables of old", 519, 4, 3, true);
    row("palette longer than any", 320, 3, 600'000, false);
    row("colour profile", 34675, 7, 1'900'000, true);
    row("description", 270, 2, 10'000, false);
    row("description in its entry", 270, 2, 3, true);
    row("layers", 37724, 7, 1'900'000, false);
    row("metadata packet", 700, 1, 1'000'000, false);
    row("unknown", 40000, 12, 1000, false);
    row("of no type", 40000, 99, 1000, true);
    row("longer than the file", 40000, 12, 1'000'000'000, true);
}

void TiffViewTest::showsWhatPicturesNeed()
{
    QFETCH(quint16, tag);
    QFETCH(quint16, type);
    QFETCH(quint64, count);
    QFETCH(bool, isShown);
    for (const Layout layout :
         {Layout {false, false}, {false, true}, {true, false}, {true, true}}) {
        const OneTag tiff(layout, tag, type, count);
        QBuffer file;
        file.setData(tiff.bytes());
        file.open(QIODevice::ReadOnly);
        photo::TiffView view(file);
        QCOMPARE(view.size(), tiff.bytes().size());
        const QByteArray shown = view.readAll();
        QVERIFY(shown == (isShown ? tiff.bytes() : tiff.hidden()));
    }
}

void TiffViewTest::secondOfATagIsHidden()
{
    // The first three bytes of the palette belong to both.
    const QByteArray file = hostilephotos::tiffWithSharedValues(2, false, 3000, 320);
    QByteArray same = file;
    const qsizetype second = 8 + 2 + 8 * 12;
    same[second] = char(0x40); // its tag is 320 again
    QBuffer buffer(&same);
    buffer.open(QIODevice::ReadOnly);
    const QByteArray shown = photo::TiffView(buffer).readAll();
    QCOMPARE(shown.left(second + 2), same.left(second + 2));
    QCOMPARE(shown.mid(second + 2, 10), QByteArray("\1\0\1\0\0\0\0\0\0\0", 10));
    QCOMPARE(shown.mid(second + 12), same.mid(second + 12));
}

void TiffViewTest::tooManyStrips()
{
    const OneTag tiff({false, false}, 273, 1, 1'500'000);
    QBuffer file;
    file.setData(tiff.bytes());
    file.open(QIODevice::ReadOnly);
    QVERIFY_EXCEPTION_THROWN(photo::TiffView view(file), photo::PhotoError);
}

void TiffViewTest::otherFilesAsTheyAre_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray tiff = hostilephotos::tiffWithSharedValues(3, false, 100);
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("signature alone") << tiff.left(4);
    QTest::newRow("cut before the directory") << tiff.left(8);
    QTest::newRow("cut in its length") << tiff.left(9);
    QTest::newRow("directory outside") << QByteArray("II*\0\xff\xff\xff\x7f        ", 16);
    QByteArray many = tiff;
    many.replace(8, 2, "\xff\xff");
    QTest::newRow("too many entries") << many;
    QTest::newRow("other version") << QByteArray(tiff).replace(2, 1, "\x2c");
    QTest::newRow("no TIFF") << QByteArray(100, 'x');
}

void TiffViewTest::otherFilesAsTheyAre()
{
    QFETCH(QByteArray, content);
    QBuffer file(&content);
    file.open(QIODevice::ReadOnly);
    photo::TiffView view(file);
    QCOMPARE(view.readAll(), content);
}

void TiffViewTest::readsAnywhere()
{
    QByteArray content = hostilephotos::tiffWithSharedValues(3, false, 1000);
    QBuffer file(&content);
    file.open(QIODevice::ReadOnly);
    photo::TiffView view(file);
    const QByteArray whole = view.readAll();
    QVERIFY(whole != content);
    QCOMPARE(whole.size(), content.size());
    for (qint64 at = 0; at < 200; ++at) {
        QVERIFY(view.seek(at));
        file.seek(7); // as another reader of the file does
        QCOMPARE(view.pos(), at);
        QCOMPARE(view.peek(5), whole.mid(at, 5));
        QCOMPARE(view.read(3), whole.mid(at, 3));
        QCOMPARE(view.read(60), whole.mid(at + 3, 60));
    }
    QVERIFY(view.seek(whole.size()));
    QVERIFY(view.read(1).isEmpty());
}

CRAYVELL_TEST_MAIN(TiffViewTest)
#include "tst_tiffview.moc"
