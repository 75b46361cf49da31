#pragma once

#include "Bus.h"
#include "Command.h"
#include "CommonOptions.h"
#include "Filter.h"
#include "Formatter.h"
#include "GroupNames.h"
#include "RotatingOutput.h"

#include <chrono>
#include <cstdint>
#include <optional>
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
        Statistics,
        Capture
    };

    /// Throws Failure (WrongOption).
    explicit MonitorOptions(const CommandLine& line);

    Format format;
    TimeStamp timeStamp;
    std::string file; ///< "-" is standard output
    std::optional<Rotation> rotation;
    std::chrono::milliseconds interval; ///< of statistics
    uint64_t number;                    ///< of messages after which it ends; 0: goes on
    LookOptions look;
    Filter filter;
    NamesFile names;
    BusOptions bus;
};

/// Shows the messages from the link until it is stopped.
Command MonitorCommand();

} // namespace OrvelClient
