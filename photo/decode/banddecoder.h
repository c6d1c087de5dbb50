#pragma once

#include <algorithm>
#include <vector>

#include "photo/decode/photodecoder.h"

namespace photo {

// Decodes downwards, a band of rows at a time, and keeps the rows that are asked
// for again.
class BandDecoder : public PhotoDecoder
{
public:
    QImage rows(int first, int count) final;

protected:
    static constexpr int bytesPerPixel = 4;

    // The format has 32 bits a pixel.
    BandDecoder(const DecodingOptions &options, QImage::Format format)
        : m_bandRows(options.bandRows)
        , m_format(format)
    {
    }

    std::size_t rowBytes() const
    {
        return static_cast<std::size_t>(size().width()) * bytesPerPixel;
    }
    qint64 bandNeed() const
    {
        return static_cast<qint64>(rowBytes()) * std::min(m_bandRows, size().height());
    }

    // Called once, before the first row. Throws PhotoError, like decode().
    virtual void start() = 0;
    // The next rows of the picture, one after the other, each of rowBytes().
    virtual void decode(uchar *target, int count) = 0;

private:
    void keepOverlap(int first);

    int m_bandRows;
    QImage::Format m_format;
    int m_bandFirst = 0; // the picture's row that is the band's first
    int m_bandCount = 0; // rows in the band
    std::vector<uchar> m_band;
};

} // namespace photo
