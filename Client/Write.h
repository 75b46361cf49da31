#pragma once

#include "GroupOptions.h"

#include <chrono>
#include <string>

namespace OrvelClient
{

struct WriteOptions
{
    /// Throws Failure (WrongOption).
    explicit WriteOptions(const CommandLine& line);

    GroupOptions group;
    std::string value;
    bool print; ///< the frame is shown instead of sent
    std::chrono::milliseconds wait;
    BusOptions bus;
};

/// Writes the value of a group.
Command WriteCommand();

} // namespace OrvelClient
