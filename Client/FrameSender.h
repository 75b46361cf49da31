#pragma once

#include "Bus.h"
#include "StopSignals.h"

#include <chrono>
#include <optional>

namespace OrvelClient
{

/// Sends frames to the link.
class FrameSender
{
public:
    /// `wait` is how long each frame waits for room.
    FrameSender(BusOptions wantedBus, const StopSignals& stopSignals, std::chrono::milliseconds wait);

    /// Throws Failure (WrongLength) unless the frame can be sent.
    static void CheckLength(const Bytes& frame);

    /// Opens the bus before the first frame, and again the same way when the daemon or the gateway was started anew, also
    /// meanwhile. Throws Failure.
    void Send(const Bytes& frame);

    /// Where the frames go. Throws Failure when it cannot be opened.
    Bus& OpenedBus()
    {
        OpenWhereRemoved();
        return *bus;
    }

private:
    void OpenWhereRemoved();

    BusOptions options;
    const StopSignals& stop;
    std::chrono::milliseconds patience;
    std::optional<Bus> bus;
};

} // namespace OrvelClient
