// The main function of every test program.

#include "BenchKit/Sandboxed.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>

namespace
{

// The tests of a user share one limit of bytes in queues. What still exists when its IPC namespace ends is counted until the
// kernel clears that namespace away, which may be 50 tests later.
void RemoveQueues()
{
    std::error_code ignored;
    for (const auto& queue : std::filesystem::directory_iterator("/dev/mqueue", ignored))
    {
        unlink(queue.path().c_str());
    }
}

} // namespace

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
    const int status = RUN_ALL_TESTS();
    if (!onlyListed)
    {
        RemoveQueues();
    }
    return status;
}
