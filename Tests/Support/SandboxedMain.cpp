// The main function of every test program.

#include "Sandboxed.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>

#include <algorithm>
#include <csignal>
#include <string>

int main(int argc, char** argv)
{
    const bool onlyListed = std::any_of(
        argv, argv + argc, [](const char* argument) { return argument == std::string("--gtest_list_tests"); });
    if (!onlyListed && !IsInside())
    {
        return RunInside(argv);
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a killed test run takes everything inside with it
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
