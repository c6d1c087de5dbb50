#pragma once

#include <ctime>
#include <string>

#include "photo/encode/bytesink.h"
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

// A file that appears under its name in one step, when it is complete. Until
// then it has no name at all where the file system can do that, and otherwise a
// hidden one, ".crayvell-" and random characters, in the same folder. One that
// is not published leaves nothing behind.
class AtomicFile : public photo::ByteSink
{
public:
    // Makes the folders that are missing. A path that is a symbolic link to a
    // file stands for that file. Throws PhotoError, from here on as well.
    explicit AtomicFile(const std::string &path);
    ~AtomicFile() override;
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    void write(const unsigned char *bytes, std::size_t count) override;
    void setTimes(const timespec &access, const timespec &modification);
    void synchronise();

    // Without replace, throws OutputExists where the name is taken, even when it
    // was taken a moment ago; with it, replaces a regular file and keeps its
    // permissions.
    void publish(bool replace);

private:
    void openNamed();
    std::string unusedName() const;
    void publishUnnamed(bool replace);
    void publishNamed(bool replace);
    void takeOverMode();

    std::string m_path;
    std::string m_folder;
    std::string m_temporary; // empty: the file has no name yet
    int m_descriptor = -1;
};

} // namespace batch
