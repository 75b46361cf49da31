#pragma once

#include "Bus.h"
#include "Command.h"

#include <chrono>
#include <optional>
#include <string>

namespace OrvelClient
{

struct ReplayOptions
{
    void AddTo(Arguments::Parser& parser);

    std::string file; ///< "-" is standard input
    double speed = 1; ///< 2 is twice as fast; 0: as fast as the queue takes them
    std::chrono::milliseconds wait{1000};
    BusOptions bus;
};

/// Sends the frames of a recording. Sends nothing unless it understands the whole file, but for an end that was cut off.
Command ReplayCommand();

/// The request that puts the frame onto the bus again; nothing if there is none, as for the state of the link. An
/// indication or a confirmation becomes a request, without what belongs to its reception.
std::optional<Bytes> RequestFor(const Bytes& frame);

/// How long after the first message to send a message that was recorded `passed` after it. It is never negative, and at
/// most some years, whatever the recording says.
std::chrono::steady_clock::duration PauseBefore(std::chrono::microseconds passed, double speed);

} // namespace OrvelClient
