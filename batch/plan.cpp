#include "batch/plan.h"

#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <utility>

#include "batch/cli/commandline.h"
#include "batch/outputerrors.h"
#include "photo/photoformat.h"

namespace batch {

namespace {

namespace fs = std::filesystem;
using Step = PlannedPhoto::Step;
using FileIdentity = std::pair<dev_t, ino_t>;

std::string withoutPictureSuffix(const fs::path &name)
{
    return photo::hasPictureSuffix(name.native()) ? name.stem().native() : name.filename().native();
}

std::string outputOf(const InputPhoto &input, const Options &options)
{
    if (!options.output.empty())
        return options.output;
    const std::string suffix = suffixOf(*options.format);
    if (options.outputDirectory.empty()) {
        const fs::path photo = input.path;
        return photo.parent_path() / (withoutPictureSuffix(photo) + "-sketch" + suffix);
    }
    const fs::path place = input.relative;
    return fs::path(options.outputDirectory) / place.parent_path()
        / (withoutPictureSuffix(place) + suffix);
}

bool isOlder(const struct stat &file, const struct stat &other)
{
    return std::pair(file.st_mtim.tv_sec, file.st_mtim.tv_nsec)
        < std::pair(other.st_mtim.tv_sec, other.st_mtim.tv_nsec);
}

class Planner
{
public:
    Planner(const std::vector<InputPhoto> &inputs, const Options &options)
        : m_inputs(inputs)
        , m_options(options)
    {
    }

    std::vector<PlannedPhoto> plan()
    {
        for (const InputPhoto &input : m_inputs)
            addPhoto(input);
        for (std::size_t i = 0; i < m_photos.size(); ++i) {
            if (writesFile(m_photos[i])) {
                settleExisting(m_photos[i]);
                findSharedOutput(i);
            }
        }
        // Only now is known which sketches are left alone.
        for (std::size_t i = 0; i < m_photos.size(); ++i) {
            if (writesFile(m_photos[i]))
                findInputInTheWay(i);
        }
        return std::move(m_photos);
    }

private:
    static bool writesFile(const PlannedPhoto &photo)
    {
        return photo.output != "-" && !photo.output.empty();
    }

    void addPhoto(const InputPhoto &input)
    {
        if (!input.problem.empty()) {
            m_photos.push_back({input.path, {}, Step::Fail, input.problem, {}});
            return;
        }
        struct stat status
        {
        };
        if (input.path != "-" && stat(input.path.c_str(), &status) == 0)
            m_byIdentity.try_emplace({status.st_dev, status.st_ino}, m_photos.size());
        m_photos.push_back({input.path, outputOf(input, m_options), Step::Sketch, {}, {}});
    }

    void settleExisting(PlannedPhoto &photo) const
    {
        struct stat status
        {
        };
        if (lstat(photo.output.c_str(), &status) != 0)
            return;
        const bool isLink = S_ISLNK(status.st_mode);
        const bool regular = stat(photo.output.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        switch (m_options.existing) {
        case Existing::Fail: refuse(photo, OutputExists(photo.output).what()); return;
        case Existing::Skip: skip(photo, OutputExists::skipped); return;
        case Existing::RedoOlder:
            if (regular && !isOlderThanPhoto(status, photo)) {
                skip(photo, "the output is not older");
                return;
            }
            break;
        case Existing::Overwrite: break;
        }
        if (regular)
            photo.replaced.emplace(status, isLink);
        else
            refuse(photo, "the output " + photo.output + " is no regular file");
    }

    static bool isOlderThanPhoto(const struct stat &output, const PlannedPhoto &photo)
    {
        struct stat status
        {
        };
        return photo.input == "-" || stat(photo.input.c_str(), &status) != 0
            || isOlder(output, status);
    }

    static void refuse(PlannedPhoto &photo, std::string reason)
    {
        photo.step = Step::Fail;
        photo.reason = std::move(reason);
    }
    static void skip(PlannedPhoto &photo, std::string reason)
    {
        photo.step = Step::Skip;
        photo.reason = std::move(reason);
    }
    static void markConflict(PlannedPhoto &photo, std::string reason)
    {
        photo.step = Step::Conflict;
        photo.reason = std::move(reason);
    }

    void findSharedOutput(std::size_t index)
    {
        PlannedPhoto &photo = m_photos[index];
        std::error_code error;
        const fs::path target = fs::weakly_canonical(fs::absolute(photo.output, error), error);
        const auto [found, isNew] =
            m_byOutput.try_emplace(error ? photo.output : target.native(), index);
        if (isNew)
            return;
        PlannedPhoto &other = m_photos[found->second];
        markConflict(photo, "has the same output as " + other.input + ": " + photo.output);
        if (other.step != Step::Conflict)
            markConflict(other, "has the same output as " + photo.input + ": " + other.output);
    }

    void findInputInTheWay(std::size_t index)
    {
        PlannedPhoto &photo = m_photos[index];
        struct stat status
        {
        };
        if (stat(photo.output.c_str(), &status) != 0)
            return;
        const auto found = m_byIdentity.find(FileIdentity {status.st_dev, status.st_ino});
        if (found == m_byIdentity.end())
            return;
        PlannedPhoto &other = m_photos[found->second];
        if (found->second == index)
            markConflict(photo, "the output " + photo.output + " is the photo itself");
        else if (photo.step == Step::Skip && other.step != Step::Conflict)
            skip(other, "is the sketch of " + photo.input);
        else if (photo.step != Step::Conflict)
            markConflict(photo, "the output " + photo.output + " is the photo " + other.input);
    }

    const std::vector<InputPhoto> &m_inputs;
    const Options &m_options;
    std::vector<PlannedPhoto> m_photos;
    std::map<FileIdentity, std::size_t> m_byIdentity;
    std::map<std::string, std::size_t> m_byOutput;
};

} // namespace

std::vector<PlannedPhoto> planPhotos(const std::vector<InputPhoto> &inputs, const Options &options)
{
    return Planner(inputs, options).plan();
}

} // namespace batch
