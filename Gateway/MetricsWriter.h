#pragma once

#include "BusLoad.h"
#include "Metrics.h"

#include <log4cplus/logger.h>

#include <chrono>
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

    bool IsDue(Clock::time_point now) const
    {
        return !file.empty() && now >= nextWrite;
    }

    /// Fills in the bus load, and writes. A failure is logged once, and again when its reason changes.
    void Write(Figures figures, Clock::time_point now);

private:
    const std::string file;
    log4cplus::Logger logger;
    BusLoad busLoad;
    Clock::time_point nextWrite;
    std::string told; // why the file could not be written the last time
};

} // namespace OrvelGateway
