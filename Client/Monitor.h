#pragma once

#include "Bus.h"
#include "Command.h"
#include "TimeStamp.h"

#include <cstdint>
#include <string>

namespace OrvelClient
{

struct MonitorOptions
{
    enum class Format
    {
        Log,
        Json,
        Count, ///< only how many of each kind, at the end
        Capture
    };

    /// Throws Failure (WrongOption).
    explicit MonitorOptions(const CommandLine& line);

    Format format;
    TimeStamp timeStamp;
    std::string captureFile;
    uint64_t number; ///< of messages after which it ends; 0: goes on
    BusOptions bus;
};

/// Shows the messages from the link until it is stopped.
Command MonitorCommand();

} // namespace OrvelClient
