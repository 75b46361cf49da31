#pragma once

#include "GroupOptions.h"

#include <chrono>

namespace OrvelClient
{

struct ReadOptions
{
    /// Throws Failure (WrongOption).
    explicit ReadOptions(const CommandLine& line);

    GroupOptions group;
    bool print;                        ///< the frame is shown instead of sent
    std::chrono::milliseconds timeout; ///< for the answer
    std::chrono::milliseconds wait;
    BusOptions bus;
};

/// Asks for the value of a group.
Command ReadCommand();

} // namespace OrvelClient
