#include <cstring>

#include "batch/cli/optiontable.h"
#include "tests/fuzz/seeds.h"

namespace {

QByteArray valueOf(const batch::OptionEntry &entry)
{
    switch (entry.kind) {
    case batch::ArgumentKind::None: return {};
    case batch::ArgumentKind::File: return "\nx.jpg";
    case batch::ArgumentKind::Folder: return "\nout";
    case batch::ArgumentKind::Choice:
        return '\n' + QByteArray(entry.choices).split(' ').constLast();
    case batch::ArgumentKind::Other: break;
    }
    return std::strcmp(entry.argument, "SIZE") == 0 ? "\n64M" : "\n7";
}

// Without these the option would be refused, and there would be no plan.
QByteArray companionOf(const QByteArray &option)
{
    if (option == "null")
        return "\n--files-from\nx";
    return option == "keep-folders" ? "\n--output-dir\nout" : "";
}

} // namespace

Seeds optionSeeds()
{
    const QByteArray names("\nphoto\n\na.jpg\nfolder/b.jpg\na.jpg\n");
    Seeds seeds {
        {"lists", "--output-dir\nout\n-j\n2\n--files-from\nx\n\na.jpg\nb.jpg\na.png\n"},
        {"zeros",
         QByteArray("--null\n--files-from=x\n--quality=80\n\na.jpg\0b\nc.jpg\0folder/d\0", 59)},
        {"levels", "--black\n10\n--white=200\n--format\npng\n--max-memory\n1G\nphoto\n\nx\n"},
        {"letters", "-qrnj2\nphoto\n\n./a.jpg\n-\n"},
        {"folders", "--output-dir=out\n-v\n--files-from=x\n\n.\n..\n"},
        {"wrong", "--outputdir\n--\n-\n\n"},
    };
    for (const batch::OptionEntry &entry : batch::optionTable()) {
        const QByteArray name(entry.longName);
        seeds["option-" + QString::fromLatin1(name)] =
            "--" + name + valueOf(entry) + companionOf(name) + names;
    }
    return seeds;
}
