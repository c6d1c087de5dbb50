#include "photo/encode/jpegencoder.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "photo/photoerror.h"

namespace photo {

namespace {

constexpr std::size_t destinationBuffer = 1 << 18;
constexpr char exifIntroduction[] = {'E', 'x', 'i', 'f', 0, 0};

// A row's bytes, up to the end of its last block.
std::size_t lineBytes(std::size_t width)
{
    return (width + DCTSIZE - 1) / DCTSIZE * DCTSIZE;
}

void checkSize(QSize size)
{
    const int most = JPEG_MAX_DIMENSION;
    if (std::max(size.width(), size.height()) > most) {
        throw PhotoError("is " + std::to_string(size.width()) + " x "
                         + std::to_string(size.height()) + " pixels, and a JPEG holds at most "
                         + std::to_string(most) + " each way");
    }
}

} // namespace

JpegEncoder::JpegEncoder(QSize size, int quality, const ExifBlock &exif, ByteSink &sink)
{
    checkSize(size);
    m_jpeg.err = &m_errors;
    m_destination.buffer.resize(destinationBuffer);
    const std::size_t stride = lineBytes(static_cast<std::size_t>(size.width()));
    m_rows.resize(stride * DCTSIZE);
    for (std::size_t y = 0; y < DCTSIZE; ++y)
        m_lines[y] = m_rows.data() + stride * y;
    attempt([&] {
        jpeg_create_compress(&m_jpeg);
        connectDestination(sink);
        setUp(size, quality);
        jpeg_start_compress(&m_jpeg, TRUE);
        writeExif(exif);
    });
}

JpegEncoder::~JpegEncoder()
{
    jpeg_destroy_compress(&m_jpeg);
}

template <typename Step> void JpegEncoder::attempt(Step step)
{
    if (m_errors.attempt(step))
        return;
    if (m_destination.failure)
        std::rethrow_exception(m_destination.failure);
    throw PhotoError("cannot be encoded: " + m_errors.reason());
}

void JpegEncoder::connectDestination(ByteSink &sink)
{
    m_destination.sink = &sink;
    m_destination.init_destination = startDestination;
    m_destination.empty_output_buffer = empty;
    m_destination.term_destination = flush;
    m_jpeg.dest = &m_destination;
}

void JpegEncoder::setUp(QSize size, int quality)
{
    m_jpeg.image_width = static_cast<JDIMENSION>(size.width());
    m_jpeg.image_height = static_cast<JDIMENSION>(size.height());
    m_jpeg.input_components = 1;
    m_jpeg.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&m_jpeg);
    jpeg_set_quality(&m_jpeg, quality, TRUE);
    // One channel without subsampling, whose blocks come one row at a time.
    m_jpeg.comp_info[0].h_samp_factor = 1;
    m_jpeg.comp_info[0].v_samp_factor = 1;
    m_jpeg.raw_data_in = TRUE;
}

void JpegEncoder::writeExif(const ExifBlock &exif)
{
    if (exif.empty())
        return;
    constexpr int marker = JPEG_APP0 + 1;
    jpeg_write_m_header(&m_jpeg, marker,
                        static_cast<unsigned>(sizeof exifIntroduction + exif.size()));
    for (const char byte : exifIntroduction)
        jpeg_write_m_byte(&m_jpeg, byte);
    for (const unsigned char byte : exif)
        jpeg_write_m_byte(&m_jpeg, byte);
}

void JpegEncoder::startDestination(j_compress_ptr encoder)
{
    auto *const destination = static_cast<Destination *>(encoder->dest);
    destination->next_output_byte = destination->buffer.data();
    destination->free_in_buffer = destinationBuffer;
}

// An exception must not pass through libjpeg: it is kept, and libjpeg is left on
// its own way.
void JpegEncoder::pass(j_compress_ptr encoder, std::size_t count)
{
    auto *const destination = static_cast<Destination *>(encoder->dest);
    try {
        destination->sink->write(destination->buffer.data(), count);
    } catch (...) {
        destination->failure = std::current_exception();
    }
    if (destination->failure)
        static_cast<JpegErrors *>(encoder->err)->giveUp("the output failed");
}

boolean JpegEncoder::empty(j_compress_ptr encoder)
{
    pass(encoder, destinationBuffer);
    startDestination(encoder);
    return TRUE;
}

void JpegEncoder::flush(j_compress_ptr encoder)
{
    pass(encoder, destinationBuffer - encoder->dest->free_in_buffer);
}

void JpegEncoder::write(const unsigned char *grey, int rows)
{
    for (; rows > 0; --rows, grey += m_jpeg.image_width)
        addRow(grey);
}

void JpegEncoder::addRow(const unsigned char *grey)
{
    const std::size_t width = m_jpeg.image_width;
    JSAMPROW line = m_lines[m_filled];
    std::memcpy(line, grey, width);
    std::fill(line + width, m_rows.data() + lineBytes(width) * (m_filled + 1), grey[width - 1]);
    if (++m_filled == DCTSIZE)
        writeBlocks();
}

void JpegEncoder::writeBlocks()
{
    JSAMPARRAY channel = m_lines;
    attempt([&] { jpeg_write_raw_data(&m_jpeg, &channel, DCTSIZE); });
    m_filled = 0;
}

void JpegEncoder::finish()
{
    // What is missing of the last row of blocks repeats the last row of the
    // picture, as every encoder does it: it costs the fewest bits.
    const JSAMPROW last = m_lines[std::max(m_filled, 1) - 1];
    while (m_filled > 0)
        addRow(last);
    attempt([&] { jpeg_finish_compress(&m_jpeg); });
}

qint64 JpegEncoder::memoryNeed(QSize size)
{
    constexpr qint64 rows = 32; // of samples, inside libjpeg
    return size.width() * rows + static_cast<qint64>(destinationBuffer);
}

} // namespace photo
