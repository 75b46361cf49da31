#pragma once

#include "Command.h"

#include <string>
#include <vector>

namespace OrvelClient
{

struct CheckOptions
{
    void AddTo(Arguments::Parser& parser);

    std::string driver; ///< the daemon; empty: the one that lies beside this program
    int resetGpio = 3;
    std::vector<std::string> buttonQueues; ///< none: the usual one
};

/// Shows, in one line each, whether this machine has what the daemon needs if this user starts it, and what to do about
/// it. Its status is Failed if the daemon would not start.
Command CheckCommand();

} // namespace OrvelClient
