#pragma once

#include <exception>

#include "photo/encode/sketchencoder.h"
#include "photo/jpegerrors.h"

namespace photo {

// Writes a baseline JPEG of one channel, as its rows come. The blocks are put
// together here: the library's own way there looks at every grey by itself, which
// would take as long as the sketch.
class JpegEncoder : public SketchEncoder
{
public:
    JpegEncoder(QSize size, int quality, const ExifBlock &exif, ByteSink &sink);
    ~JpegEncoder() override;
    JpegEncoder(const JpegEncoder &) = delete;
    JpegEncoder &operator=(const JpegEncoder &) = delete;

    void write(const unsigned char *grey, int rows) override;
    void finish() override;

    static qint64 memoryNeed(QSize size);
    // A segment's length has 16 bits, of which its own two bytes and the
    // introduction of six take their share.
    static constexpr std::size_t exifCapacity = 65535 - 2 - 6;

private:
    struct Destination : jpeg_destination_mgr
    {
        ByteSink *sink = nullptr;
        std::vector<JOCTET> buffer;
        std::exception_ptr failure;
    };

    static void startDestination(j_compress_ptr encoder);
    static boolean empty(j_compress_ptr encoder);
    static void flush(j_compress_ptr encoder);
    static void pass(j_compress_ptr encoder, std::size_t count);

    void connectDestination(ByteSink &sink);
    void setUp(QSize size, int quality);
    void writeExif(const ExifBlock &exif);
    template <typename Step> void attempt(Step step);
    void addRow(const unsigned char *grey);
    void writeBlocks();

    jpeg_compress_struct m_jpeg {};
    JpegErrors m_errors;
    Destination m_destination {};
    std::vector<JSAMPLE> m_rows; // of one row of blocks, as wide as whole blocks
    JSAMPROW m_lines[DCTSIZE] {};
    int m_filled = 0; // rows in it
};

} // namespace photo
