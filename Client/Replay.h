#pragma once

#include "HexDigits.h"

#include <chrono>
#include <optional>
#include <string>

namespace OrvelClient
{

struct ReplayOptions
{
    std::string file; ///< "-" is standard input
    double speed = 1; ///< 2 is twice as fast; 0: as fast as the queue takes them
    std::chrono::milliseconds wait{1000};
};

/// Sends what a log or a capture of the monitor has. Throws Failure; nothing is sent unless all of the file is understood.
void Replay(const ReplayOptions& options);

/// The request that puts the frame onto the bus once more; nothing for what is none, such as the state of the link. An
/// indication or a confirmation becomes a request, without what belongs to its reception.
std::optional<Bytes> RequestFor(const Bytes& frame);

/// How long after the first message one is sent that was recorded `passed` after it: never less than no time, and at most
/// some years, whatever the recording says.
std::chrono::steady_clock::duration PauseBefore(std::chrono::microseconds passed, double speed);

} // namespace OrvelClient
