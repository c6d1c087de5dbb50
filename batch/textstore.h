#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace batch {

// Keeps many texts that are never changed, one behind the other.
class TextStore
{
public:
    // Stays valid as long as the store and ends with a NUL byte.
    const char *keep(std::string_view text);
    // What the store takes.
    std::size_t bytes() const { return m_bytes; }

private:
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char *m_free = nullptr; // in the last block
    std::size_t m_left = 0;
    std::size_t m_bytes = 0;
};

} // namespace batch
