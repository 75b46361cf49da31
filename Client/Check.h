#pragma once

#include "Orvel/Protocol.h"

#include <string>
#include <vector>

namespace OrvelClient
{

struct CheckOptions
{
    std::string driver; ///< the daemon; empty: the one that lies beside this program
    int resetGpio = 3;
    std::vector<std::string> buttonQueues{ORVEL_PROG_BUTTON_QUEUE};
};

/// Shows, in one line each, whether this machine has what the daemon needs if this user starts it, and what to do about
/// it. False if the daemon would not start. Throws Failure.
bool Check(const CheckOptions& options);

} // namespace OrvelClient
