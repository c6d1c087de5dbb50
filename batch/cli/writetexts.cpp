// Writes the manual page and the shells' completions into a folder, at build
// time.

#include <fstream>
#include <iostream>

#include "batch/cli/helptext.h"

namespace {

bool writeText(const std::string &path, const std::string &text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    return file.good();
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " FOLDER VERSION\n";
        return 2;
    }
    const std::string folder = std::string(argv[1]) + "/";
    const bool written = writeText(folder + "crayvell-batch.1", batch::manualPage(argv[2]))
        && writeText(folder + "crayvell-batch.bash", batch::bashCompletion())
        && writeText(folder + "_crayvell-batch", batch::zshCompletion())
        && writeText(folder + "crayvell-batch.fish", batch::fishCompletion());
    return written ? 0 : 1;
}
