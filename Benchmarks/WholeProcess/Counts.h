#pragma once

#include "Subject.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

/// Figures that can be counted, and come out the same on any machine, however busy.

/// Calls of malloc, free and their like for each frame, in both directions together.
double HeapCallsPerFrame(Program program, const Processors& processors);

struct SystemCalls
{
    std::map<std::string, double> perFrame; ///< by name; without what only the passing of time causes
    double perFrameInAll = 0;
    double waitsPerFrame = 0; ///< of these, for a lock that another thread had
    double writesPerLine = 0; ///< to standard output; 0 when it wrote no line
    std::size_t lost = 0;     ///< frames
};

SystemCalls CountSystemCalls(const Program& program, const Processors& processors);

struct Idleness
{
    double wakeUpsPerSecond = 0;
    double mostPossible =
        0; ///< wake-ups a second, with one more than the periods that fit into the time that was watched
    double processorShare = 0;
    std::size_t threads = 0;
};

/// Watches a program while nobody asks anything of it. `periodicThreads` wake up every 250 ms.
Idleness WatchIdle(const Program& program, const Processors& processors, std::chrono::seconds duration,
                   unsigned int periodicThreads);
