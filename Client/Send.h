#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace OrvelClient
{

struct SendOptions
{
    std::vector<std::string> digits; ///< of one frame; none: frames come from standard input
    std::chrono::milliseconds wait{};
};

/// Sends a frame, or each line of standard input. Throws Failure.
void Send(const SendOptions& options);

} // namespace OrvelClient
