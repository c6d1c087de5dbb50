// Writes the manual page and the shells' completions into a folder, at build
// time.

#include <fstream>
#include <iostream>

#include "batch/helptext.h"

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
    const bool written = writeText(folder + "crayvell-batch.1", manualPage(argv[2]))
        && writeText(folder + "crayvell-batch.bash", bashCompletion())
        && writeText(folder + "_crayvell-batch", zshCompletion())
        && writeText(folder + "crayvell-batch.fish", fishCompletion());
    return written ? 0 : 1;
}
