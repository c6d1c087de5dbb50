#pragma once

#include <QSize>

#include <vector>

#include "photo/encode/deflatestream.h"

namespace photo {

// Of so many rows, the first few are a sample.
struct RowSampling
{
    int rows;
    int sampled;
};

// Compresses the rows of a PNG of one channel of 8 bits, a band at a time. A sketch is
// flat paper with strokes on it, whose values compress as well as they are; the shades
// of a soft one compress better as differences. A sample of each band tells.
class PngRows
{
public:
    PngRows(QSize size, ByteSink &sink);

    void add(const unsigned char *grey, int rows);
    void finish();

    static qint64 memoryNeed(QSize size);

private:
    // The type of a row's filter and its bytes behind that, a row after the other.
    using Rows = std::vector<unsigned char>;
    struct Choice
    {
        bool isFiltered;
        Packing packing;
        std::size_t packedBytes; // of the sample
    };

    void addRow(const unsigned char *grey);
    void packBand();
    void takeSamples();
    Choice best(Packing packing);
    Choice choice();

    std::size_t m_width;
    int m_bandRows;
    RowSampling m_sampling;
    int m_filled = 0; // rows of the band
    Rows m_plain;
    Rows m_differences;
    Rows m_plainSample;
    Rows m_differencesSample;
    DeflateStream m_stream;
    PackingEstimate m_estimate;
};

} // namespace photo
