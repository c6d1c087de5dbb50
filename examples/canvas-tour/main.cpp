#include <QApplication>
#include <QImageReader>

#include <cstdio>

#include "examples/canvas-tour/tourwindow.h"

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (QApplication::arguments().size() != 2) {
        std::fputs("usage: canvas-tour PICTURE\n"
                   "Tries every tool of the canvas on a picture and lists what it reports.\n",
                   stderr);
        return 2;
    }
    QImageReader reader(QApplication::arguments().constLast());
    reader.setAutoTransform(true);
    const QImage picture = reader.read();
    if (picture.isNull()) {
        std::fprintf(stderr, "canvas-tour: cannot read %s: %s\n", qPrintable(reader.fileName()),
                     qPrintable(reader.errorString()));
        return 1;
    }
    TourWindow window;
    window.show();
    window.showPicture(QPixmap::fromImage(picture)); // only now has the canvas its size
    return QApplication::exec();
}
