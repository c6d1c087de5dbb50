#pragma once

#include <QByteArray>

#include <string>

namespace photo {

// The kinds of photos that are read. Everything else is refused.
enum class PhotoFormat { Unknown, Jpeg, Png, Tiff, WebP, Bmp, Gif, Ppm };

struct ContentKind
{
    PhotoFormat format = PhotoFormat::Unknown;
    std::string name; // for texts, as in "HEIF"; empty where even that is unknown
};

// How many bytes of a file's beginning contentKind() looks at.
constexpr qint64 contentProbe = 64;

// What a file is, from its first bytes. The name is looked at in one case: the
// raw files of cameras have the content of a TIFF, whose picture is only a
// thumbnail, and are told by their suffix.
ContentKind contentKind(const QByteArray &beginning, const std::string &fileName);

// The toolkit's name for a format that it reads.
const char *readerName(PhotoFormat format, const QByteArray &beginning);

// Whether the name ends like that of a picture.
bool hasPictureSuffix(const std::string &fileName);

} // namespace photo
