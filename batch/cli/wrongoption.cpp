#include "batch/cli/wrongoption.h"

#include <algorithm>
#include <unistd.h>
#include <vector>

namespace batch {

namespace {

constexpr const char *afterDashes = "a photo of such a name comes after --";

// The slips between the beginnings of two names, by their lengths.
class SlipTable
{
public:
    SlipTable(const std::string &typed, const std::string &name)
        : m_typed(typed)
        , m_name(name)
        , m_width(name.size() + 1)
        , m_slips((typed.size() + 1) * m_width)
    {
        for (std::size_t i = 0; i <= typed.size(); ++i) {
            for (std::size_t k = 0; k <= name.size(); ++k)
                at(i, k) = fewest(i, k);
        }
    }
    int ofAll() const { return m_slips.back(); }

private:
    // A letter left out is the smaller slip: "outdir" is nearer to "output-dir" than to
    // "output". The other is one too many, another one, or two exchanged.
    static constexpr int leftOut = 1;
    static constexpr int wrong = 2;

    int &at(std::size_t i, std::size_t k) { return m_slips[i * m_width + k]; }

    int fewest(std::size_t i, std::size_t k)
    {
        if (i == 0 || k == 0)
            return static_cast<int>(i * wrong + k * leftOut);
        const bool isSame = m_typed[i - 1] == m_name[k - 1];
        int slips = std::min({at(i - 1, k - 1) + (isSame ? 0 : wrong), at(i - 1, k) + wrong,
                              at(i, k - 1) + leftOut});
        if (i > 1 && k > 1 && m_typed[i - 1] == m_name[k - 2] && m_typed[i - 2] == m_name[k - 1])
            slips = std::min(slips, at(i - 2, k - 2) + wrong);
        return slips;
    }

    const std::string &m_typed;
    const std::string &m_name;
    std::size_t m_width;
    std::vector<int> m_slips;
};

int slips(const std::string &typed, const std::string &name)
{
    return SlipTable(typed, name).ofAll();
}

// Of those that have most letters in common.
std::vector<std::string> nearestNames(const std::string &typed)
{
    int fewest = static_cast<int>(typed.size() * 2 / 3);
    std::vector<std::string> names;
    for (const OptionEntry &entry : optionTable()) {
        const int count = slips(typed, entry.longName);
        if (count < fewest)
            names.clear();
        if (count <= fewest)
            names.push_back(std::string("--") + entry.longName);
        fewest = std::min(fewest, count);
    }
    return names;
}

std::vector<std::string> namesThatBegin(const std::string &beginning)
{
    std::vector<std::string> names;
    for (const OptionEntry &entry : optionTable()) {
        if (std::string(entry.longName).starts_with(beginning))
            names.push_back(std::string("--") + entry.longName);
    }
    return names;
}

// As in "--black, --white or --strip".
std::string alternatives(const std::vector<std::string> &names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool isLast = i + 1 == names.size();
        text += (i == 0 ? "" : isLast ? " or " : ", ") + names[i];
    }
    return text;
}

std::string meant(const std::vector<std::string> &names)
{
    return names.empty() ? std::string() : "; did you mean " + alternatives(names) + "?";
}

bool isFile(const std::string &name)
{
    return access(name.c_str(), F_OK) == 0;
}

} // namespace

std::string unknownName(const std::string &argument)
{
    const std::string option = argument.substr(0, argument.find('='));
    const std::string name = option.substr(2);
    // Every option begins with nothing.
    const std::vector<std::string> candidates =
        name.empty() ? std::vector<std::string> {} : namesThatBegin(name);
    if (candidates.size() > 1)
        return option + " is ambiguous: " + alternatives(candidates);
    if (isFile(argument))
        return "unknown option " + argument + "; " + afterDashes;
    return "unknown option " + (name.empty() ? argument : option) + meant(nearestNames(name));
}

std::string unknownLetter(char letter, const std::string &argument)
{
    const bool isAscii = letter > ' ' && letter <= '~';
    const std::string whole = isAscii ? " in " + argument : std::string();
    std::string text = "unknown option " + (isAscii ? std::string {'-', letter} : argument);
    const bool isLetterAlone = argument.size() == 2;
    if (isLetterAlone)
        return isFile(argument) ? text + "; " + afterDashes : text;
    text += whole;
    const std::vector<std::string> names = nearestNames(argument.substr(1));
    return names.empty() || isFile(argument) ? text + "; " + afterDashes : text + meant(names);
}

std::string takesNoValue(const std::string &argument, const OptionEntry &entry)
{
    const std::string value = argument.substr(argument.find('=') + 1);
    return std::string("--") + entry.longName + " takes no value, but got '" + value + "'";
}

} // namespace batch
