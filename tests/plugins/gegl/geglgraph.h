#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>

#include <memory>

#undef signals // which is a name in GIO
#include <gegl.h>

// Pictures in GEGL's buffers, and what the operation makes of them.

struct Unref
{
    void operator()(void *object) const { g_object_unref(object); }
};
using Buffer = std::unique_ptr<GeglBuffer, Unref>;

inline GeglRectangle rectangleOf(QRect rect)
{
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

inline const Babl *colourFormat(const Babl *space = nullptr)
{
    return babl_format_with_space("R'G'B'A u8", space);
}

inline Buffer bufferOf(const QImage &photo, QPoint at = {}, const Babl *space = nullptr)
{
    const QImage bytes = photo.convertToFormat(QImage::Format_RGBA8888);
    const GeglRectangle extent = rectangleOf(QRect(at, photo.size()));
    Buffer buffer(gegl_buffer_new(&extent, colourFormat(space)));
    gegl_buffer_set(buffer.get(), &extent, 0, colourFormat(space), bytes.constBits(),
                    static_cast<gint>(bytes.bytesPerLine()));
    return buffer;
}

// The same picture stored in another format.
inline Buffer converted(const Buffer &buffer, const char *format)
{
    const GeglRectangle *extent = gegl_buffer_get_extent(buffer.get());
    Buffer other(gegl_buffer_new(extent, babl_format(format)));
    gegl_buffer_copy(buffer.get(), extent, GEGL_ABYSS_NONE, other.get(), extent);
    return other;
}

inline QImage pixelsOf(GeglBuffer *buffer, const Babl *space = nullptr)
{
    const GeglRectangle extent = *gegl_buffer_get_extent(buffer);
    QImage picture(extent.width, extent.height, QImage::Format_RGBA8888);
    gegl_buffer_get(buffer, &extent, 1.0, colourFormat(space), picture.bits(),
                    static_cast<gint>(picture.bytesPerLine()), GEGL_ABYSS_NONE);
    return picture.convertToFormat(QImage::Format_ARGB32);
}

// A source, perhaps an operation between, and the sketch of it.
class Graph
{
public:
    explicit Graph(const Buffer &photo)
        : Graph("gegl:buffer-source")
    {
        gegl_node_set(m_source, "buffer", photo.get(), nullptr);
    }
    explicit Graph(const char *source)
        : m_graph(gegl_node_new())
        , m_source(gegl_node_new_child(m_graph.get(), "operation", source, nullptr))
        , m_sketch(gegl_node_new_child(m_graph.get(), "operation", "crayvell:sketch", nullptr))
    {
        gegl_node_link(m_source, m_sketch);
    }

    GeglNode *source() const { return m_source; }
    GeglNode *sketch() const { return m_sketch; }
    void putBetween(GeglNode *node)
    {
        gegl_node_add_child(m_graph.get(), node);
        gegl_node_link_many(m_source, node, m_sketch, nullptr);
    }
    void setLevels(int black, int white)
    {
        gegl_node_set(m_sketch, "black", black, "white", white, nullptr);
    }
    QRect extent() const
    {
        const GeglRectangle box = gegl_node_get_bounding_box(m_sketch);
        return {box.x, box.y, box.width, box.height};
    }
    QImage part(QRect rect, const Babl *space = nullptr,
                GeglBlitFlags flags = GEGL_BLIT_DEFAULT) const
    {
        QImage picture(rect.size(), QImage::Format_RGBA8888);
        picture.fill(0x12345678);
        const GeglRectangle roi = rectangleOf(rect);
        gegl_node_blit(m_sketch, 1.0, &roi, colourFormat(space), picture.bits(),
                       static_cast<gint>(picture.bytesPerLine()), flags);
        return picture.convertToFormat(QImage::Format_ARGB32);
    }
    QImage whole(const Babl *space = nullptr) const { return part(extent(), space); }

private:
    std::unique_ptr<GeglNode, Unref> m_graph;
    GeglNode *m_source;
    GeglNode *m_sketch;
};
