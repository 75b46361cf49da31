#pragma once

#include "CoProcessor.h"

#include <string>

namespace Simulator
{

/// What a person types to the running board, or to a co-processor alone.
class Commands
{
public:
    explicit Commands(CoProcessor& theCoProcessor)
        : coProcessor(theCoProcessor)
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

    CoProcessor& coProcessor;
    bool quitRequested = false;
};

} // namespace Simulator
