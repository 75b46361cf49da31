#pragma once

#include "Bus.h"
#include "Command.h"

#include <chrono>
#include <string>
#include <vector>

namespace OrvelClient
{

struct SendOptions
{
    /// Throws Failure (WrongOption).
    explicit SendOptions(const CommandLine& line);

    std::vector<std::string> digits; ///< of one frame; none: frames come from standard input
    bool confirm;                    ///< each frame has to be confirmed before the next one
    std::chrono::milliseconds wait;
    BusOptions bus;
};

/// Sends a frame, or each line of standard input.
Command SendCommand();

} // namespace OrvelClient
