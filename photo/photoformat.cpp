#include "photo/photoformat.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>
#include <string_view>

namespace photo {

namespace {

using namespace std::string_view_literals;

struct Signature
{
    int offset;
    std::string_view bytes;
    PhotoFormat format;
    const char *name;
};

constexpr auto refused = PhotoFormat::Unknown;

// The first that fits decides.
constexpr Signature signatures[] = {
    {0, "\xff\xd8\xff"sv, PhotoFormat::Jpeg, "JPEG"},
    {0, "\x89PNG\r\n\x1a\n"sv, PhotoFormat::Png, "PNG"},
    {8, "CR\x02"sv, refused, "camera raw"},
    {0, "II*\0"sv, PhotoFormat::Tiff, "TIFF"},
    {0, "MM\0*"sv, PhotoFormat::Tiff, "TIFF"},
    {0, "II+\0"sv, PhotoFormat::Tiff, "TIFF"},
    {0, "MM\0+"sv, PhotoFormat::Tiff, "TIFF"},
    {8, "WEBPVP8"sv, PhotoFormat::WebP, "WebP"},
    {0, "GIF87a"sv, PhotoFormat::Gif, "GIF"},
    {0, "GIF89a"sv, PhotoFormat::Gif, "GIF"},
    {0, "P2"sv, PhotoFormat::Ppm, "PGM"},
    {0, "P3"sv, PhotoFormat::Ppm, "PPM"},
    {0, "P5"sv, PhotoFormat::Ppm, "PGM"},
    {0, "P6"sv, PhotoFormat::Ppm, "PPM"},
    {0, "BM"sv, PhotoFormat::Bmp, "BMP"},
    {4, "ftypavi"sv, refused, "AVIF"},
    {4, "ftyphei"sv, refused, "HEIF"},
    {4, "ftyphev"sv, refused, "HEIF"},
    {4, "ftypmif1"sv, refused, "HEIF"},
    {4, "ftypmsf1"sv, refused, "HEIF"},
    {4, "ftypcrx"sv, refused, "camera raw"},
    {4, "ftyp"sv, refused, "MP4"},
    {0, "\xff\x0a"sv, refused, "JPEG XL"},
    {4, "JXL \r\n"sv, refused, "JPEG XL"},
    {4, "jP  \r\n"sv, refused, "JPEG 2000"},
    {0, "\xff\x4f\xff\x51"sv, refused, "JPEG 2000"},
    {0, "8BPS"sv, refused, "PSD"},
    {0, "%PDF"sv, refused, "PDF"},
    {0, "%!PS"sv, refused, "PostScript"},
    {0, "P1"sv, refused, "PBM"},
    {0, "P4"sv, refused, "PBM"},
    {0, "P7"sv, refused, "PAM"},
    {0, "qoif"sv, refused, "QOI"},
    {0, "gimp xcf"sv, refused, "XCF"},
    {0, "\0\0\1\0"sv, refused, "ICO"},
    {0, "\0\0\2\0"sv, refused, "CUR"},
    {0, "icns"sv, refused, "ICNS"},
    {0, "\x8aMNG"sv, refused, "MNG"},
    {0, "/* XPM"sv, refused, "XPM"},
    {0, "#define"sv, refused, "XBM"},
    {0, "<svg"sv, refused, "SVG"},
    {0, "<?xml"sv, refused, "XML"},
    {0, "IIRO"sv, refused, "camera raw"},
    {0, "IIRS"sv, refused, "camera raw"},
    {0, "IIU\0"sv, refused, "camera raw"},
    {0, "FUJIFILMCCD-RAW"sv, refused, "camera raw"},
    {0, "v/1\1"sv, refused, "OpenEXR"},
    {0, "#?RADIANCE"sv, refused, "Radiance HDR"},
    {0, "DDS "sv, refused, "DDS"},
    {0, "\x1f\x8b"sv, refused, "gzip"},
    {0, "PK\3\4"sv, refused, "ZIP"},
};

// The dot belongs to the suffix. Of the letters only A to Z have two cases: what the
// user's locale takes for one letter is no matter of file formats.
bool hasSuffixOf(const std::string &fileName, std::span<const char *const> suffixes)
{
    const std::string suffix = std::filesystem::path(fileName).extension().native();
    return std::ranges::any_of(
        suffixes, [&](const char *known) { return qstricmp(suffix.c_str(), known) == 0; });
}

bool isCameraRaw(const std::string &fileName)
{
    constexpr std::array suffixes = {".3fr", ".arw", ".cr2", ".dcr", ".dng", ".erf", ".iiq",
                                     ".k25", ".kdc", ".mef", ".mos", ".nef", ".nrw", ".pef",
                                     ".rw2", ".rwl", ".sr2", ".srf", ".srw"};
    return hasSuffixOf(fileName, suffixes);
}

// Two letters are little: what follows them must fit, too.
bool isLikely(const Signature &signature, std::string_view bytes)
{
    if (signature.format == PhotoFormat::Ppm)
        return bytes.size() > 2 && " \t\n\v\f\r#"sv.find(bytes[2]) != std::string_view::npos;
    if (signature.format != PhotoFormat::Bmp)
        return true;
    constexpr std::array headerSizes = {12, 40, 52, 56, 64, 108, 124};
    return bytes.size() > 17 && bytes.substr(15, 3) == "\0\0\0"sv
        && std::ranges::find(headerSizes, static_cast<uchar>(bytes[14])) != headerSizes.end();
}

} // namespace

ContentKind contentKind(const QByteArray &beginning, const std::string &fileName)
{
    const std::string_view bytes(beginning.constData(), beginning.size());
    for (const Signature &signature : signatures) {
        const auto offset = static_cast<std::size_t>(signature.offset);
        if (bytes.size() < offset || !bytes.substr(offset).starts_with(signature.bytes)
            || !isLikely(signature, bytes))
            continue;
        if (signature.format == PhotoFormat::Tiff && isCameraRaw(fileName))
            return {refused, "camera raw"};
        return {signature.format, signature.name};
    }
    return {};
}

const char *readerName(PhotoFormat format, const QByteArray &beginning)
{
    switch (format) {
    case PhotoFormat::Jpeg: return "jpeg";
    case PhotoFormat::Png: return "png";
    case PhotoFormat::Tiff: return "tiff";
    case PhotoFormat::WebP: return "webp";
    case PhotoFormat::Bmp: return "bmp";
    case PhotoFormat::Gif: return "gif";
    case PhotoFormat::Ppm:
        return beginning.startsWith("P2") || beginning.startsWith("P5") ? "pgm" : "ppm";
    case PhotoFormat::Unknown: break;
    }
    return "";
}

bool hasPictureSuffix(const std::string &fileName)
{
    constexpr std::array suffixes = {".jpg",  ".jpeg", ".jpe",  ".jfif", ".png",  ".tif",
                                     ".tiff", ".bmp",  ".dib",  ".gif",  ".webp", ".ppm",
                                     ".pgm",  ".pnm",  ".heic", ".heif", ".avif", ".jxl"};
    return hasSuffixOf(fileName, suffixes);
}

} // namespace photo
