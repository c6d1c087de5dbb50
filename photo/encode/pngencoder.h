#pragma once

#include "photo/encode/pngrows.h"
#include "photo/encode/sketchencoder.h"

namespace photo {

// Writes a PNG of one channel, as its rows come.
class PngEncoder : public SketchEncoder
{
public:
    PngEncoder(QSize size, const ExifBlock &exif, ByteSink &sink);

    void write(const unsigned char *grey, int rows) override;
    void finish() override;

    static qint64 memoryNeed(QSize size);
    static constexpr std::size_t exifCapacity = 0x7fffffff;

private:
    // Takes the compressed rows, and gives every piece of them a chunk.
    class PixelChunks : public ByteSink
    {
    public:
        explicit PixelChunks(ByteSink &sink)
            : m_sink(sink)
        {
        }
        void write(const unsigned char *bytes, std::size_t count) override;

    private:
        ByteSink &m_sink;
    };

    void writeHeader(QSize size);

    ByteSink &m_sink;
    PixelChunks m_chunks;
    PngRows m_rows;
};

} // namespace photo
