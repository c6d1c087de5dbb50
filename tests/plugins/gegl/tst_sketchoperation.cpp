// The operation in a program of its own.
//
//     tst_sketchoperation [--tiles WxH] [--threads N] [--chunks WxH] [options of QtTest]
//
// sets what GEGL cuts a picture into: the sketch must not depend on it.

#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/plugins/gegl/geglgraph.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

namespace {

QSize tiles;
QSize chunks;
int threads = 0;

QImage greyNoise(int width, int height)
{
    QImage photo = pictures::noise(width, height);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(photo.scanLine(y));
        std::transform(line, line + width, line,
                       [](QRgb pixel) { return qRgb(qRed(pixel), qRed(pixel), qRed(pixel)); });
    }
    return photo;
}

} // namespace

class SketchOperationTest : public QObject
{
    Q_OBJECT

private slots:
    void settingsAreInForce();
    void properties();
    void anySize_data();
    void anySize();
    void levels_data();
    void levels();
    void storedFormats_data();
    void storedFormats();
    void greyGivesGrey();
    void ignoresAlpha();
    void valuesOfOtherSpacesAreTakenAsStored();
    void anyPart();
    void anyPlace();
    void theBorderIsThatOfACutPicture();
    void pictureWithoutEnd();
    void nothingToSketch();
    void inPieces();
    void changedLevels();
    void changedPhoto();
    void largePicture();
};

void SketchOperationTest::settingsAreInForce()
{
    gint width = 0;
    gint height = 0;
    gint count = 0;
    g_object_get(gegl_config(), "tile-width", &width, "tile-height", &height, "threads", &count,
                 nullptr);
    if (!tiles.isEmpty())
        QCOMPARE(QSize(width, height), tiles);
    if (threads > 0)
        QCOMPARE(count, threads);
}

// What an editor draws its dialog from.
void SketchOperationTest::properties()
{
    guint count = 0;
    GParamSpec **list = gegl_operation_list_properties("crayvell:sketch", &count);
    QCOMPARE(count, 2U);
    const struct
    {
        const char *name;
        const char *label;
        int initial;
    } expected[] = {{"black", "Black level", 0}, {"white", "White level", 255}};
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(g_param_spec_get_name(list[i]), expected[i].name);
        QCOMPARE(g_param_spec_get_nick(list[i]), expected[i].label);
        QVERIFY(qstrlen(g_param_spec_get_blurb(list[i])) > 0);
        QVERIFY(G_IS_PARAM_SPEC_INT(list[i]));
        const GParamSpecInt *range = G_PARAM_SPEC_INT(list[i]);
        QCOMPARE(range->minimum, 0);
        QCOMPARE(range->maximum, 255);
        QCOMPARE(range->default_value, expected[i].initial);
    }
    g_free(list);
    QCOMPARE(gegl_operation_get_key("crayvell:sketch", "title"), "Pencil Sketch");
    QVERIFY(gegl_operation_get_key("crayvell:sketch", "description"));
}

void SketchOperationTest::anySize_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(1, 1), QSize(1, 70), QSize(70, 1), QSize(3, 5), QSize(4, 4),
                             QSize(5, 5), QSize(6, 7), QSize(64, 64), QSize(65, 63),
                             QSize(129, 257), QSize(157, 61), QSize(700, 513)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
}

void SketchOperationTest::anySize()
{
    QFETCH(QSize, size);
    const QImage photo = pictures::noise(size.width(), size.height());
    const Graph graph(bufferOf(photo));
    QCOMPARE(graph.extent(), photo.rect());
    QCOMPARE(pictures::difference(graph.whole(), pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void SketchOperationTest::levels_data()
{
    QTest::addColumn<int>("black");
    QTest::addColumn<int>("white");
    QTest::newRow("narrow") << 51 << 230;
    QTest::newRow("crossed") << 200 << 100;
    QTest::newRow("equal") << 128 << 128;
    QTest::newRow("both white") << 255 << 255;
}

void SketchOperationTest::levels()
{
    QFETCH(int, black);
    QFETCH(int, white);
    const QImage photo = pictures::noise(157, 61);
    Graph graph(bufferOf(photo));
    graph.setLevels(black, white);
    QCOMPARE(pictures::difference(graph.whole(), pictures::expectedSketch(photo, black, white)),
             QString());
}

void SketchOperationTest::storedFormats_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<bool>("isGrey");
    for (const char *format :
         {"R'G'B' u8", "R'G'B'A u8", "R'G'B' u16", "R'G'B'A float", "RGBA float", "RGB u16"})
        QTest::newRow(format) << QByteArray(format) << false;
    for (const char *format : {"Y' u8", "Y'A u8", "Y' u16", "Y'A float", "Y float"})
        QTest::newRow(format) << QByteArray(format) << true;
}

// None of these loses anything of 8 bits, so that the sketch is the same.
void SketchOperationTest::storedFormats()
{
    QFETCH(QByteArray, format);
    QFETCH(bool, isGrey);
    const QImage photo = isGrey ? greyNoise(333, 222) : pictures::noise(333, 222);
    const Graph graph(converted(bufferOf(photo), format.constData()));
    QCOMPARE(pictures::difference(graph.whole(), pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void SketchOperationTest::greyGivesGrey()
{
    const Graph graph(converted(bufferOf(greyNoise(64, 48)), "Y' u8"));
    graph.whole();
    const Babl *format = nullptr;
    GeglBuffer *sketch = nullptr;
    GeglNode *sink = gegl_node_new_child(gegl_node_get_parent(graph.sketch()), "operation",
                                         "gegl:buffer-sink", "buffer", &sketch, nullptr);
    gegl_node_link(graph.sketch(), sink);
    gegl_node_process(sink);
    QVERIFY(sketch);
    const Buffer owned(sketch);
    format = gegl_buffer_get_format(sketch);
    QCOMPARE(babl_get_name(format), "Y'A u8");
    QCOMPARE(
        pictures::difference(pixelsOf(sketch), pictures::expectedSketch(greyNoise(64, 48), 0, 255)),
        QString());
}

void SketchOperationTest::ignoresAlpha()
{
    const QImage photo = pictures::noise(157, 61);
    QImage veiled = photo;
    for (int y = 0; y < veiled.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(veiled.scanLine(y));
        for (int x = 0; x < veiled.width(); ++x)
            line[x] = (line[x] & 0xffffffU) | static_cast<QRgb>((x * 7 + y) % 256) << 24;
    }
    QCOMPARE(pictures::difference(Graph(bufferOf(veiled)).whole(),
                                  pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void SketchOperationTest::valuesOfOtherSpacesAreTakenAsStored()
{
    for (const char *name : {"ProPhoto", "Adobish", "ACEScg"}) {
        const Babl *space = babl_space(name);
        QVERIFY2(space, name);
        const QImage photo = pictures::noise(157, 61);
        const Graph graph(bufferOf(photo, {}, space));
        QCOMPARE(pictures::difference(graph.whole(space), pictures::expectedSketch(photo, 0, 255)),
                 QString());
    }
}

// Wherever the window is scrolled to.
void SketchOperationTest::anyPart()
{
    const QImage photo = pictures::noise(700, 513);
    const QImage expected = pictures::expectedSketch(photo, 0, 255);
    const Buffer buffer = bufferOf(photo);
    for (const QRect part :
         {QRect(0, 0, 1, 1), QRect(1, 1, 1, 1), QRect(2, 2, 1, 1), QRect(350, 250, 1, 1),
          QRect(697, 510, 3, 3), QRect(0, 0, 64, 64), QRect(63, 63, 2, 2), QRect(61, 100, 133, 1),
          QRect(100, 3, 1, 500), QRect(17, 23, 511, 401)}) {
        QCOMPARE(pictures::difference(Graph(buffer).part(part), expected.copy(part)), QString());
    }
}

void SketchOperationTest::anyPlace()
{
    const QImage photo = pictures::noise(157, 61);
    for (const QPoint at : {QPoint(-37, 1000), QPoint(5, -61), QPoint(-1000, -1000)}) {
        const Graph graph(bufferOf(photo, at));
        QCOMPARE(graph.extent(), QRect(at, photo.size()));
        QCOMPARE(pictures::difference(graph.whole(), pictures::expectedSketch(photo, 0, 255)),
                 QString());
    }
}

void SketchOperationTest::theBorderIsThatOfACutPicture()
{
    const QImage photo = pictures::noise(157, 61);
    const QRect cut(20, 10, 99, 41);
    Graph graph(bufferOf(photo));
    GeglNode *crop = gegl_node_new();
    gegl_node_set(crop, "operation", "gegl:crop", "x", 20.0, "y", 10.0, "width", 99.0, "height",
                  41.0, nullptr);
    graph.putBetween(crop);
    g_object_unref(crop);
    QCOMPARE(graph.extent(), cut);
    QCOMPARE(pictures::difference(graph.whole(), pictures::expectedSketch(photo.copy(cut), 0, 255)),
             QString());
}

void SketchOperationTest::pictureWithoutEnd()
{
    Graph graph("gegl:checkerboard");
    gegl_node_set(graph.source(), "x", 7, "y", 5, nullptr);
    const QRect part(-50, 1000, 133, 77);
    const GeglRectangle around = rectangleOf(part.adjusted(-2, -2, 2, 2));
    QImage photo(around.width, around.height, QImage::Format_RGBA8888);
    gegl_node_blit(graph.source(), 1.0, &around, colourFormat(), photo.bits(),
                   static_cast<gint>(photo.bytesPerLine()), GEGL_BLIT_DEFAULT);
    const QImage expected =
        pictures::expectedSketch(photo, 0, 255).copy(2, 2, part.width(), part.height());
    QVERIFY(expected != QImage(expected.size(), expected.format()));
    QCOMPARE(pictures::difference(graph.part(part), expected), QString());
}

void SketchOperationTest::nothingToSketch()
{
    const std::unique_ptr<GeglNode, Unref> root(gegl_node_new());
    GeglNode *alone = gegl_node_new_child(root.get(), "operation", "crayvell:sketch", nullptr);
    const GeglRectangle box = gegl_node_get_bounding_box(alone);
    QVERIFY(gegl_rectangle_is_empty(&box));
    gegl_node_process(alone);

    const Graph graph(bufferOf(pictures::noise(64, 48)));
    const GeglRectangle none {10, 10, 0, 0};
    uint32_t untouched = 0x12345678;
    gegl_node_blit(graph.sketch(), 1.0, &none, colourFormat(), &untouched, GEGL_AUTO_ROWSTRIDE,
                   GEGL_BLIT_DEFAULT);
    QCOMPARE(untouched, 0x12345678U);
}

// As GEGL's own command and editors in the background work.
void SketchOperationTest::inPieces()
{
    const QImage photo = pictures::noise(700, 513);
    const Graph graph(bufferOf(photo));
    const GeglRectangle extent = rectangleOf(photo.rect());
    const Buffer sketch(gegl_buffer_new(&extent, colourFormat()));
    GeglNode *sink = gegl_node_new_child(gegl_node_get_parent(graph.sketch()), "operation",
                                         "gegl:write-buffer", "buffer", sketch.get(), nullptr);
    gegl_node_link(graph.sketch(), sink);
    const std::unique_ptr<GeglProcessor, Unref> processor(gegl_node_new_processor(sink, &extent));
    int pieces = 1;
    while (gegl_processor_work(processor.get(), nullptr))
        ++pieces;
    QVERIFY(chunks.isEmpty() || chunks.width() > 600 || pieces > 10);
    QCOMPARE(pictures::difference(pixelsOf(sketch.get()), pictures::expectedSketch(photo, 0, 255)),
             QString());
}

// The live preview, which keeps what it has rendered.
void SketchOperationTest::changedLevels()
{
    const QImage photo = pictures::noise(157, 61);
    Graph graph(bufferOf(photo));
    for (const int black : {0, 40, 80, 0}) {
        graph.setLevels(black, 200);
        QCOMPARE(pictures::difference(graph.part(photo.rect(), nullptr, GEGL_BLIT_CACHE),
                                      pictures::expectedSketch(photo, black, 200)),
                 QString());
    }
}

// What changes reaches two pixels further.
void SketchOperationTest::changedPhoto()
{
    QImage photo = pictures::scene(157, 61);
    const Buffer buffer = bufferOf(photo);
    const Graph graph(buffer);
    QCOMPARE(pictures::difference(graph.part(photo.rect(), nullptr, GEGL_BLIT_CACHE),
                                  pictures::expectedSketch(photo, 0, 255)),
             QString());
    const QRect spot(70, 30, 1, 1);
    photo.setPixel(spot.topLeft(), 0xffffffff);
    const uint32_t light = 0xffffffff;
    const GeglRectangle changed = rectangleOf(spot);
    gegl_buffer_set(buffer.get(), &changed, 0, colourFormat(), &light, GEGL_AUTO_ROWSTRIDE);
    QCOMPARE(pictures::difference(graph.part(photo.rect(), nullptr, GEGL_BLIT_CACHE),
                                  pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void SketchOperationTest::largePicture()
{
    const QImage photo = pictures::noise(3011, 2003);
    Graph graph(bufferOf(photo));
    graph.setLevels(51, 230);
    QCOMPARE(pictures::difference(graph.whole(), pictures::expectedSketch(photo, 51, 230)),
             QString());
}

namespace {

QSize sizeOf(const QByteArray &text)
{
    const QList<QByteArray> numbers = text.split('x');
    return {numbers.value(0).toInt(), numbers.value(1).toInt()};
}

// Takes the options that are GEGL's out of the arguments.
void configure(int &argc, char **argv)
{
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        const QByteArray name = argv[i];
        const QByteArray value = i + 1 < argc ? argv[i + 1] : "";
        if (name == "--tiles")
            tiles = sizeOf(value);
        else if (name == "--threads")
            threads = value.toInt();
        else if (name == "--chunks")
            chunks = sizeOf(value);
        else {
            argv[kept++] = argv[i];
            continue;
        }
        ++i;
    }
    argc = kept;
    if (threads > 0)
        qputenv("GEGL_THREADS", QByteArray::number(threads));
}

} // namespace

int main(int argc, char **argv)
{
    configure(argc, argv);
    return runInTestApplication(argc, argv, [&] {
        qputenv("GEGL_PATH", CRAYVELL_GEGL_PATH);
        gegl_init(nullptr, nullptr);
        g_object_set(gegl_config(), "use-opencl", FALSE, nullptr);
        if (!tiles.isEmpty()) {
            g_object_set(gegl_config(), "tile-width", tiles.width(), "tile-height", tiles.height(),
                         nullptr);
        }
        if (!chunks.isEmpty()) {
            g_object_set(gegl_config(), "chunk-size", chunks.width() * chunks.height(), nullptr);
        }
        SketchOperationTest tests;
        const int result = runTestsOf(tests, argc, argv);
        gegl_exit();
        return result;
    });
}

#include "tst_sketchoperation.moc"
