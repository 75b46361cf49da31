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
    void AddTo(Arguments::Parser& parser);

    std::vector<std::string> digits; ///< of one frame; none: frames come from standard input
    bool confirm = false;            ///< each frame has to be confirmed before the next one
    std::chrono::milliseconds wait{0};
    BusOptions bus;
};

/// Sends a frame, or each line of standard input.
Command SendCommand();

} // namespace OrvelClient
