#include "photo/exif.h"

#include <exiv2/exiv2.hpp>

#include <QScopeGuard>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>

#include "photo/exifblock.h"
#include "photo/makernote.h"

namespace photo {

namespace {

using namespace std::string_view_literals;

std::mutex exiv2Lock;

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

ExifBlock encoded(const Exiv2::ExifData &exif)
{
    Exiv2::Blob block;
    if (!exif.empty())
        Exiv2::ExifParser::encode(block, Exiv2::littleEndian, exif);
    return block;
}

constexpr const char *partsLost = "some of its EXIF data are left out: they are damaged";

std::string notesLost(const char *reason)
{
    return std::string("its maker's notes are left out: ") + reason;
}

std::string allLost(const std::string &reason)
{
    return "its EXIF data are left out: " + reason;
}

class Conversion
{
public:
    Conversion(QSize sketchSize, bool isUpright, std::size_t capacity)
        : m_sketchSize(sketchSize)
        , m_isUpright(isUpright)
        , m_capacity(capacity)
    {
    }

    SketchExif convert(FoundExif found)
    {
        if (found.directories.isPartial)
            m_result.warning = partsLost;
        if (found.lostMakerNote)
            m_result.warning = notesLost("they lie too far from the beginning of the file");
        if (found.directories.isEmpty() && found.directories.isPartial)
            throw ExifError("they are damaged");
        if (!found.directories.isEmpty()) {
            Exiv2::ExifData exif = decodedAsFarAsPossible(found);
            found.block = ExifBlock(); // two or three copies are to follow
            encode(exif);
        }
        return std::move(m_result);
    }

private:
    Exiv2::ExifData decodedAsFarAsPossible(FoundExif &found)
    {
        const std::size_t fileBytes = found.block.size();
        appendExifDirectories(found.block, found.directories);
        const bool isCheap = hasCheapNotes(found);
        if (isCheap) {
            if (auto exif = decoded(found.block))
                return std::move(*exif);
        }
        if (dropNotes(found.directories)) {
            m_result.warning =
                notesLost(isCheap ? "they are damaged" : "they overlap or are too large");
            found.block.resize(fileBytes);
            appendExifDirectories(found.block, found.directories);
            if (auto exif = decoded(found.block))
                return std::move(*exif);
        }
        throw ExifError("they are damaged");
    }

    static bool hasCheapNotes(const FoundExif &found)
    {
        const auto isCheap = [&](const ExifEntry &entry) {
            return !isMakerNote(entry) || entry.isInline(4)
                || isCheapMakerNote(found.block, static_cast<uint32_t>(entry.offset),
                                    static_cast<uint32_t>(entry.bytes));
        };
        return std::ranges::all_of(found.directories.photo, isCheap)
            && std::ranges::all_of(found.directories.image, isCheap);
    }

    static bool dropNotes(ExifDirectories &directories)
    {
        const auto isNote = [](const ExifEntry &entry) { return isMakerNote(entry); };
        return std::erase_if(directories.photo, isNote) + std::erase_if(directories.image, isNote)
            > 0;
    }

    // Nothing for data that the library does not take.
    static std::optional<Exiv2::ExifData> decoded(const ExifBlock &block)
    {
        // The library keeps tables of its own while it reads.
        const std::lock_guard guard(exiv2Lock);
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        try {
            Exiv2::ExifData exif;
            Exiv2::ExifParser::decode(exif, block.data(), static_cast<uint32_t>(block.size()));
            return exif;
        } catch (const Exiv2::AnyError &) {
            return {};
        }
    }

    void encode(Exiv2::ExifData &exif)
    {
        // Notes are looked through from their beginning for every entry.
        constexpr long mostEntries = 20'000;
        if (exif.count() > mostEntries) {
            eraseIf(exif, isMakerNote);
            m_result.warning = notesLost("they have too many entries");
        }
        const std::lock_guard guard(exiv2Lock);
        if (m_isUpright)
            replaceExisting(exif, "Exif.Image.Orientation", 1);
        replaceExisting(exif, "Exif.Photo.PixelXDimension", m_sketchSize.width());
        replaceExisting(exif, "Exif.Photo.PixelYDimension", m_sketchSize.height());
        encodeWithinCapacity(exif);
    }

    void encodeWithinCapacity(Exiv2::ExifData &exif)
    {
        m_result.block = encoded(exif);
        if (m_result.block.size() <= m_capacity)
            return;
        m_result.warning = notesLost("the sketch's format has no room for them");
        eraseIf(exif, isMakerNote);
        m_result.block = encoded(exif);
        if (m_result.block.size() > m_capacity)
            throw ExifError("the sketch's format has no room for them");
    }

    QSize m_sketchSize;
    bool m_isUpright;
    std::size_t m_capacity;
    SketchExif m_result;
};

FoundExif read(QIODevice &device, const std::string &name)
{
    const qint64 position = device.pos();
    const auto putBack = qScopeGuard([&] { device.seek(position); });
    device.seek(0);
    const PhotoFormat format = contentKind(device.peek(contentProbe), name).format;
    return findExif(device, format);
}

} // namespace

SketchExif exifForSketch(PhotoInput &photo, QSize sketchSize, bool isUpright, std::size_t capacity)
{
    try {
        return Conversion(sketchSize, isUpright, capacity)
            .convert(read(photo.device(), photo.name()));
    } catch (const std::bad_alloc &) {
        return {{}, allLost("they need more memory than there is")};
    } catch (const std::exception &error) {
        return {{}, allLost(error.what())};
    }
}

} // namespace photo
