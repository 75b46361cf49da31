#pragma once

#include "Bus.h"
#include "Output.h"

namespace OrvelClient
{

/// Reads from the bus for as long as somebody wants to see it.
class BusReader
{
public:
    BusReader(Bus& openedBus, const StopSignals& stopSignals, const Output& watchedOutput);

    /// Waits for the next message; nothing when the program is to stop, or nobody reads the output any more. Goes on when the
    /// daemon or the gateway was started anew. Throws Failure.
    std::optional<Bytes> Next();

private:
    void Look();

    Bus& bus;
    const StopSignals& stop;
    const Output& output;
};

} // namespace OrvelClient
