#pragma once

#include <cstdio>

#include "sketch/kernel/instructionsets.h"
#include "tests/support/testmain.h"

// Runs the tests of one class once for every instruction set that the kernels
// are built for and the machine has; 0 when there is one and none failed.
template <typename Tests> int runForEveryVariant(int argc, char **argv)
{
    const auto names = sketch::variantNames();
    bool isWell = !names.empty();
    for (const std::string &name : names) {
        std::printf("variant %s\n", name.c_str());
        std::fflush(stdout);
        // A test of another variant than it says would be none.
        if (!sketch::useVariant(name) || sketch::variantInUse() != name) {
            std::printf("cannot be chosen\n");
            return 1;
        }
        Tests tests;
        isWell = runTestsOf(tests, argc, argv) == 0 && isWell;
    }
    return isWell ? 0 : 1;
}

// A program that does.
#define CRAYVELL_VARIANT_TEST_MAIN(Tests) \
    int main(int argc, char **argv) \
    { \
        return runInTestApplication(argc, argv, \
                                    [&] { return runForEveryVariant<Tests>(argc, argv); }); \
    }
