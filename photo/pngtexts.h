#pragma once

#include <QIODevice>

namespace photo {

// Texts and profiles lie compressed in a PNG, beside its pixels. Whoever reads the
// file unpacks them, without a bound on their number: a small file can fill a
// machine's memory with them.

// The bytes that those of a PNG unpack to at the most; 0 for any other file. The
// device must stand at the file's beginning and is put back there.
qint64 packedTextBytes(QIODevice &device);

// More than any picture needs, and little beside a photo.
constexpr qint64 mostPackedTextBytes = 64'000'000;

} // namespace photo
