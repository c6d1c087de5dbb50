#pragma once

#include "photo/photoerror.h"

namespace batch {

// The output came into being, or was there already, and may not be replaced.
class OutputExists : public photo::PhotoError
{
public:
    // Why the photo is left out where that was asked for.
    static constexpr const char *skipped = "the output exists already";

    explicit OutputExists(const std::string &output)
        : PhotoError("the output " + output
                     + " exists already; --overwrite replaces it, "
                       "--skip-existing leaves it")
    {
    }
};

// The output is no longer the file that was to be replaced.
class OutputChanged : public photo::PhotoError
{
public:
    OutputChanged()
        : PhotoError("the output changed meanwhile")
    {
    }
};

} // namespace batch
