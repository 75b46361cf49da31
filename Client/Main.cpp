// orvelctl: talks to the daemon as an application does, for people who write applications.

#include "Failure.h"
#include "Monitor.h"
#include "Options.h"
#include "Output.h"
#include "Send.h"

#include <csignal>
#include <cstdio>
#include <exception>

using namespace OrvelClient;

namespace
{

void Run(const Options& options)
{
    switch (options.command)
    {
    case Options::Command::Help:
        Output().Write(options.help);
        break;
    case Options::Command::Send:
        Send(options.send);
        break;
    case Options::Command::Monitor:
        Monitor(options.monitor);
        break;
    }
}

} // namespace

int main(int argc, char** argv)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); // a failed write tells the same, and can be told from others
    try
    {
        Run(ParseOptions(argc, argv));
        return 0;
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
