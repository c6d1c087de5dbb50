#include "batch/decodeahead.h"

#include <cstring>
#include <new>
#include <utility>

namespace batch {

namespace {

// The rows into memory that stays valid, of the size of a whole band where it is new.
QImage copied(const QImage &rows, QImage memory)
{
    if (memory.isNull() || memory.format() != rows.format())
        memory = QImage(rows.width(), bandRows, rows.format());
    if (memory.isNull())
        throw std::bad_alloc();
    const auto bytes = static_cast<std::size_t>(rows.width()) * 4;
    for (int y = 0; y < rows.height(); ++y)
        std::memcpy(memory.scanLine(y), rows.constScanLine(y), bytes);
    return memory;
}

} // namespace

DecodeAhead::DecodeAhead(photo::PhotoDecoder &photo, Band first)
    : m_photo(photo)
    , m_thread([this, first] { decodeAll(first); })
{
}

DecodeAhead::~DecodeAhead()
{
    {
        const std::lock_guard guard(m_lock);
        m_isGivenUp = true;
    }
    m_changed.notify_all();
}

qint64 DecodeAhead::memoryNeed(int width)
{
    return qint64(bandsAhead) * bandRows * width * 4;
}

void DecodeAhead::decodeAll(Band band) noexcept
{
    std::exception_ptr failure;
    try {
        const int height = m_photo.size().height();
        bool goesOn = true;
        for (; goesOn && band.count > 0; band = band.next(height))
            goesOn = put(band);
        if (goesOn)
            m_photo.finish();
    } catch (...) {
        failure = std::current_exception();
    }
    const std::lock_guard guard(m_lock);
    m_failure = failure;
    m_isDone = true;
    m_changed.notify_all();
}

// False where nobody wants it any more.
bool DecodeAhead::put(const Band &band)
{
    QImage memory;
    {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [&] { return m_isGivenUp || m_bands.size() < bandsAhead; });
        if (m_isGivenUp)
            return false;
        if (!m_free.empty()) {
            memory = std::move(m_free.front());
            m_free.pop_front();
        }
    }
    QImage rows = copied(m_photo.rows(band.first, band.count), std::move(memory));
    const std::lock_guard guard(m_lock);
    m_bands.push_back(std::move(rows));
    m_changed.notify_all();
    return true;
}

const QImage &DecodeAhead::take()
{
    std::unique_lock guard(m_lock);
    if (std::exchange(m_isInUse, false)) {
        m_free.push_back(std::move(m_bands.front()));
        m_bands.pop_front();
        m_changed.notify_all();
    }
    m_changed.wait(guard, [&] { return !m_bands.empty() || m_isDone; });
    if (m_bands.empty())
        std::rethrow_exception(m_failure);
    m_isInUse = true;
    return m_bands.front();
}

void DecodeAhead::finish()
{
    std::unique_lock guard(m_lock);
    m_changed.wait(guard, [&] { return m_isDone; });
    if (m_failure)
        std::rethrow_exception(m_failure);
}

} // namespace batch
