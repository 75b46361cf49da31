#pragma once

#include "Hex.h"

#include <chrono>

/// The cEMI messages that carry a telegram: L_Data.req from an application, L_Data.ind from and to the network.
///
/// Message code, size of the additional information, this information, two control fields, source and destination of two
/// bytes each, the number of bytes behind the next one, the TPCI, and so many bytes.
namespace Simulator::Telegram
{

/// Whether `cemi` is a complete L_Data.req or L_Data.ind, no byte too short or too long.
bool IsRequest(const Bytes& cemi);
bool IsIndication(const Bytes& cemi);

/// What the other participants see of a complete request. Without a source address it bears that of a device to which none
/// has been given, 15.15.255: a telegram from nobody is dropped.
Bytes ToIndication(const Bytes& request);

/// How long a line of 9600 bit/s is taken by a complete telegram: the idle time before it, the telegram, its acknowledge.
std::chrono::nanoseconds TimeOnLine(const Bytes& cemi);

} // namespace Simulator::Telegram
