#include "photo/encode/pngrows.h"

#include <algorithm>
#include <cstring>

namespace photo {

namespace {

enum Filter : unsigned char {
    None = 0,
    Sub = 1, // differences to the pixel on the left
};

// A band is what one choice holds for, as many rows as these bytes have room for.
constexpr std::size_t bandBytes = 1 << 19;
// Of so many rows, the first few stand for all, as what repeats the rows above
// compresses better; of wide ones, the middle. Of narrow ones more stand together: what
// drawings repeat is farther up. All rows of what is one band tell best.
constexpr RowSampling ofAll {1, 1};
constexpr RowSampling ofNarrow {256, 16};
constexpr RowSampling ofWide {64, 4};
constexpr int narrowWidth = 2100;
constexpr std::size_t sampleWidth = 1 << 13;
// A band that packs into less than this share is nearly flat: few bytes then make
// much of it, and trying harder takes little time.
constexpr std::size_t flatShare = 6;
// Where matches save more than this share of what runs take, the band repeats itself as
// a drawing does and a photograph does not, and a better search finds still more.
constexpr std::size_t drawingGain = 28;

std::size_t rowBytes(std::size_t width)
{
    return 1 + width;
}

int rowsOfBand(QSize size)
{
    const std::size_t most = bandBytes / rowBytes(static_cast<std::size_t>(size.width()));
    return std::clamp(static_cast<int>(most), 1, size.height());
}

RowSampling samplingOf(QSize size)
{
    if (rowsOfBand(size) == size.height())
        return ofAll;
    return size.width() <= narrowWidth ? ofNarrow : ofWide;
}

} // namespace

PngRows::PngRows(QSize size, ByteSink &sink)
    : m_width(static_cast<std::size_t>(size.width()))
    , m_bandRows(rowsOfBand(size))
    , m_sampling(samplingOf(size))
    , m_plain(rowBytes(m_width) * m_bandRows)
    , m_differences(m_plain.size())
    , m_stream(sink)
{
}

void PngRows::add(const unsigned char *grey, int rows)
{
    for (; rows > 0; --rows, grey += m_width)
        addRow(grey);
}

void PngRows::addRow(const unsigned char *grey)
{
    const std::size_t start = rowBytes(m_width) * m_filled;
    m_plain[start] = None;
    std::memcpy(m_plain.data() + start + 1, grey, m_width);
    unsigned char *const differences = m_differences.data() + start;
    differences[0] = Sub;
    differences[1] = grey[0];
    for (std::size_t x = 1; x < m_width; ++x)
        differences[x + 1] = static_cast<unsigned char>(grey[x] - grey[x - 1]);
    if (++m_filled == m_bandRows)
        packBand();
}

void PngRows::packBand()
{
    takeSamples();
    const Choice chosen = choice();
    const Rows &rows = chosen.isFiltered ? m_differences : m_plain;
    m_stream.add(rows.data(), rowBytes(m_width) * m_filled, chosen.packing);
    m_filled = 0;
}

void PngRows::takeSamples()
{
    const std::size_t width = std::min(m_width, sampleWidth);
    const std::size_t left = 1 + (m_width - width) / 2;
    m_plainSample.clear();
    m_differencesSample.clear();
    for (int y = 0; y < m_filled; ++y) {
        if (y % m_sampling.rows >= m_sampling.sampled)
            continue;
        const std::size_t start = rowBytes(m_width) * y + left;
        const auto take = [&](Rows &sample, const Rows &rows) {
            sample.push_back(rows[start - left]); // it ends the run before
            sample.insert(sample.end(), rows.data() + start, rows.data() + start + width);
        };
        take(m_plainSample, m_plain);
        take(m_differencesSample, m_differences);
    }
}

PngRows::Choice PngRows::best(Packing packing)
{
    const Choice plain {false, packing, m_estimate.packedBytes(m_plainSample, packing)};
    const Choice differences {true, packing, m_estimate.packedBytes(m_differencesSample, packing)};
    return differences.packedBytes < plain.packedBytes ? differences : plain;
}

PngRows::Choice PngRows::choice()
{
    const Choice runs = best(Packing::Runs);
    const Choice matches = best(Packing::Matches);
    const Choice quick = matches.packedBytes < runs.packedBytes ? matches : runs;
    const bool isFlat = quick.packedBytes * flatShare < m_plainSample.size();
    const bool isDrawing = matches.packedBytes * drawingGain < runs.packedBytes * (drawingGain - 1);
    if (!isFlat && !isDrawing)
        return quick;
    const Choice patient = best(Packing::Patient);
    return patient.packedBytes < quick.packedBytes ? patient : quick;
}

void PngRows::finish()
{
    if (m_filled > 0)
        packBand();
    m_stream.finish();
}

qint64 PngRows::memoryNeed(QSize size)
{
    const auto width = static_cast<std::size_t>(size.width());
    const std::size_t band = rowBytes(width) * rowsOfBand(size);
    // No more than a band, nor than the first rows of each group in it.
    const RowSampling sampling = samplingOf(size);
    const std::size_t groups = rowsOfBand(size) / sampling.rows + 1;
    const std::size_t sample =
        std::min(band, groups * sampling.sampled * rowBytes(std::min(width, sampleWidth)));
    // A vector that grows may be twice as large as what it holds.
    return static_cast<qint64>(2 * band + 4 * sample + deflateMemory(sample));
}

} // namespace photo
