// Uses each library once, from outside: an icon, a view, the window, a sketch.

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <vector>

#include "app/mainwindow.h"
#include "canvas/tarngraphicsview.h"
#include "sketch/edgebuffer.h"
#include "sketch/levels.h"

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const MainWindow window;
    const TarnGraphicsView view(nullptr);
    QImage photo(20, 10, QImage::Format_ARGB32);
    photo.fill(Qt::white);
    photo.setPixel(9, 5, qRgb(0, 0, 0));
    std::vector<unsigned char> edges(20 * 10);
    inverterodesketch(photo, edges.data(), {});
    updatePenLevels(photo, edges.data(), 0, 255);

    const bool hasIcons =
        QIcon(QStringLiteral(":/icons/colorpencils.png")).availableSizes().size() == 1;
    const bool hasSketch = edges[5 * 20 + 9] == 255 && photo.pixel(9, 5) == 0xff000000U;
    std::printf("icons %d, sketch %d, tool %d\n", hasIcons, hasSketch, view.toolMode);
    return hasIcons && hasSketch && !window.windowIcon().isNull() ? 0 : 1;
}
