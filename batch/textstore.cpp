#include "batch/textstore.h"

#include <algorithm>

namespace batch {

const char *TextStore::keep(std::string_view text)
{
    constexpr std::size_t block = 64 << 10;
    const std::size_t size = text.size() + 1;
    if (size > m_left) {
        m_left = std::max(block, size);
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(m_left));
        m_free = m_blocks.back().get();
        m_bytes += m_left;
    }
    char *const kept = m_free;
    *std::ranges::copy(text, kept).out = '\0';
    m_free += size;
    m_left -= size;
    return kept;
}

} // namespace batch
