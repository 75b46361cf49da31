#pragma once

#include "Log.h"

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

    Format format = Format::Log;
    TimeStamp timeStamp = TimeStamp::Absolute;
    std::string captureFile;
    uint64_t number = 0; ///< of messages after which it ends; 0: goes on
};

/// Shows the messages from the link until it is stopped. Throws Failure.
void Monitor(const MonitorOptions& options);

} // namespace OrvelClient
