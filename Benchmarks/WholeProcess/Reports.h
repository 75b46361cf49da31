#pragma once

#include "Subject.h"

#include <chrono>
#include <cstddef>
#include <string>

/// Prints what can be counted, with its limits. True if all limits are kept.
bool ReportCounts(const Processors& processors, std::chrono::seconds idle);

enum class Extent
{
    Judged,    ///< what there is a budget for
    Everything ///< also how the cost grows, which is written into files of the working directory
};

/// Prints the daemon's times as ratios to the relay's, from so many pairs of runs with `turns` of each load in each.
void ReportRatios(const Processors& processors, std::size_t pairs, std::size_t turns, Extent extent);

/// Prints what the relay pays for each more thing that the daemon must do.
void ReportFloors(const Processors& processors, std::size_t pairs, std::size_t turns);

/// Prints how the cost at one and at 14 frames under way depends on the log level, into a file of the working directory.
void ReportLevels(const Processors& processors, std::size_t pairs, std::size_t turns);

/// Prints what the daemon takes from start to end, `runs` times.
void ReportLife(const Processors& processors, std::size_t runs);

/// Prints the results of the step benchmarks in `file`, and writes those of the queues into a file of the working
/// directory.
void ReportSteps(const std::string& file);
