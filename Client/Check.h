#pragma once

#include "Command.h"

#include <string>
#include <vector>

namespace OrvelClient
{

struct CheckOptions
{
    /// Throws Failure (WrongOption).
    explicit CheckOptions(const CommandLine& line);

    std::string driver; ///< the daemon; empty: the one that lies beside this program
    int resetGpio;
    std::vector<std::string> buttonQueues;
};

/// Shows, in one line each, whether this machine has what the daemon needs if this user starts it, and what to do about
/// it. Its status is Failed if the daemon would not start.
Command CheckCommand();

} // namespace OrvelClient
