#include "photo/decode/banddecoder.h"

#include <cstring>

namespace photo {

QImage BandDecoder::rows(int first, int count)
{
    Q_ASSERT(count <= m_bandRows);
    if (m_band.empty()) {
        m_band.resize(static_cast<std::size_t>(bandNeed()));
        start();
    }
    keepOverlap(first);
    decode(m_band.data() + rowBytes() * m_bandCount, count - m_bandCount);
    m_bandCount = count;
    return {m_band.data(), size().width(), count, static_cast<qsizetype>(rowBytes()), m_format};
}

// Moves the rows that are asked for again to the band's beginning.
void BandDecoder::keepOverlap(int first)
{
    const int kept = m_bandFirst + m_bandCount - first;
    Q_ASSERT(kept >= 0 && kept <= m_bandCount);
    std::memmove(m_band.data(), m_band.data() + rowBytes() * (m_bandCount - kept),
                 rowBytes() * kept);
    m_bandFirst = first;
    m_bandCount = kept;
}

} // namespace photo
