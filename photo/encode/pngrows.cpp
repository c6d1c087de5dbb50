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
// Of so many rows, the first few stand for all, as what repeats the row above
// compresses better; of wide ones, the middle.
constexpr int rowsPerSample = 64;
constexpr int sampleRows = 4;
constexpr std::size_t sampleWidth = 1 << 13;
// A band that packs into less than this share is nearly flat: few bytes then make
// much of it, and trying harder takes little time.
constexpr std::size_t flatShare = 10;

std::size_t rowBytes(std::size_t width)
{
    return 1 + width;
}

int rowsOfBand(QSize size)
{
    const std::size_t most = bandBytes / rowBytes(static_cast<std::size_t>(size.width()));
    return std::clamp(static_cast<int>(most), 1, size.height());
}

} // namespace

PngRows::PngRows(QSize size, ByteSink &sink)
    : m_width(static_cast<std::size_t>(size.width()))
    , m_bandRows(rowsOfBand(size))
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
        if (y % rowsPerSample >= sampleRows)
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

PngRows::Choice PngRows::best(bool isThorough)
{
    std::vector<Choice> choices;
    for (const Packing::Search search : {Packing::Runs, Packing::Matches}) {
        const Packing packing {search, isThorough};
        choices.push_back({false, packing, m_estimate.packedBytes(m_plainSample, packing)});
        choices.push_back({true, packing, m_estimate.packedBytes(m_differencesSample, packing)});
    }
    return *std::ranges::min_element(choices, {}, &Choice::packedBytes);
}

PngRows::Choice PngRows::choice()
{
    const Choice quick = best(false);
    return quick.packedBytes > m_plainSample.size() / flatShare ? quick : best(true);
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
    const std::size_t groups = rowsOfBand(size) / rowsPerSample + 1;
    const std::size_t sample =
        std::min(band, groups * sampleRows * rowBytes(std::min(width, sampleWidth)));
    // A vector that grows may be twice as large as what it holds.
    return static_cast<qint64>(2 * band + 4 * sample + deflateMemory(sample));
}

} // namespace photo
