#pragma once

#include <stdexcept>

// Why one photo could not be sketched, as one line for the user. It ends the
// work on that photo and on no other.
class PhotoError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The output came into being, or was there already, and may not be replaced.
class OutputExists : public PhotoError
{
public:
    OutputExists()
        : PhotoError("the output exists already")
    {
    }
};
