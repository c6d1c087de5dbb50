#include "photo/decode/jpegdecoder.h"

#include <QIODevice>

#include <algorithm>

#include <jerror.h>

#include "photo/jpegsegments.h"
#include "photo/photoerror.h"

namespace photo {

namespace {

constexpr std::size_t sourceBuffer = 1 << 16;

} // namespace

JpegDecoder::JpegDecoder(QIODevice &device, const DecodingOptions &options)
    : BandDecoder(options, QImage::Format_RGB32)
    , m_allowTruncated(options.allowTruncated)
{
    m_jpeg.err = &m_errors;
    m_source.buffer.resize(sourceBuffer);
    const bool read = m_errors.attempt([&] {
        jpeg_create_decompress(&m_jpeg);
        connectSource(device);
        readHeader();
    });
    if (!read) {
        jpeg_destroy_decompress(&m_jpeg);
        throw PhotoError("cannot be decoded: " + m_errors.reason());
    }
}

JpegDecoder::~JpegDecoder()
{
    jpeg_destroy_decompress(&m_jpeg);
}

void JpegDecoder::connectSource(QIODevice &device)
{
    m_source.device = &device;
    m_source.init_source = startSource;
    m_source.fill_input_buffer = refill;
    m_source.skip_input_data = skip;
    m_source.resync_to_restart = jpeg_resync_to_restart;
    m_source.term_source = startSource;
    m_jpeg.src = &m_source;
    m_progress.progress_monitor = limitScans;
    m_jpeg.progress = &m_progress;
}

boolean JpegDecoder::refill(j_decompress_ptr decoder)
{
    auto *const source = static_cast<Source *>(decoder->src);
    JOCTET *const buffer = source->buffer.data();
    qint64 count = source->device->read(reinterpret_cast<char *>(buffer), sourceBuffer);
    if (count <= 0) {
        // The decoder goes on with an end marker, and the rest stays grey.
        WARNMS(decoder, JWRN_JPEG_EOF);
        buffer[0] = 0xff;
        buffer[1] = JPEG_EOI;
        count = 2;
    }
    source->next_input_byte = buffer;
    source->bytes_in_buffer = static_cast<std::size_t>(count);
    return TRUE;
}

void JpegDecoder::skip(j_decompress_ptr decoder, long count)
{
    jpeg_source_mgr *const source = decoder->src;
    while (count > static_cast<long>(source->bytes_in_buffer)) {
        count -= static_cast<long>(source->bytes_in_buffer);
        refill(decoder);
        if (decoder->err->msg_code == JWRN_JPEG_EOF)
            return; // skipping on would go round for ever
    }
    source->next_input_byte += count;
    source->bytes_in_buffer -= static_cast<std::size_t>(std::max(count, 0L));
}

void JpegDecoder::limitScans(j_common_ptr decoder)
{
    const auto *const jpeg = reinterpret_cast<j_decompress_ptr>(decoder);
    if (jpeg->input_scan_number > mostJpegScans)
        static_cast<JpegErrors *>(decoder->err)->giveUp("it has more than 500 scans");
}

void JpegDecoder::readHeader()
{
    jpeg_read_header(&m_jpeg, TRUE);
    switch (m_jpeg.num_components) {
    case 1:
    case 3: m_jpeg.out_color_space = JCS_EXT_BGRX; break;
    case 4: m_jpeg.out_color_space = JCS_CMYK; break;
    default: m_errors.giveUp("it has an unknown number of channels");
    }
    jpeg_calc_output_dimensions(&m_jpeg);
}

QSize JpegDecoder::size() const
{
    return {static_cast<int>(m_jpeg.output_width), static_cast<int>(m_jpeg.output_height)};
}

qint64 JpegDecoder::memoryNeed() const
{
    qint64 bytes = bandNeed();
    // Some rows of samples and their differences, per channel, whatever the size.
    bytes += qint64(m_jpeg.output_width) * m_jpeg.num_components * 64;
    if (!jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&m_jpeg)))
        return bytes;
    for (int i = 0; i < m_jpeg.num_components; ++i) {
        const jpeg_component_info &channel = m_jpeg.comp_info[i];
        const qint64 blocks = qint64(channel.width_in_blocks) * channel.height_in_blocks;
        bytes += blocks * DCTSIZE2 * static_cast<qint64>(sizeof(JCOEF));
    }
    return bytes;
}

void JpegDecoder::start()
{
    if (m_jpeg.out_color_space == JCS_CMYK)
        m_inks.resize(rowBytes());
    if (!m_errors.attempt([&] { jpeg_start_decompress(&m_jpeg); }))
        throw PhotoError("cannot be decoded: " + m_errors.reason());
}

void JpegDecoder::decode(uchar *target, int count)
{
    const bool decoded = m_errors.attempt([&] {
        if (m_jpeg.out_color_space == JCS_CMYK)
            decodeInks(target, count);
        else
            decodeColours(target, count);
    });
    if (!decoded)
        throw PhotoError("cannot be decoded: " + m_errors.reason());
    checkDamage();
}

void JpegDecoder::decodeColours(uchar *target, int count)
{
    constexpr int most = 16; // rows a call; libjpeg gives two at the most
    JSAMPROW lines[most];
    for (int done = 0; done < count;) {
        const int ahead = std::min(most, count - done);
        for (int i = 0; i < ahead; ++i)
            lines[i] = target + rowBytes() * (done + i);
        done += static_cast<int>(jpeg_read_scanlines(&m_jpeg, lines, ahead));
    }
}

// Four-channel files hold inverted inks.
void JpegDecoder::decodeInks(uchar *target, int count)
{
    const std::size_t width = m_jpeg.output_width;
    for (int y = 0; y < count; ++y) {
        JSAMPROW line = m_inks.data();
        jpeg_read_scanlines(&m_jpeg, &line, 1);
        for (std::size_t x = 0; x < width; ++x, target += bytesPerPixel) {
            const JSAMPLE *const ink = line + 4 * x;
            const int black = ink[3];
            target[0] = static_cast<uchar>(black * ink[2] / 255);
            target[1] = static_cast<uchar>(black * ink[1] / 255);
            target[2] = static_cast<uchar>(black * ink[0] / 255);
            target[3] = 255;
        }
    }
}

void JpegDecoder::finish()
{
    // Reads on to the end marker, and so finds a file that lacks it.
    const bool complete = m_errors.attempt([&] { jpeg_finish_decompress(&m_jpeg); });
    if (!complete)
        throw PhotoError("cannot be decoded: " + m_errors.reason());
    checkDamage();
}

void JpegDecoder::checkDamage() const
{
    if (m_allowTruncated)
        return;
    if (m_errors.isTruncated())
        throw PhotoError("is truncated");
    if (m_errors.isDamaged())
        throw PhotoError("is damaged");
}

} // namespace photo
