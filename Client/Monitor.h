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

    void AddTo(Arguments::Parser& parser);

    Format format = Format::Log;
    TimeStamp timeStamp = TimeStamp::Absolute;
    std::string file = "-"; ///< "-" is standard output
    std::optional<Rotation> rotation;
    std::chrono::milliseconds interval{1000}; ///< of statistics
    uint64_t number = 0;                      ///< of messages after which it ends; 0: goes on
    LookOptions look;
    Filter filter;
    NamesFile names;
    BusOptions bus;
};

/// Shows the messages from the link until it is stopped.
Command MonitorCommand();

} // namespace OrvelClient
