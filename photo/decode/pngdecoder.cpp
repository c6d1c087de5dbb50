#include "photo/decode/pngdecoder.h"

#include <QIODevice>

#include <algorithm>
#include <new>

#include "photo/decode/truncation.h"
#include "photo/photoerror.h"

namespace photo {

namespace {

// In the toolkit's words, as for every other PNG.
[[noreturn]] void failToDecode()
{
    throw PhotoError("cannot be decoded: Unable to read image data");
}

} // namespace

PngDecoder::PngDecoder(QIODevice &device, const DecodingOptions &options)
    : BandDecoder(options, QImage::Format_ARGB32)
    , m_allowTruncated(options.allowTruncated)
{
    if (!options.allowTruncated && isCutShort(device, PhotoFormat::Png))
        throw PhotoError("is truncated");
    m_reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_errors, onError, onWarning);
    m_reader.info = png_create_info_struct(m_reader.png);
    if (!m_reader.info)
        throw std::bad_alloc();
    const bool read = m_errors.attempt([&] {
        png_set_read_fn(m_reader.png, &device, PngDecoder::read);
        // Some writers note a smaller window than they used.
        png_set_option(m_reader.png, PNG_MAXIMUM_INFLATE_WINDOW, PNG_OPTION_ON);
        skipTexts();
        png_read_info(m_reader.png, m_reader.info);
    });
    if (!read)
        throw PhotoError("is a damaged PNG");
}

// Nothing here needs them, nor profiles; unpacking them takes time and memory.
void PngDecoder::skipTexts()
{
    constexpr png_byte chunks[][5] = {"tEXt", "zTXt", "iTXt", "iCCP", "sPLT", "eXIf"};
    for (const png_byte(&chunk)[5] : chunks)
        png_set_keep_unknown_chunks(m_reader.png, PNG_HANDLE_CHUNK_NEVER, chunk, 1);
}

void PngDecoder::onError(png_structp png, png_const_charp reason)
{
    static_cast<ErrorJump *>(png_get_error_ptr(png))->giveUp(reason);
}

void PngDecoder::read(png_structp png, png_bytep target, std::size_t count)
{
    auto *const device = static_cast<QIODevice *>(png_get_io_ptr(png));
    const auto wanted = static_cast<qint64>(count);
    if (device->read(reinterpret_cast<char *>(target), wanted) != wanted)
        png_error(png, "the data end too early");
}

QSize PngDecoder::size() const
{
    return {static_cast<int>(png_get_image_width(m_reader.png, m_reader.info)),
            static_cast<int>(png_get_image_height(m_reader.png, m_reader.info))};
}

bool PngDecoder::isInterlaced() const
{
    return png_get_interlace_type(m_reader.png, m_reader.info) != PNG_INTERLACE_NONE;
}

qint64 PngDecoder::pictureBytes() const
{
    return static_cast<qint64>(rowBytes()) * size().height();
}

qint64 PngDecoder::memoryNeed() const
{
    constexpr qint64 lineBytes = 32; // a pixel in libpng's own rows, all together
    const qint64 bytes = bandNeed() + lineBytes * size().width();
    return isInterlaced() ? bytes + pictureBytes() : bytes;
}

void PngDecoder::start()
{
    if (isInterlaced())
        m_picture.resize(static_cast<std::size_t>(pictureBytes()));
    const bool decoded = m_errors.attempt([&] {
        setUpPixels();
        decodePicture();
    });
    if (!decoded)
        failToDecode();
}

// Makes 8 bits of red, green, blue and alpha of whatever the file has.
void PngDecoder::setUpPixels()
{
    png_structp png = m_reader.png;
    png_set_expand(png); // a transparent colour becomes alpha
    png_set_scale_16(png); // rounds to the nearest, as the toolkit does
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xff, PNG_FILLER_AFTER);
    png_set_bgr(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, m_reader.info);
}

void PngDecoder::decodePicture()
{
    if (m_picture.empty())
        return;
    for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
        for (std::size_t at = 0; at < m_picture.size(); at += rowBytes())
            png_read_row(m_reader.png, m_picture.data() + at, nullptr);
    }
}

void PngDecoder::decode(uchar *target, int count)
{
    const std::size_t bytes = rowBytes() * count;
    if (isInterlaced()) {
        std::copy_n(m_picture.data() + m_given, bytes, target);
        m_given += bytes;
        return;
    }
    const bool decoded = m_errors.attempt([&] {
        for (std::size_t at = 0; at < bytes; at += rowBytes())
            png_read_row(m_reader.png, target + at, nullptr);
    });
    if (!decoded)
        failToDecode();
}

void PngDecoder::finish()
{
    const bool complete = m_errors.attempt([&] { png_read_end(m_reader.png, nullptr); });
    if (!complete && !m_allowTruncated)
        failToDecode();
}

} // namespace photo
