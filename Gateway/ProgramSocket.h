#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace OrvelGateway
{

/// The connection of a program. Nothing here waits, or uses the heap.
class ProgramSocket
{
public:
    enum class Result
    {
        Done,
        NotNow, ///< nothing has come, or there is no room
        Ended,  ///< the program has gone; one that only cannot be sent to any more may have sent something before
        Failed  ///< the system cannot do it at the moment; errno says why
    };

    /// The longest packet that is told from longer ones, in bytes. No valid one is as long.
    static constexpr std::size_t MaxPacket = 512;

    explicit ProgramSocket(System::Descriptor accepted);

    /// For poll.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Who connected, for people: "4711 python3". "0" if that cannot be known, for example from another machine's namespace.
    std::string Who() const;

    /// Takes the next packet into MaxPacket bytes. An empty one is none that ends the connection: then `size` is 0, and Done.
    Result Receive(uint8_t* packet, std::size_t& size) const;

    Result Send(const uint8_t* packet, std::size_t size) const;

private:
    System::Descriptor descriptor;
};

} // namespace OrvelGateway
