#pragma once

#include <cstddef>

namespace photo {

// Takes the bytes of an encoded picture in their order.
class ByteSink
{
public:
    virtual ~ByteSink() = default;

    // Throws PhotoError where the bytes cannot be taken.
    virtual void write(const unsigned char *bytes, std::size_t count) = 0;
};

} // namespace photo
