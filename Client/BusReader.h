#pragma once

#include "Bus.h"
#include "Output.h"

#include <functional>
#include <string>

namespace OrvelClient
{

/// Reads from the bus for as long as somebody wants to see it.
class BusReader
{
public:
    /// Told in one line what a person should know of the bus.
    using Tell = std::function<void(const std::string& line)>;

    /// `tellPerson` is called here and in Next.
    BusReader(Bus& openedBus, const StopSignals& stopSignals, const Output& watchedOutput, Tell tellPerson);

    /// Goes on even if nobody reads the output any more: what is read goes elsewhere.
    void GoOnWithoutReader()
    {
        needsReader = false;
    }

    /// Waits for the next message; nothing when the program is to stop, or nobody reads the output any more. Goes on when the
    /// daemon or the gateway was started anew. Throws Failure.
    std::optional<Bytes> Next();

private:
    void Look();

    Bus& bus;
    const StopSignals& stop;
    const Output& output;
    const Tell tell;
    bool needsReader = true;
};

} // namespace OrvelClient
