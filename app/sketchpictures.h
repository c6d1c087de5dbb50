#pragma once

#include <QImage>
#include <QPixmap>

#include <array>

// The memory that sketches are rendered to. A fresh picture costs more in page
// faults than the rendering itself, so the memory of the last one is used again
// where nobody keeps that, or else two take turns; and what is shown is not a copy.
class SketchPictures
{
public:
    // A picture for a sketch of the photo: its size and metadata, Format_ARGB32,
    // pixels undefined. Written to without a copy; its memory is that of an
    // earlier picture to which nothing refers any more, where there is one.
    // Null when the photo is.
    QImage next(const QImage &photo);

    // Gives up the memory that no picture in use refers to.
    void release();

private:
    std::array<QImage, 2> m_memory;
};

// A pixmap that shows an opaque picture (Format_ARGB32, every alpha 255) from the
// picture's own memory, which it keeps alive. The picture must not be written to
// in place while the pixmap exists; QImage's functions copy it first if they do.
QPixmap opaquePixmap(const QImage &picture);

// A copy of the photo without anything to see, in the format of pixmaps with
// transparency, so that it becomes one without a copy; null when the photo is.
QImage emptyOverlay(const QImage &photo);
