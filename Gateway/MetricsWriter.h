#pragma once

#include "BusLoad.h"
#include "Metrics.h"

#include <log4cplus/logger.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace OrvelGateway
{

/// Keeps a file with the gateway's figures. The caller tells the time.
class MetricsWriter
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds Period{10};

    /// Without a file this does nothing.
    MetricsWriter(std::string metricsFile, Clock::time_point now);

    /// Once in each period, and whenever there have been other `changes` (those of the figures) than were written.
    bool IsDue(Clock::time_point now, uint64_t changes) const
    {
        return !file.empty() && (now >= nextWrite || changes != written);
    }

    /// Fills in the bus load of the last whole period, and writes. A failure is logged once, and again when its reason changes.
    void Write(Figures figures, Clock::time_point now);

private:
    const std::string file;
    log4cplus::Logger logger;
    BusLoad busLoad;
    double load = 0; // per cent, of the last period
    Clock::time_point nextWrite;
    uint64_t written = 0; // changes
    std::string told;     // why the file could not be written the last time
};

} // namespace OrvelGateway
