#pragma once

#include "StopSignals.h"

#include "System/Lines.h"

#include <deque>
#include <string>

namespace OrvelClient
{

/// The lines of standard input.
class LineInput
{
public:
    explicit LineInput(const StopSignals& stopSignals)
        : stop(stopSignals)
    {
    }

    /// Waits for the next line; false at the end, or when the program is to stop. Throws Failure (NotUnderstood) for a line
    /// that is far too long.
    bool Next(std::string& line);

    /// Whether the input was at its end; otherwise the program was to stop.
    bool HasEnded() const
    {
        return ended;
    }

    /// Of the last line, from 1 on.
    std::size_t Number() const
    {
        return number;
    }

private:
    bool Read();

    const StopSignals& stop;
    System::Lines lines;
    std::deque<std::string> waiting; // complete, and not asked for yet
    std::size_t number = 0;
    bool ended = false;
};

} // namespace OrvelClient
