#pragma once

#include "CoProcessor.h"

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

    /// Without `restartDaemon` there is no daemon here.
    explicit Commands(CoProcessor& theCoProcessor, Restart restartDaemon = {})
        : coProcessor(theCoProcessor)
        , restart(std::move(restartDaemon))
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
    std::string InjectTelegram(const std::string& hex);
    std::string RestartDaemon(const std::string& command, const std::string& pause) const;

    CoProcessor& coProcessor;
    const Restart restart;
    bool quitRequested = false;
};

} // namespace Simulator
