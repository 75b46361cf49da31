#include "BenchKit/Sandboxed.h"

#include "Namespaces.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <vector>

namespace
{

constexpr const char* InsideMarker = "ORVEL_TEST_INSIDE";

// Returns only if it failed. The kernel cannot run a program that was built for another processor: such a program
// must name its emulator.
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

} // namespace

bool IsInside()
{
    return getenv(InsideMarker) != nullptr;
}

// This happens in a child and with an exec: libraries start threads before main, and a process with threads may not
// enter a user namespace.
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
