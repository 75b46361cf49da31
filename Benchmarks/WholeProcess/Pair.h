#pragma once

#include "Subject.h"

#include <cstddef>
#include <vector>

/// The load that an application puts on the daemon: frames of `size` bytes, `underWay` at a time.
struct Load
{
    std::size_t size;
    std::size_t underWay;
};

/// The results of one program under a load.
struct Figures
{
    double roundTrip = 0;       ///< µs, the median; 0 where more than one frame was under way
    double processorTime = 0;   ///< µs a frame
    double framesPerSecond = 0; ///< as the applications see it
};

/// Both programs under the same load.
struct PairOfFigures
{
    Figures first;
    Figures second;
};

/// Starts both programs again and puts the loads on them in turns of some 10 ms, so that other work on the machine
/// affects both programs and all loads. The result has an entry for each load. Throws std::runtime_error if a frame was
/// lost.
std::vector<PairOfFigures> MeasurePair(const Program& first, const Program& second, const std::vector<Load>& loads,
                                       std::size_t turns, const Processors& processors);
