#include "plugins/gegl/sketcharea.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "sketch/kernel/edgekernel.h"
#include "sketch/kernel/levelskernel.h"

namespace plugins {

namespace {

constexpr int radius = 2; // of the neighbourhood that an edge value looks at
constexpr int bandHeight = 128; // rows: what is worked on stays small and in the caches

// The rectangle and what its edge values look at, as far as there is a picture.
GeglRectangle surroundings(const GeglRectangle &part, const GeglRectangle &picture)
{
    const GeglRectangle grown {part.x - radius, part.y - radius, part.width + 2 * radius,
                               part.height + 2 * radius};
    GeglRectangle area;
    gegl_rectangle_intersect(&area, &grown, &picture);
    return area;
}

std::size_t pixelsOf(const GeglRectangle &area)
{
    return static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height);
}

uint32_t opaquePixel(uint32_t red, uint32_t green, uint32_t blue)
{
    return 0xff000000U | red << 16 | green << 8 | blue;
}

// The memory of one band, used again for the next.
class Band
{
public:
    explicit Band(const Picture &picture)
        : m_picture(picture)
    {
    }

    void sketch(GeglBuffer *input, GeglBuffer *output, const GeglRectangle &rows,
                const Levels &levels)
    {
        const GeglRectangle area = surroundings(rows, m_picture.extent);
        read(input, area);
        const std::ptrdiff_t stride = std::ptrdiff_t(4) * area.width;
        auto *const pixels = reinterpret_cast<uint8_t *>(m_pixels.data());
        m_edges.resize(pixelsOf(area));
        sketch::edgeKernel({pixels, stride, area.width, area.height}, m_edges.data(), [](int) {});
        sketch::levelsKernel(m_edges.data(), levels.black, levels.white,
                             {pixels, stride, area.width, area.height});
        write(output, area, rows);
    }

private:
    void read(GeglBuffer *input, const GeglRectangle &area)
    {
        const std::size_t channels = m_picture.isGrey ? 1 : 4;
        m_stored.resize(pixelsOf(area) * channels);
        m_pixels.resize(pixelsOf(area));
        gegl_buffer_get(input, &area, 1.0, storedFormat(m_picture), m_stored.data(),
                        GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
        const uint8_t *stored = m_stored.data();
        if (m_picture.isGrey) {
            for (std::size_t i = 0; i < m_pixels.size(); ++i)
                m_pixels[i] = opaquePixel(stored[i], stored[i], stored[i]);
        } else {
            for (std::size_t i = 0; i < m_pixels.size(); ++i)
                m_pixels[i] = opaquePixel(stored[4 * i], stored[4 * i + 1], stored[4 * i + 2]);
        }
    }

    void write(GeglBuffer *output, const GeglRectangle &area, const GeglRectangle &rows)
    {
        const int channels = m_picture.isGrey ? 2 : 4;
        const int colours = channels - 1;
        m_stored.resize(pixelsOf(rows) * static_cast<std::size_t>(channels));
        uint8_t *stored = m_stored.data();
        for (int y = 0; y < rows.height; ++y) {
            const std::size_t first = static_cast<std::size_t>(rows.y + y - area.y) * area.width
                + static_cast<std::size_t>(rows.x - area.x);
            for (int x = 0; x < rows.width; ++x, stored += channels) {
                std::fill_n(stored, colours,
                            static_cast<uint8_t>(m_pixels[first + static_cast<std::size_t>(x)]));
                stored[colours] = 255;
            }
        }
        gegl_buffer_set(output, &rows, 0, sketchFormat(m_picture), m_stored.data(),
                        GEGL_AUTO_ROWSTRIDE);
    }

    const Picture &m_picture;
    std::vector<uint8_t> m_stored;
    std::vector<uint32_t> m_pixels; // of the photo, then of the sketch
    std::vector<uint8_t> m_edges;
};

} // namespace

const Babl *storedFormat(const Picture &picture)
{
    return babl_format_with_space(picture.isGrey ? "Y' u8" : "R'G'B'A u8", picture.space);
}

const Babl *sketchFormat(const Picture &picture)
{
    return babl_format_with_space(picture.isGrey ? "Y'A u8" : "R'G'B'A u8", picture.space);
}

void sketchPart(GeglBuffer *input, GeglBuffer *output, const Picture &picture,
                const GeglRectangle &part, const Levels &levels)
{
    if (part.width <= 0)
        return;
    Band band(picture);
    for (int done = 0; done < part.height; done += bandHeight) {
        const GeglRectangle rows {part.x, part.y + done, part.width,
                                  std::min(bandHeight, part.height - done)};
        band.sketch(input, output, rows, levels);
    }
}

} // namespace plugins
