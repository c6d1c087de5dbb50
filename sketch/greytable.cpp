#include "sketch/greytable.h"

#include "sketch/levels.h"

namespace sketch {

GreyTable greyTable(int low, int high)
{
    GreyTable table {};
    for (int edge = 0; edge < 256; ++edge) {
        const QRgb colour = level(255 - edge, low, high, Qt::black, Qt::white);
        table[edge] = static_cast<unsigned char>(qGreen(colour));
    }
    return table;
}

void renderGrey(const unsigned char *edges, unsigned char *grey, std::size_t pixels,
                const GreyTable &table)
{
    // With the levels wide open the table only inverts, which needs no look-up
    // and is what most sketches are rendered with.
    static const GreyTable inversion = greyTable(0, 255);
    if (table == inversion) {
        for (std::size_t i = 0; i < pixels; ++i)
            grey[i] = static_cast<unsigned char>(~edges[i]);
        return;
    }
    for (std::size_t i = 0; i < pixels; ++i)
        grey[i] = table[edges[i]];
}

} // namespace sketch
