// The main function of every test program: the tests run inside namespaces of their own, so that they may mount, may
// create queues of any name and size, and leave nothing behind.

#include "Namespaces.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace
{

constexpr const char* InsideMarker = "ORVEL_TEST_INSIDE";

// Returns only when it failed. A program that was built for another processor has to name the emulator that it is run by:
// the kernel does not know it.
void StartAnew(char** argv)
{
    char* const emulator = getenv("ORVEL_TEST_EMULATOR");
    if (emulator == nullptr || *emulator == '\0')
    {
        execv("/proc/self/exe", argv);
        return;
    }
    std::vector<char*> command{emulator};
    do
    {
        command.push_back(*argv);
    } while (*argv++ != nullptr);
    execvp(emulator, command.data());
}

// In a child and with an exec, because libraries start threads before main, and a process with threads may not enter a
// user namespace.
int RunInside(char** argv)
{
    const pid_t child = fork();
    if (child == 0)
    {
        try
        {
            Simulator::EnterNamespaces();
        }
        catch (const std::exception& failure)
        {
            std::fprintf(stderr, "cannot run the tests: %s\n", failure.what());
            _exit(EXIT_FAILURE);
        }
        setenv(InsideMarker, "1", 1);
        StartAnew(argv);
        std::perror("cannot run the tests");
        _exit(EXIT_FAILURE);
    }
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child)
    {
        std::perror("cannot run the tests");
        return EXIT_FAILURE;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

int main(int argc, char** argv)
{
    const bool onlyListed = std::any_of(
        argv, argv + argc, [](const char* argument) { return argument == std::string("--gtest_list_tests"); });
    if (!onlyListed && getenv(InsideMarker) == nullptr)
    {
        return RunInside(argv);
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a killed test run takes everything inside with it
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
