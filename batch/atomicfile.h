#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "batch/knownfile.h"
#include "photo/encode/bytesink.h"

namespace batch {

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

    // Without a file to replace, throws OutputExists where the name is taken,
    // even when it was taken a moment ago. Otherwise replaces that file and keeps
    // its permissions, and throws OutputChanged where the name leads elsewhere.
    // Where the file to replace is gone, the name counts as free.
    void publish(const std::optional<KnownFile> &replaced);

private:
    struct Descriptor
    {
        ~Descriptor();
        bool release(); // false where closing failed

        int number = -1;
    };

    void openFolder(const std::string &folder);
    void openNamed();
    bool isThere(const KnownFile &file, struct stat &status) const;
    bool linkTo(const std::string &name) const noexcept;
    bool renameTo(const std::string &name) const;
    void replace();
    void nameIt();
    std::string newTemporary() const;
    void forgetTemporary() noexcept;
    void publishNew();
    void linkNew();
    void claimNew();
    [[noreturn]] void failNew() const;

    std::string m_path; // as it was given
    std::string m_name; // of the file, in its folder
    std::string m_temporary; // empty: the file has no name yet
    bool m_isLink; // the path that was given
    Descriptor m_folder; // names within it stay true when the path to it changes
    Descriptor m_file;
};

} // namespace batch
