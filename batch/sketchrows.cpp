#include "batch/sketchrows.h"

#include <algorithm>

#include "sketch/edgebuffer.h"

namespace batch {

namespace {

// How far an edge value looks: the rows at a band's own border lack neighbours,
// and are left to the bands beside it, except at the picture's border.
constexpr int reach = 2;

} // namespace

qint64 sketchRowsNeed(int width)
{
    return qint64(sketchBandRows) * width;
}

void sketchRows(photo::PhotoDecoder &photo, const sketch::GreyTable &table, const GreyRows &receive)
{
    const int width = photo.size().width();
    const int height = photo.size().height();
    std::vector<uchar> edges(static_cast<std::size_t>(width) * sketchBandRows);
    for (int first = 0, end = 0; end < height; first = end - 2 * reach) {
        end = std::min(height, first + sketchBandRows);
        const QImage band = photo.rows(first, end - first);
        inverterodesketch(band, edges.data(), {});
        const int top = first == 0 ? 0 : reach;
        const int bottom = end - first - (end == height ? 0 : reach);
        uchar *const valid = edges.data() + static_cast<std::size_t>(top) * width;
        sketch::renderGrey(valid, valid, static_cast<std::size_t>(bottom - top) * width, table);
        receive(valid, bottom - top);
    }
    photo.finish();
}

} // namespace batch
