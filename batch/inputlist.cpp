#include "batch/inputlist.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "batch/cli/commandline.h"
#include "photo/photoformat.h"

namespace batch {

namespace {

namespace fs = std::filesystem;

photo::ContentKind kindOfFile(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    QByteArray beginning(photo::contentProbe, '\0');
    file.read(beginning.data(), beginning.size());
    beginning.resize(file.gcount());
    return photo::contentKind(beginning, path.native());
}

class Collector
{
public:
    explicit Collector(const Options &options)
        : m_options(options)
    {
        std::error_code error;
        if (!options.outputDirectory.empty())
            m_outputFolder = fs::weakly_canonical(options.outputDirectory, error);
    }

    void add(const std::string &name)
    {
        std::error_code error;
        const fs::file_status status = fs::status(name, error);
        if (fs::is_directory(status))
            addFolder(name);
        else
            m_list.photos.push_back({name, placeOfFile(name), problemOf(status, error)});
    }
    void addStandardInput() { m_list.photos.push_back({"-", "-", {}}); }
    InputList take() { return std::move(m_list); }

private:
    static std::string problemOf(const fs::file_status &status, const std::error_code &error)
    {
        if (!fs::exists(status))
            return "cannot be read: " + (error ? error.message() : std::strerror(ENOENT));
        return fs::is_regular_file(status) ? std::string() : "is no regular file";
    }

    // Where a name keeps its folders they must lie below the output folder.
    fs::path keptFolders(const fs::path &name) const
    {
        const fs::path below = name.lexically_normal().relative_path();
        if (!below.empty() && *below.begin() == "..")
            throw UsageError("--keep-folders: " + name.native() + " leads above the folder");
        return below;
    }

    std::string placeOfFile(const fs::path &name) const
    {
        return m_options.keepFolders ? keptFolders(name).native() : name.filename().native();
    }

    void addFolder(const fs::path &folder)
    {
        if (m_options.outputDirectory.empty())
            throw UsageError(folder.native() + " is a folder, which needs --output-dir");
        scan(folder, m_options.keepFolders ? keptFolders(folder) : fs::path());
    }

    void scan(const fs::path &folder, const fs::path &place)
    {
        std::error_code error;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator at(folder, error), end; !error && at != end;
             at.increment(error)) {
            if (!at->path().filename().native().starts_with('.'))
                entries.push_back(*at);
        }
        if (error)
            m_list.photos.push_back({folder.native(), {}, "cannot be read: " + error.message()});
        std::ranges::sort(entries);
        for (const fs::directory_entry &entry : entries)
            addEntry(entry, place);
    }

    void addEntry(const fs::directory_entry &entry, const fs::path &place)
    {
        std::error_code error;
        const fs::path &path = entry.path();
        const fs::path itsPlace = place / path.filename();
        if (entry.is_directory(error)) {
            // Following links could lead round in circles, and an output folder
            // inside the album is no part of the album.
            if (m_options.recursive && !entry.is_symlink(error) && !isOutputFolder(path))
                scan(path, itsPlace);
        } else if (isPhoto(entry)) {
            m_list.photos.push_back({path.native(), itsPlace.native(), {}});
        } else {
            m_list.leftOut.push_back(path.native());
        }
    }

    // By content; a file with a picture's suffix counts as well, so that a
    // damaged or unreadable photo is a failure and not overlooked.
    static bool isPhoto(const fs::directory_entry &entry)
    {
        std::error_code error;
        if (!entry.is_regular_file(error))
            return false;
        return photo::hasPictureSuffix(entry.path().native())
            || kindOfFile(entry.path()).format != photo::PhotoFormat::Unknown;
    }

    bool isOutputFolder(const fs::path &path) const
    {
        std::error_code error;
        return !m_outputFolder.empty() && fs::canonical(path, error) == m_outputFolder;
    }

    const Options &m_options;
    fs::path m_outputFolder;
    InputList m_list;
};

std::string wholeList(const std::string &name)
{
    const auto contents = [](std::istream &stream) {
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    if (name == "-")
        return contents(std::cin);
    std::ifstream file(name, std::ios::binary);
    if (!file || fs::is_directory(name))
        throw UsageError("--files-from: " + name + " cannot be read");
    return contents(file);
}

void addFromList(Collector &collector, const Options &options)
{
    const std::string list = wholeList(options.photoList);
    const char separator = options.nullSeparated ? '\0' : '\n';
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = std::min(list.find(separator, start), list.size());
        const std::string name = list.substr(start, end - start);
        if (!name.empty())
            collector.add(name == "-" ? "./-" : name); // a file, in a list
        start = end + 1;
    }
}

} // namespace

InputList collectInputs(const Options &options)
{
    Collector collector(options);
    for (const std::string &name : options.photos) {
        if (name == "-")
            collector.addStandardInput();
        else
            collector.add(name);
    }
    if (!options.photoList.empty())
        addFromList(collector, options);
    return collector.take();
}

} // namespace batch
