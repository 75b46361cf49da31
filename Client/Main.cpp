// orvelctl: talks to the daemon as an application does, for people who write applications.

#include "Failure.h"
#include "Options.h"
#include "Output.h"
#include "Version.h"

#include <csignal>
#include <cstdio>
#include <exception>

using namespace OrvelClient;

namespace
{

Status Run(const Options& options)
{
    switch (options.command)
    {
    case Options::Command::Help:
        Output().Write(options.help);
        break;
    case Options::Command::Version:
        Output().Write(OrvelVersion::VersionText("orvelctl"));
        break;
    case Options::Command::Send:
        Send(options.send);
        break;
    case Options::Command::Monitor:
        Monitor(options.monitor);
        break;
    case Options::Command::Replay:
        Replay(options.replay);
        break;
    case Options::Command::Generate:
        Generate(options.generate);
        break;
    case Options::Command::Button:
        Button(options.button);
        break;
    case Options::Command::Led:
        Led(options.led);
        break;
    case Options::Command::Check:
        return Check(options.check) ? Status::Done : Status::Failed;
    }
    return Status::Done;
}

} // namespace

int main(int argc, char** argv)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); // a failed write tells the same, and can be told from others
    try
    {
        return static_cast<int>(Run(ParseOptions(argc, argv)));
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
