#pragma once

#include <string>
#include <sys/types.h>
#include <unordered_map>

namespace batch {

// Tells whether two paths are one and the same output, by whatever links they
// lead there and whether it exists or not.
struct OutputKey
{
    dev_t device; // of the folder
    ino_t inode;
    std::string rest; // below that folder

    bool operator==(const OutputKey &) const = default;
    std::size_t hash() const;
};

// Makes the keys, and remembers the folders met last.
class OutputKeys
{
public:
    // isLink: the path itself is a symbolic link.
    OutputKey keyOf(const std::string &path, bool isLink);

private:
    const OutputKey &keyOfFolder(const std::string &folder);

    std::unordered_map<std::string, OutputKey> m_folders;
};

} // namespace batch
