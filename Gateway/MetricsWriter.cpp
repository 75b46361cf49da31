#include "MetricsWriter.h"

#include <log4cplus/loggingmacros.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace OrvelGateway
{

MetricsWriter::MetricsWriter(std::string metricsFile, Clock::time_point now)
    : file(std::move(metricsFile))
    , logger(log4cplus::Logger::getInstance("Metrics"))
    , busLoad(now)
    , nextWrite(now)
{
}

void MetricsWriter::Write(Figures figures, Clock::time_point now)
{
    if (now >= nextWrite)
    {
        nextWrite = std::max(nextWrite + Period, now);
        load = busLoad.Take(figures.count.timeOnLine, now);
    }
    figures.busLoad = load;
    written = figures.changes;
    std::string why;
    try
    {
        WriteWhole(file, ToOpenMetrics(figures));
    }
    catch (const std::system_error& failure)
    {
        why = failure.what();
    }
    if (why != told && !why.empty())
    {
        LOG4CPLUS_ERROR(logger, "Failed to write the metrics: " << why);
    }
    told = why;
}

} // namespace OrvelGateway
