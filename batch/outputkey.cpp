#include "batch/outputkey.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>
#include <sys/stat.h>

namespace batch {

namespace {

namespace fs = std::filesystem;

std::string resolved(const std::string &path)
{
    const std::unique_ptr<char, decltype(&std::free)> target(realpath(path.c_str(), nullptr),
                                                             std::free);
    return target ? target.get() : path;
}

bool isFolder(const std::string &path, OutputKey &key)
{
    struct stat status
    {
    };
    if (stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return false;
    key.device = status.st_dev;
    key.inode = status.st_ino;
    return true;
}

// Of a folder that is not there: the one above it that is, and the way down.
OutputKey keyOfMissing(const std::string &folder)
{
    std::error_code error;
    fs::path above = fs::weakly_canonical(fs::absolute(folder, error), error);
    if (error)
        above = fs::path(folder).lexically_normal();
    fs::path below;
    OutputKey key {};
    while (!isFolder(above.empty() ? "." : above.native(), key) && above.has_relative_path()) {
        below = above.filename() / below;
        above = above.parent_path();
    }
    key.rest = below.native();
    return key;
}

} // namespace

std::size_t OutputKey::hash() const
{
    const std::size_t folder = device * 0x9e3779b97f4a7c15ULL + inode;
    return std::hash<std::string_view> {}(rest) ^ (folder * 0xff51afd7ed558ccdULL);
}

const OutputKey &OutputKeys::keyOfFolder(const std::string &folder)
{
    constexpr std::size_t most = 1000;
    const auto found = m_folders.find(folder);
    if (found != m_folders.end())
        return found->second;
    if (m_folders.size() >= most)
        m_folders.clear();
    OutputKey key {};
    if (!isFolder(folder, key))
        key = keyOfMissing(folder);
    return m_folders.emplace(folder, std::move(key)).first->second;
}

OutputKey OutputKeys::keyOf(const std::string &path, bool isLink)
{
    const std::string target = isLink ? resolved(path) : path;
    const std::size_t slash = target.rfind('/');
    const bool isHere = slash == std::string::npos;
    OutputKey key = keyOfFolder(isHere ? "./" : target.substr(0, slash + 1));
    if (!key.rest.empty() && !key.rest.ends_with('/'))
        key.rest += '/';
    key.rest += isHere ? target : target.substr(slash + 1);
    return key;
}

} // namespace batch
