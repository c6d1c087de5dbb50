#pragma once

#include <QIODevice>

namespace photo {

// Texts and profiles lie compressed in a PNG, beside its pixels. Whoever reads the
// file unpacks them, without a bound on their number: a small file can fill a
// machine's memory with them.

// More than any picture needs, and little beside a photo.
constexpr qint64 mostPackedTextBytes = 64'000'000;

// The bytes that those of a PNG unpack to; 0 for any other file. They are unpacked
// to be counted, but not kept, and not further than shortly beyond
// mostPackedTextBytes. The device must stand at the file's beginning and is put
// back there.
qint64 packedTextBytes(QIODevice &device);

} // namespace photo
