#pragma once

#include "Knx/CemiMessage.h"

#include <chrono>
#include <cstddef>
#include <cstdint>

/// The cEMI messages that carry a telegram: L_Data.req from an application, L_Data.ind from and to the network.
namespace Knx::Telegram
{

/// Whether `cemi` is a complete L_Data.req or L_Data.ind, no byte too short or too long.
bool IsRequest(const Bytes& cemi);
bool IsIndication(const Bytes& cemi);

/// What the other participants see of a complete request. Without a source address it bears that of a device to which none
/// has been given, 15.15.255: a telegram from nobody is dropped.
Bytes ToIndication(const Bytes& request);

/// Tells the sender of a request that has a control field whether it was sent.
Bytes ToConfirmation(const Bytes& request, bool sent);

/// What a device tells a group, or asks it.
struct GroupTelegram
{
    MessageCode code = MessageCode::LDataReq;
    uint8_t control1 = 0xBC; ///< a standard frame, not repeated, of low priority
    uint16_t source = 0;     ///< 0: whoever sends it fills it in
    uint16_t group = 0;
    uint16_t apci = 0; ///< with a value of up to six bits
    Bytes data;        ///< a longer value
};

Bytes Encode(const GroupTelegram& telegram);

/// How long a line of 9600 bit/s is taken by a telegram: the idle time before it, the telegram, its acknowledge. None by a
/// message that ends before its length. Uses no memory of the heap.
std::chrono::nanoseconds TimeOnLine(const uint8_t* cemi, std::size_t size);
std::chrono::nanoseconds TimeOnLine(const Bytes& cemi);

} // namespace Knx::Telegram
