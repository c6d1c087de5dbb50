#pragma once

#include "photo/encode/sketchencoder.h"

namespace photo {

// Writes a PNG of one channel. The picture is gathered first, because the
// compressor, which is several times as fast as the usual one, takes it whole.
class PngEncoder : public SketchEncoder
{
public:
    PngEncoder(QSize size, const ExifBlock &exif, ByteSink &sink);

    void write(const unsigned char *grey, int rows) override;
    void finish() override;

    static qint64 memoryNeed(QSize size);
    static constexpr std::size_t exifCapacity = 0x7fffffff;

private:
    void writeHeader();
    void writeChunk(const char (&type)[5], const unsigned char *bytes, std::size_t count);
    void writePixels();

    QSize m_size;
    const ExifBlock &m_exif;
    ByteSink &m_sink;
    std::vector<unsigned char> m_rows; // each behind its filter type
    std::size_t m_filled = 0;
};

} // namespace photo
