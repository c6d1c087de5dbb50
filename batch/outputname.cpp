#include "batch/outputname.h"

#include <string_view>

#include "batch/cli/commandline.h"
#include "photo/photoformat.h"

namespace batch {

namespace {

struct SplitPath
{
    explicit SplitPath(std::string_view path)
        : name(path.substr(path.rfind('/') + 1))
        , folder(path.substr(0, path.size() - name.size()))
    {
        while (folder.size() > 1 && folder.ends_with('/'))
            folder.remove_suffix(1);
    }
    std::string_view name;
    std::string_view folder; // without a slash at its end, unless it is the root
};

std::string withoutPictureSuffix(std::string_view name)
{
    std::string whole(name);
    if (photo::hasPictureSuffix(whole))
        whole.resize(whole.rfind('.'));
    return whole;
}

void enter(std::string &path, std::string_view name)
{
    if (!path.empty() && !path.ends_with('/'))
        path += '/';
    path += name;
}

} // namespace

std::string outputName(const InputPhoto &photo, const Options &options)
{
    if (!options.output.empty())
        return options.output;
    const bool isBeside = options.outputDirectory.empty();
    const SplitPath parts(isBeside ? photo.path : photo.place);
    std::string path = options.outputDirectory;
    if (!parts.folder.empty())
        enter(path, parts.folder);
    enter(path, withoutPictureSuffix(parts.name));
    path += isBeside ? "-sketch" : "";
    return path += suffixOf(*options.format);
}

} // namespace batch
