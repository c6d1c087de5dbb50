#include "batch/inputlist.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <unistd.h>

#include "batch/cli/commandline.h"
#include "batch/cli/standardstreams.h"
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
        } else if (isUnreadablePhoto(entry)) {
            add(path.native());
        } else if (isPhoto(entry)) {
            m_list.photos.push_back({path.native(), itsPlace.native(), {}});
        } else {
            m_list.leftOut.push_back(path.native());
        }
    }

    // A link that leads nowhere, mostly.
    static bool isUnreadablePhoto(const fs::directory_entry &entry)
    {
        std::error_code error;
        return !fs::exists(entry.status(error)) && photo::hasPictureSuffix(entry.path().native());
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

// The names of a list, read portion by portion.
class NameList
{
public:
    // "-" stands for standard input. Throws UsageError, from here on as well.
    explicit NameList(const Options &options)
        : m_name(options.photoList)
        , m_separator(options.nullSeparated ? '\0' : '\n')
    {
        if (m_name == "-")
            return;
        m_descriptor = open(m_name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
        if (m_descriptor < 0)
            failReading();
    }
    ~NameList()
    {
        if (m_descriptor != STDIN_FILENO)
            close(m_descriptor);
    }
    NameList(const NameList &) = delete;
    NameList &operator=(const NameList &) = delete;

    template <typename Function> void forEach(Function function)
    {
        std::string name;
        const auto end = [&] {
            if (!name.empty())
                function(name);
            name.clear();
        };
        while (readPortion()) {
            for (std::string_view rest = m_portion; !rest.empty();) {
                const std::size_t length = std::min(rest.find(m_separator), rest.size());
                append(name, rest.substr(0, length));
                if (length < rest.size())
                    end();
                rest.remove_prefix(std::min(length + 1, rest.size()));
            }
        }
        end();
    }

private:
    [[noreturn]] void fail(const std::string &what) const
    {
        throw UsageError("--files-from: " + m_name + " " + what);
    }
    [[noreturn]] void failReading() const
    {
        fail(std::string("cannot be read: ") + std::strerror(errno));
    }

    void append(std::string &name, std::string_view text) const
    {
        // No system knows names of such a length.
        constexpr std::size_t longest = 1 << 16;
        if (name.size() + text.size() > longest)
            fail("is no list of names");
        name += text;
    }

    bool readPortion()
    {
        ssize_t count = 0;
        while ((count = read(m_descriptor, m_buffer, sizeof m_buffer)) < 0) {
            if (errno == EAGAIN)
                waitForInput(m_descriptor);
            else if (errno != EINTR)
                failReading();
        }
        m_portion = {m_buffer, static_cast<std::size_t>(count)};
        return count > 0;
    }

    std::string m_name;
    char m_separator;
    int m_descriptor = STDIN_FILENO;
    char m_buffer[1 << 16];
    std::string_view m_portion;
};

void addFromList(Collector &collector, const Options &options)
{
    NameList(options).forEach([&](const std::string &name) {
        collector.add(name == "-" ? "./-" : name); // a file, in a list
    });
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
