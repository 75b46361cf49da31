#pragma once

#include "Knx/HexDigits.h"
#include "System/Descriptor.h"

#include <atomic>
#include <string>

namespace Simulator
{

using Knx::Bytes;

/// A serial line: the co-processor holds this end, the Linux side opens the device at the other.
class SerialLine
{
public:
    /// A pseudo-terminal. Throws std::runtime_error where the system has none to give.
    SerialLine();
    /// A serial port, at the other end of whose cable the Linux side has a port of its own. Throws std::runtime_error where
    /// `port` cannot be used.
    explicit SerialLine(const std::string& port);

    /// Path of the device for the Linux side; empty when this end is a serial port.
    const std::string& Device() const
    {
        return device;
    }

    /// For poll. Both operations below are non-blocking.
    int Descriptor() const
    {
        return coProcessorEnd.Number();
    }

    /// What has arrived; empty when nothing has.
    Bytes Read();

    /// How many of the bytes were taken; the others have to wait for POLLOUT.
    std::size_t Write(const uint8_t* data, std::size_t size);

    /// Pulled, the line loses everything that either side sends. Any thread.
    void SetPlugged(bool plugged);
    bool IsPlugged() const
    {
        return connected;
    }

private:
    std::string device;
    System::Descriptor coProcessorEnd;
    System::Descriptor linuxEnd; // kept open: otherwise this end reports errors whenever nobody has the device open
    std::atomic<bool> connected{true};
};

} // namespace Simulator
