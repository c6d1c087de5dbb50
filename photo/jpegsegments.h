#pragma once

#include <QIODevice>

#include <vector>

namespace photo {

// How far a JPEG is walked over.
enum class JpegReach {
    FirstScan, // what stands before the pixels
    WholeFile,
};

struct JpegSegments
{
    int segments = 0; // of all kinds, before the first scan
    int scans = 0; // those that carry pixels
    int later = 0; // segments behind the first scan that a reader may keep
};

// More than any camera or program writes. A reader may look through all segments it
// has met at each further one, and goes over the whole picture for every scan: a
// small file with very many would keep a processor busy for minutes or hours.
constexpr int mostJpegSegments = 5'000;
constexpr int mostJpegScans = 500;
// Some cameras append a film, in which what looks like a segment occurs by chance.
constexpr int mostLaterJpegSegments = 20'000;

// Counts a JPEG's segments without decoding anything, not further than shortly beyond
// the bounds: from one marker to the next up to the first scan, and from there on
// wherever their bytes stand, because a decoder that has lost its place among the
// pixels may go on anywhere. The device must stand at the file's beginning and is put
// back there.
JpegSegments countJpegSegments(QIODevice &device, JpegReach reach);

// Where a segment's content lies in the file.
struct SegmentPlace
{
    qint64 offset;
    qint64 length;
};

// The contents of those segments of one kind, such as 0xe1, that stand before the
// first scan. The device must stand at the file's beginning and is put back there.
std::vector<SegmentPlace> jpegSegmentsOfKind(QIODevice &device, int marker);

} // namespace photo
