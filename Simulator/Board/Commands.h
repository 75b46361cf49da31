#pragma once

#include "CoProcessor.h"

#include "Knx/KnownGroups.h"

#include <chrono>
#include <functional>
#include <string>
#include <utility>

namespace Simulator
{

/// What a person types to the running board, or to a co-processor alone.
class Commands
{
public:
    /// Ends the daemon with `signal` and starts it again after `pause`. The result is as that of Execute.
    using Restart = std::function<std::string(int signal, std::chrono::seconds pause)>;

    /// Without `restartDaemon` there is no daemon here. Telegrams can be typed with the names and types of `knownGroups`.
    explicit Commands(CoProcessor& theCoProcessor, Restart restartDaemon = {}, Knx::KnownGroups knownGroups = {})
        : coProcessor(theCoProcessor)
        , restart(std::move(restartDaemon))
        , groups(std::move(knownGroups))
    {
    }

    /// Carries out one line. The result is what to tell the person, empty when the event log tells it already. A line that
    /// is no command changes nothing.
    std::string Execute(const std::string& line);

    /// True once "quit" was given.
    bool QuitRequested() const
    {
        return quitRequested;
    }

    static std::string Help();

private:
    std::string InjectTelegram(const std::string& command, const std::string& typed);
    std::string RestartDaemon(const std::string& command, const std::string& pause) const;

    CoProcessor& coProcessor;
    const Restart restart;
    const Knx::KnownGroups groups;
    bool quitRequested = false;
};

} // namespace Simulator
