#pragma once

#include <stdexcept>

namespace photo {

// Why one photo could not be read or its sketch not be written, as one line for
// the user. It ends the work on that photo and on no other.
class PhotoError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace photo
