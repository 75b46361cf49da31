#pragma once

#include "Knx/HexDigits.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>

/// The datagrams of KNXnet/IP routing.
///
/// A header of 6 bytes: its own size, the version 1.0, the service, the size of the whole datagram. All numbers are big
/// endian. What follows depends on the service.
namespace Knx::Routing
{

/// A telegram: a cEMI message.
struct Indication
{
    Bytes cemi;
};

/// A router had to drop telegrams on their way from the network to its line.
struct Lost
{
    uint8_t deviceState; ///< bit 0: the line is broken
    uint16_t count;
};

/// A router asks all others to send nothing for a while.
struct Busy
{
    uint8_t deviceState;
    uint16_t waitTime; ///< ms
    uint16_t control;  ///< 0: everybody is meant
};

/// Another service. Searching clients share the multicast address.
struct Other
{
    uint16_t service;
    Bytes body;
};

using Datagram = std::variant<Indication, Lost, Busy, Other>;

constexpr std::size_t MaxDatagram = 1024; ///< bytes; what any telegram needs is 532

Bytes Encode(const Datagram& datagram);

/// Nothing when the bytes are no datagram of KNXnet/IP, or one whose sizes contradict each other. What a telegram is made
/// of is not looked at.
std::optional<Datagram> Decode(const Bytes& bytes);

} // namespace Knx::Routing
