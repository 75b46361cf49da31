#pragma once

#include "Bus.h"
#include "Command.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace OrvelClient
{

struct SendOptions
{
    void AddTo(Arguments::Parser& parser);

    std::vector<std::string> digits; ///< of one frame; none: frames come from standard input
    bool confirm = false;            ///< each frame has to be confirmed before the next one
    std::optional<double> rate;      ///< frames a second at most; none: as fast as the queue takes them
    std::chrono::milliseconds wait{0};
    BusOptions bus;
};

/// Sends a frame, or each line of standard input.
Command SendCommand();

} // namespace OrvelClient
