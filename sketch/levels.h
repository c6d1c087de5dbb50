#pragma once

#include <QColor>
#include <QImage>

// The opaque colour of one entry of a levels table: first for a value below
// low, second above high (tested first, so that it wins when the levels cross),
// and in between their blend in proportion, each channel truncated. Values and
// levels are 0 to 255; alpha is ignored.
QRgb level(int value, int low, int high, QColor first, QColor second);

// Renders an edge buffer as a sketch from black ink on white paper.
//
// image  32 bits a pixel, any stride, also empty; every pixel is overwritten
//        with an opaque grey 0xFFvvvvvv. Detached from images it shares data
//        with.
// edges  width x height bytes, row-major without padding, as
//        inverterodesketch() makes them; not touched when the image is empty.
// low    black level: grey levels below it become black, 0 to 255.
// high   white level: grey levels above it become white, 0 to 255.
//
// A pixel of edge value e has the grey level 255 - e, which is looked up in the
// 256 entries of level(). One thread, no shared state.
void updatePenLevels(QImage &image, const unsigned char *edges, int low, int high);
