#pragma once

#include <QImage>

// Pictures that tests make for themselves.
namespace pictures {

// Reproducible noise in every channel, opaque.
QImage noise(int width, int height, quint32 seed = 1);

// Soft gradients with dark strokes: something a sketch can be seen of.
QImage scene(int width, int height);

// The levels rendering of a photo's edges by the plain reference code.
QImage expectedSketch(const QImage &photo, int low, int high);

// Where two pictures of any format differ first: "size ..." or "(x, y): 0x...
// instead of 0x...", at most three places; empty when all pixels are equal.
QString difference(const QImage &actual, const QImage &expected);

} // namespace pictures
