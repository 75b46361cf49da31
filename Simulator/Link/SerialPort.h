#pragma once

#include "System/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Simulator
{

/// A serial device, 115200 baud, 8 data bits, even parity, 1 stop bit, no flow control. Nothing here blocks.
/// One thread at a time.
class SerialPort
{
public:
    /// Opens the device and drops what is under way in both directions. False, with errno, when it is not there, not
    /// accessible or not a terminal. The port must be closed.
    bool Open(const std::string& name);

    /// Also of a closed port.
    void Close();

    bool IsOpen() const
    {
        return descriptor.IsOpen();
    }

    /// For poll, which ignores the -1 of a closed port.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Drops what is under way in both directions.
    void Flush();

    /// The number of bytes read. 0: the other end is gone, provided that poll said there is something to read. -1, with
    /// errno, on failure.
    ssize_t Read(uint8_t* data, std::size_t size);

    /// The number of bytes taken, which may be fewer; -1, with errno, on failure.
    ssize_t Write(const uint8_t* data, std::size_t size);

private:
    bool Configure();

    System::Descriptor descriptor;
};

} // namespace Simulator
