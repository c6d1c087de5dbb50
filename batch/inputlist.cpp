#include "batch/inputlist.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "batch/cli/commandline.h"
#include "batch/cli/standardstreams.h"
#include "photo/photoformat.h"

namespace batch {

namespace {

namespace fs = std::filesystem;

// The plan's share for each photo, while it is made.
constexpr qint64 planBytes = 32;

// 0, or the system's error. The beginning is what there is of that many bytes.
int readBeginning(const std::string &path, QByteArray &beginning)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file < 0)
        return errno;
    ssize_t count = 0;
    while ((count = read(file, beginning.data(), beginning.size())) < 0 && errno == EINTR) { }
    const int error = count < 0 ? errno : 0;
    close(file);
    beginning.resize(std::max<ssize_t>(count, 0));
    return error;
}

bool isHidden(std::string_view name)
{
    return name.starts_with('.');
}

// By name. Without those that are hidden; errno says whether these are all.
std::vector<std::string> namesIn(const std::string &folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> open(opendir(folder.c_str()), closedir);
    if (!open)
        return names;
    errno = 0;
    while (const dirent *const entry = readdir(open.get())) {
        if (!isHidden(entry->d_name))
            names.emplace_back(entry->d_name);
        errno = 0;
    }
    const int error = errno;
    std::ranges::sort(names);
    errno = error;
    return names;
}

std::string below(const std::string &folder, const std::string &name)
{
    return folder.empty() || folder.ends_with('/') ? folder + name : folder + '/' + name;
}

class Collector
{
public:
    Collector(const Options &options, qint64 maximumMemory)
        : m_options(options)
        , m_maximumMemory(maximumMemory)
        , m_hasOutputFolder(!options.outputDirectory.empty()
                            && stat(options.outputDirectory.c_str(), &m_outputFolder) == 0)
    {
    }

    void add(const std::string &name)
    {
        struct stat status
        {
        };
        const int error = stat(name.c_str(), &status) == 0 ? 0 : errno;
        if (error == 0 && S_ISDIR(status.st_mode))
            addFolder(name);
        else
            addPhoto(name, placeOfFile(name), error, status);
    }
    void addStandardInput() { m_list.photos.push_back({"-", "-", 0}); }
    InputList take() { return std::move(m_list); }

private:
    // Where a name keeps its folders they must lie below the output folder.
    static std::string keptFolders(const fs::path &name)
    {
        const fs::path place = name.lexically_normal().relative_path();
        if (!place.empty() && *place.begin() == "..")
            throw UsageError("--keep-folders: " + name.native() + " leads above the folder");
        return place.native();
    }

    std::string placeOfFile(const std::string &name) const
    {
        return m_options.keepFolders ? keptFolders(name) : name.substr(name.rfind('/') + 1);
    }

    void addPhoto(const std::string &path, std::string_view place, int error,
                  const struct stat &status)
    {
        InputPhoto photo;
        photo.path = m_list.texts.keep(path);
        // Mostly its place is the end of its name.
        photo.place = path.ends_with(place) ? photo.path + path.size() - place.size()
                                            : m_list.texts.keep(place);
        photo.problem = error == 0 && !S_ISREG(status.st_mode) ? InputPhoto::notRegular : error;
        if (photo.problem == 0) {
            const auto index = static_cast<std::uint32_t>(m_list.photos.size());
            m_list.files.push_back({status.st_dev, status.st_ino, index});
        }
        m_list.photos.push_back(photo);
        checkMemory();
    }

    void checkMemory() const
    {
        const qint64 megabytes = m_list.memory() >> 20; // less than one does not count
        if (megabytes << 20 > m_maximumMemory) {
            throw UsageError("the list of photos needs more than the "
                             + std::to_string(m_maximumMemory >> 20)
                             + " MB that --max-memory allows");
        }
    }

    void addFolder(const std::string &folder)
    {
        if (m_options.outputDirectory.empty())
            throw UsageError(folder + " is a folder, which needs --output-dir");
        scan(folder, m_options.keepFolders ? keptFolders(folder) : std::string());
    }

    void scan(const std::string &folder, const std::string &place)
    {
        const std::vector<std::string> names = namesIn(folder);
        if (errno != 0)
            addPhoto(folder, {}, errno, {});
        for (const std::string &name : names)
            addEntry(below(folder, name), below(place, name));
    }

    void addEntry(const std::string &path, const std::string &place)
    {
        struct stat status
        {
        };
        int error = stat(path.c_str(), &status) == 0 ? 0 : errno;
        if (error == 0 && S_ISDIR(status.st_mode)) {
            if (m_options.recursive && !isLink(path) && !isOutputFolder(status))
                scan(path, place);
        } else if (isPhoto(path, error, status)) {
            addPhoto(path, place, error, status);
        } else if (m_options.verbose) {
            m_list.leftOut.push_back(m_list.texts.keep(path));
            checkMemory();
        }
    }

    // Following links could lead round in circles.
    static bool isLink(const std::string &path)
    {
        struct stat status
        {
        };
        return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    }

    // By content; a file with a picture's suffix counts as well, so that a damaged photo, or a
    // link that leads nowhere, is a failure and not overlooked, and so does whatever cannot be
    // looked at. Sets the error that it meets.
    static bool isPhoto(const std::string &path, int &error, const struct stat &status)
    {
        if (error == 0 && !S_ISREG(status.st_mode))
            return false;
        if (photo::hasPictureSuffix(path))
            return true;
        QByteArray beginning(photo::contentProbe, '\0');
        if (error == 0)
            error = readBeginning(path, beginning);
        const bool isNowhere = error == ENOENT || error == ELOOP;
        if (error != 0)
            return !isNowhere;
        return photo::contentKind(beginning, path).format != photo::PhotoFormat::Unknown;
    }

    // An output folder inside the album is no part of the album.
    bool isOutputFolder(const struct stat &folder) const
    {
        return m_hasOutputFolder && folder.st_dev == m_outputFolder.st_dev
            && folder.st_ino == m_outputFolder.st_ino;
    }

    const Options &m_options;
    const qint64 m_maximumMemory;
    struct stat m_outputFolder
    {
    };
    const bool m_hasOutputFolder;
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

// Each of its names would be missing for a reason that nobody sees.
void refuseCrLf(const std::string &name, const Options &options)
{
    struct stat status
    {
    };
    if (options.nullSeparated || !name.ends_with('\r') || lstat(name.c_str(), &status) == 0)
        return;
    throw UsageError("--files-from: " + options.photoList
                     + " has lines that end with CR LF, and there is no '" + name
                     + "'; dos2unix takes the CR away");
}

void addFromList(Collector &collector, const Options &options)
{
    NameList(options).forEach([&](const std::string &name) {
        refuseCrLf(name, options);
        collector.add(name == "-" ? "./-" : name); // a file, in a list
    });
}

} // namespace

qint64 InputList::memory() const
{
    const std::size_t structures = photos.size() * (sizeof(InputPhoto) + planBytes)
        + files.size() * sizeof(InputFile) + leftOut.size() * sizeof(const char *);
    return static_cast<qint64>(texts.bytes() + structures);
}

std::string problemText(int problem)
{
    if (problem == InputPhoto::notRegular)
        return "is no regular file";
    return std::string("cannot be read: ") + std::strerror(problem);
}

InputList collectInputs(const Options &options, qint64 maximumMemory)
{
    Collector collector(options, maximumMemory);
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
