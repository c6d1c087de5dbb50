// Uses the installed libraries once: a sketch of a photo with one dark pixel, its
// blur, and the view.

#include <QApplication>
#include <QImage>

#include <cstdio>
#include <vector>

#include "canvas/tarngraphicsview.h"
#include "sketch/edgebuffer.h"
#include "sketch/gaussianblur.h"
#include "sketch/levels.h"

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    TarnGraphicsView view(nullptr);

    QImage photo(20, 10, QImage::Format_ARGB32);
    photo.fill(Qt::white);
    photo.setPixel(9, 5, qRgb(0, 0, 0));
    std::vector<unsigned char> edges(20 * 10);
    inverterodesketch(photo, edges.data(), {});
    updatePenLevels(photo, edges.data(), 0, 255);
    const bool hasSketch = edges[5 * 20 + 9] == 255 && photo.pixel(9, 5) == 0xff000000U
        && photo.pixel(0, 0) == 0xffffffffU;

    QImage blurred(photo.size(), photo.format());
    blurred.fill(Qt::red);
    blur(&photo, &blurred, 1, 1.0);
    const bool isBlurred = blurred == photo; // one tap leaves the picture as it is

    std::printf("sketch %d, blur %d, tool %d\n", hasSketch, isBlurred, view.toolMode);
    return hasSketch && isBlurred && view.toolMode == TarnGraphicsView::ModeNone ? 0 : 1;
}
