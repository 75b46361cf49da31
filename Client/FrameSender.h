#pragma once

#include "Queue.h"
#include "StopSignals.h"

#include <chrono>
#include <optional>

namespace OrvelClient
{

/// Sends frames to the link.
class FrameSender
{
public:
    /// `wait` is how long each frame waits for room in the queue.
    FrameSender(const StopSignals& stopSignals, std::chrono::milliseconds wait);

    /// Throws Failure (WrongLength) unless the frame can be sent.
    static void CheckLength(const Bytes& frame);

    /// Opens the queue before the first frame, and again when the daemon was started anew, also meanwhile. Throws Failure.
    void Send(const Bytes& frame);

private:
    const StopSignals& stop;
    std::chrono::milliseconds patience;
    std::optional<Queue> queue;
};

} // namespace OrvelClient
