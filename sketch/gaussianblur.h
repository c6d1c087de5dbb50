#pragma once

#include <QImage>

// Blurs the colours of a picture with a Gaussian, rows first and columns then.
//
// source       32 bits a pixel in memory as blue, green, red, alpha
//              (Format_ARGB32 or Format_RGB32), any stride. Its bits are taken
//              writably, which detaches it from images it shares data with, but
//              they are only read.
// destination  the same format, width and height; may be the source. Detached
//              likewise. Its alpha bytes are never written.
// size         number of taps, from 1 on; half = size / 2 is the radius.
// sigma        in pixels, above 0. The weights are the square roots of a
//              Gaussian's, so that the blur has the standard deviation
//              sigma * sqrt(2).
//
// Border: the outermost half rows and columns keep what the destination held. A
// picture that is narrower or lower than 2 * half + 1 keeps everything.
//
// Levels are truncated once in a row, but in a column after the centre and after
// every pair of taps, so that even a uniform picture may lose some levels. An
// even size applies its outermost weight on both sides although only one took
// part in the normalisation: the picture becomes brighter, and sums above 255
// wrap around.
//
// A size or sigma out of range, and a sigma whose square is beyond a double
// (below about 1e-154, above about 1e153), leave the destination as it is. One
// thread, no shared state; fails at nothing but lack of memory for 2 * half + 3
// rows (std::bad_alloc).
void blur(QImage *source, QImage *destination, int size, double sigma);
