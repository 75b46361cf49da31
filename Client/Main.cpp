// orvelctl: talks to the daemon as an application does, for people who write applications.

#include "Commands.h"
#include "Failure.h"

#include <csignal>
#include <cstdio>
#include <exception>

using namespace OrvelClient;

int main(int argc, char** argv)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); // a failed write tells the same, and can be told from others
    try
    {
        return static_cast<int>(ActionFor(argc, argv)());
    }
    catch (const Failure& failure)
    {
        if (failure.ExitStatus() != Status::Done)
        {
            std::fprintf(stderr, "orvelctl: %s\n", failure.what());
        }
        return static_cast<int>(failure.ExitStatus());
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "orvelctl: %s\n", failure.what());
        return static_cast<int>(Status::Failed);
    }
}
