#pragma once

#include <cstdint>
#include <span>

namespace photo {

// Whether reading a maker's note takes little memory and time, however it is read:
// it has directories of its own, of which only the camera's maker knows where they
// begin and from where their offsets count, and values may lie on each other.
bool isCheapMakerNote(std::span<const unsigned char> block, uint32_t offset, uint32_t bytes);

} // namespace photo
