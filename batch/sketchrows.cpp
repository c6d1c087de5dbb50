#include "batch/sketchrows.h"

#include <memory>
#include <vector>

#include "batch/bands.h"
#include "batch/decodeahead.h"
#include "sketch/edgebuffer.h"

namespace batch {

namespace {

// Gives a photo's bands, from the decoder itself as long as no thread is idle.
class BandSource
{
public:
    BandSource(photo::PhotoDecoder &photo, IdleThreads &threads)
        : m_photo(photo)
        , m_threads(threads)
    {
    }
    ~BandSource()
    {
        const bool hadThread = m_ahead != nullptr;
        m_ahead.reset();
        if (hadThread)
            m_threads.add();
    }
    BandSource(const BandSource &) = delete;
    BandSource &operator=(const BandSource &) = delete;

    // Valid until the next call.
    QImage rows(const Band &band)
    {
        if (!m_ahead && !m_isRefused && m_threads.take())
            startAhead(band);
        return m_ahead ? m_ahead->take() : m_photo.rows(band.first, band.count);
    }
    void finish()
    {
        if (m_ahead)
            m_ahead->finish();
        else
            m_photo.finish();
    }

private:
    void startAhead(const Band &band)
    {
        try {
            m_ahead = std::make_unique<DecodeAhead>(m_photo, band);
        } catch (const std::exception &) { // the system has none, or no memory for it
            m_isRefused = true;
            m_threads.add();
        }
    }

    photo::PhotoDecoder &m_photo;
    IdleThreads &m_threads;
    std::unique_ptr<DecodeAhead> m_ahead;
    bool m_isRefused = false;
};

} // namespace

qint64 sketchRowsNeed(int width, bool mayDecodeAhead)
{
    return qint64(bandRows) * width + (mayDecodeAhead ? DecodeAhead::memoryNeed(width) : 0);
}

void sketchRows(photo::PhotoDecoder &photo, const sketch::GreyTable &table, IdleThreads &threads,
                const GreyRows &receive)
{
    const int width = photo.size().width();
    const int height = photo.size().height();
    std::vector<uchar> edges(static_cast<std::size_t>(width) * bandRows);
    BandSource source(photo, threads);
    for (Band band = Band::firstOf(height); band.count > 0; band = band.next(height)) {
        const QImage rows = source.rows(band);
        // The memory of a band may be higher than the last one is.
        const QImage view(rows.constBits(), width, band.count, rows.bytesPerLine(), rows.format());
        inverterodesketch(view, edges.data(), {});
        const int top = band.first == 0 ? 0 : edgeReach;
        const int bottom = band.count - (band.first + band.count == height ? 0 : edgeReach);
        uchar *const valid = edges.data() + static_cast<std::size_t>(top) * width;
        sketch::renderGrey(valid, valid, static_cast<std::size_t>(bottom - top) * width, table);
        receive(valid, bottom - top);
    }
    source.finish();
}

} // namespace batch
