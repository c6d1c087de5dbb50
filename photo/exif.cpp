#include "photo/exif.h"

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <string_view>

namespace photo {

namespace {

using namespace std::string_view_literals;

// Layout of the pixels in a TIFF, which the photo's EXIF data share a directory
// with, and profiles and other blocks that belong to its colours.
constexpr uint16_t layoutTags[] = {
    0x00fe, 0x00ff, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x0107, 0x0108, 0x0109, 0x010a, 0x0111,
    0x0115, 0x0116, 0x0117, 0x011c, 0x0120, 0x0121, 0x0122, 0x0123, 0x0124, 0x0125, 0x0129, 0x012d,
    0x013d, 0x013e, 0x013f, 0x0140, 0x0141, 0x0142, 0x0143, 0x0144, 0x0145, 0x014a, 0x014c, 0x0151,
    0x0152, 0x0153, 0x0154, 0x0155, 0x0156, 0x015b, 0x0200, 0x0201, 0x0202, 0x0203, 0x0205, 0x0206,
    0x0207, 0x0208, 0x0209, 0x0211, 0x0212, 0x0213, 0x0214, 0x02bc, 0x83bb, 0x8649, 0x8773};

bool belongsToFile(const Exiv2::Exifdatum &datum)
{
    const std::string group = datum.groupName();
    if (group == "Thumbnail" || group.starts_with("SubImage") || group.starts_with("SubThumb")
        || group == "Image2" || group == "Image3")
        return true;
    return group == "Image" && std::ranges::find(layoutTags, datum.tag()) != std::end(layoutTags);
}

bool isMakerNote(const Exiv2::Exifdatum &datum)
{
    constexpr std::string_view standard[] = {"Image"sv, "Photo"sv, "GPSInfo"sv, "Iop"sv};
    return datum.key() == "Exif.Photo.MakerNote"
        || std::ranges::find(standard, datum.groupName()) == std::end(standard);
}

template <typename Condition> void eraseIf(Exiv2::ExifData &exif, Condition condition)
{
    for (auto datum = exif.begin(); datum != exif.end();)
        datum = condition(*datum) ? exif.erase(datum) : std::next(datum);
}

void replaceExisting(Exiv2::ExifData &exif, const char *key, uint32_t value)
{
    const auto datum = exif.findKey(Exiv2::ExifKey(key));
    if (datum == exif.end())
        return;
    if (std::string_view(key).ends_with("Orientation"))
        *datum = static_cast<uint16_t>(value);
    else
        *datum = value;
}

Exiv2::ExifData readExif(PhotoInput &photo)
{
    // An absolute name cannot be taken for one of the library's protocols.
    auto image = photo.isStandardInput()
        ? Exiv2::ImageFactory::open(
            reinterpret_cast<const Exiv2::byte *>(photo.buffered().constData()),
            static_cast<std::size_t>(photo.buffered().size()))
        : Exiv2::ImageFactory::open(std::filesystem::absolute(photo.name()).native());
    image->readMetadata();
    return image->exifData();
}

ExifBlock encoded(const Exiv2::ExifData &exif)
{
    Exiv2::Blob block;
    if (!exif.empty())
        Exiv2::ExifParser::encode(block, Exiv2::littleEndian, exif);
    return {block.begin(), block.end()};
}

ExifBlock encodedWithin(Exiv2::ExifData &exif, std::size_t capacity)
{
    ExifBlock block = encoded(exif);
    if (block.size() <= capacity)
        return block;
    eraseIf(exif, isMakerNote);
    block = encoded(exif);
    return block.size() <= capacity ? block : ExifBlock();
}

} // namespace

ExifBlock exifForSketch(PhotoInput &photo, QSize sketchSize, bool isUpright, std::size_t capacity)
{
    // The library keeps tables of its own while it reads.
    static std::mutex lock;
    const std::lock_guard guard(lock);
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    try {
        Exiv2::ExifData exif = readExif(photo);
        eraseIf(exif, belongsToFile);
        if (isUpright)
            replaceExisting(exif, "Exif.Image.Orientation", 1);
        replaceExisting(exif, "Exif.Photo.PixelXDimension", sketchSize.width());
        replaceExisting(exif, "Exif.Photo.PixelYDimension", sketchSize.height());
        return encodedWithin(exif, capacity);
    } catch (const std::exception &) {
        return {};
    }
}

} // namespace photo
