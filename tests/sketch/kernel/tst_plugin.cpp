#include <QImage>
#include <QLibrary>

#include "sketch/reference/edgebuffer.h"
#include "sketch/reference/levels.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

class PluginTest : public QObject
{
    Q_OBJECT

private slots:
    void sketchEqualsTheReference();
};

void PluginTest::sketchEqualsTheReference()
{
    using Sketch = int(unsigned char *, long, int, int, int, int, unsigned char *);
    QLibrary plugin(QStringLiteral(CRAYVELL_PLUGIN));
    auto *const sketchInPlace = reinterpret_cast<Sketch *>(plugin.resolve("sketchInPlace"));
    QVERIFY2(sketchInPlace, qPrintable(plugin.errorString()));

    QImage photo = pictures::noise(157, 61);
    std::vector<unsigned char> edges(std::size_t(157) * 61);
    QImage expected = photo.copy();
    sketch::reference::edgeBuffer(photo, edges.data());
    sketch::reference::updatePenLevels(expected, edges.data(), 30, 220);

    edges.assign(edges.size(), 0x5a);
    QCOMPARE(sketchInPlace(photo.bits(), static_cast<long>(photo.bytesPerLine()), photo.width(),
                           photo.height(), 30, 220, edges.data()),
             1);
    QCOMPARE(pictures::difference(photo, expected), QString());
}

CRAYVELL_TEST_MAIN(PluginTest)
#include "tst_plugin.moc"
