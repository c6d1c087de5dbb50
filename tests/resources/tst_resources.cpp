#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QResource>
#include <QtEndian>

#include "tests/support/testmain.h"

int qInitResources_Crayvell();
int qCleanupResources_Crayvell();

namespace {

enum class Kind { RgbaPng, PalettePng, Bmp32, Ico24 };

struct Icon
{
    const char *name;
    Kind kind;
    QSize size;
};

// In the order in which the bundle holds them.
const Icon icons[] = {
    {"DeleteHS.png", Kind::RgbaPng, {16, 16}},       {"Edit_UndoHS.png", Kind::RgbaPng, {16, 16}},
    {"openHS.png", Kind::RgbaPng, {16, 16}},         {"zoomplus.png", Kind::RgbaPng, {32, 32}},
    {"cleaner.ico", Kind::Ico24, {100, 95}},         {"colorpencils.png", Kind::RgbaPng, {89, 101}},
    {"zoomminus.png", Kind::RgbaPng, {32, 32}},      {"FormRunHS.png", Kind::RgbaPng, {16, 16}},
    {"saveHS.png", Kind::RgbaPng, {16, 16}},         {"HomeHS.png", Kind::RgbaPng, {16, 16}},
    {"ZoomOutHS.bmp", Kind::Bmp32, {16, 16}},        {"ZoomOutHS.png", Kind::PalettePng, {16, 16}},
    {"ZoomOutMs.png", Kind::RgbaPng, {25, 25}},      {"Filter2HS.png", Kind::RgbaPng, {16, 16}},
    {"folder_open_32.png", Kind::RgbaPng, {32, 32}}, {"ZoomInHS.bmp", Kind::Bmp32, {16, 16}},
    {"ZoomInHS.png", Kind::PalettePng, {16, 16}},    {"ZoomInMs.png", Kind::RgbaPng, {25, 25}},
    {"LineColorHS.png", Kind::RgbaPng, {16, 16}},
};

QString pathOf(const char *name)
{
    return QStringLiteral(":/icons/") + QLatin1String(name);
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

template <typename Number> Number littleEndianAt(const QByteArray &bytes, qsizetype offset)
{
    return qFromLittleEndian<Number>(bytes.constData() + offset);
}

// What the headers say, in words: "PNG, 8 bit, colour type 6".
QString describePng(const QByteArray &bytes)
{
    if (!bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.mid(12, 4) != "IHDR")
        return QStringLiteral("no PNG");
    return QStringLiteral("PNG, %1 bit, colour type %2").arg(int(bytes[24])).arg(int(bytes[25]));
}

QString describeBmp(const QByteArray &bytes)
{
    if (!bytes.startsWith("BM") || bytes.size() != littleEndianAt<qint32>(bytes, 2))
        return QStringLiteral("no BMP");
    return QStringLiteral("BMP, %1 bit, compression %2")
        .arg(littleEndianAt<quint16>(bytes, 28))
        .arg(littleEndianAt<quint32>(bytes, 30));
}

QString describeIco(const QByteArray &bytes)
{
    if (!bytes.startsWith(QByteArray("\0\0\1\0", 4)))
        return QStringLiteral("no ICO");
    const auto header = littleEndianAt<qint32>(bytes, 18);
    return QStringLiteral("ICO, %1 image, %2x%3, %4 bit")
        .arg(littleEndianAt<quint16>(bytes, 4))
        .arg(int(bytes[6]))
        .arg(int(bytes[7]))
        .arg(littleEndianAt<quint16>(bytes, header + 14));
}

} // namespace

class ResourcesTest : public QObject
{
    Q_OBJECT

private slots:
    void format_data();
    void format();
    void picture_data();
    void picture();
    void storage_data();
    void storage();
    void order();
    void registeredOnceByTheInitialiser();
};

void ResourcesTest::format_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("described");
    QTest::addColumn<qsizetype>("bytes"); // -1 where the artwork decides
    for (const Icon &icon : icons) {
        QTestData &row = QTest::newRow(icon.name) << pathOf(icon.name);
        switch (icon.kind) {
        case Kind::RgbaPng:
            row << QStringLiteral("PNG, 8 bit, colour type 6") << qsizetype(-1);
            break;
        case Kind::PalettePng:
            row << QStringLiteral("PNG, 8 bit, colour type 3") << qsizetype(-1);
            break;
        case Kind::Bmp32:
            row << QStringLiteral("BMP, 32 bit, compression 0") << qsizetype(1078);
            break;
        case Kind::Ico24:
            row << QStringLiteral("ICO, 1 image, 100x95, 24 bit") << qsizetype(30082);
            break;
        }
    }
}

void ResourcesTest::format()
{
    QFETCH(QString, path);
    QFETCH(QString, described);
    QFETCH(qsizetype, bytes);
    const QByteArray contents = contentsOf(path);
    QVERIFY(contents.size() > 54);
    const QString actual = path.endsWith(QLatin1String("png")) ? describePng(contents)
        : path.endsWith(QLatin1String("bmp"))                  ? describeBmp(contents)
                                                               : describeIco(contents);
    QCOMPARE(actual, described);
    if (bytes >= 0)
        QCOMPARE(contents.size(), bytes);
}

void ResourcesTest::picture_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("transparent");
    for (const Icon &icon : icons)
        QTest::newRow(icon.name) << pathOf(icon.name) << icon.size
                                 << QLatin1String(icon.name).endsWith(QLatin1String(".png"));
}

void ResourcesTest::picture()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
    QFETCH(bool, transparent);
    QImageReader reader(path);
    const QImage image = reader.read();
    QVERIFY2(!image.isNull(), qPrintable(reader.errorString()));
    QCOMPARE(image.size(), size);
    // Every drawing leaves this corner free.
    const QColor corner = image.pixelColor(0, size.height() - 1);
    QCOMPARE(corner.alpha(), transparent ? 0 : 255);
    bool drawn = false;
    for (int y = 0; y < size.height() && !drawn; ++y)
        for (int x = 0; x < size.width() && !drawn; ++x)
            drawn = image.pixelColor(x, y).alpha() == 255 && image.pixelColor(x, y) != corner;
    QVERIFY(drawn);
}

void ResourcesTest::storage_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QResource::Compression>("compression");
    for (const Icon &icon : icons)
        QTest::newRow(icon.name) << pathOf(icon.name)
                                 << (icon.kind == Kind::Ico24 ? QResource::ZlibCompression
                                                              : QResource::NoCompression);
}

void ResourcesTest::storage()
{
    QFETCH(QString, path);
    QFETCH(QResource::Compression, compression);
    const QResource resource(path);
    QVERIFY(resource.isValid());
    QCOMPARE(resource.compressionAlgorithm(), compression);
    if (compression == QResource::ZlibCompression)
        QVERIFY(resource.size() < resource.uncompressedSize());
    // Only later versions of the bundle's format carry a time.
    QVERIFY(!resource.lastModified().isValid());
}

void ResourcesTest::order()
{
    QStringList expected;
    for (const Icon &icon : icons)
        expected << QLatin1String(icon.name);
    const QDir folder(QStringLiteral(":/icons"), QString(), QDir::Unsorted);
    QCOMPARE(folder.entryList(), expected);
}

void ResourcesTest::registeredOnceByTheInitialiser()
{
    const QString path = pathOf("openHS.png");
    QVERIFY(QFile::exists(path));
    QCOMPARE(qCleanupResources_Crayvell(), 1);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(qInitResources_Crayvell(), 1);
    QVERIFY(QFile::exists(path));
}

CRAYVELL_TEST_MAIN(ResourcesTest)
#include "tst_resources.moc"
