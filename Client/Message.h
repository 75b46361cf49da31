#pragma once

#include "Knx/HexDigits.h"

#include <chrono>
#include <optional>
#include <string_view>

namespace OrvelClient
{

using Knx::Bytes;

/// A message from the link, as it was read from the queue or from a log.
struct Message
{
    std::chrono::microseconds time{}; ///< when it was read, since the epoch
    Bytes frame;                      ///< without the size byte
    std::optional<uint8_t> sizeByte;  ///< where it is not what belongs to the frame's length
};

/// The message for what was received: the size byte and the frame. The length that was received counts, because the size
/// byte overflows.
Message FromQueue(const Bytes& received, std::chrono::microseconds time);

/// A frame as a person types it or as a log has it: hexadecimal digits; what follows '#' is a comment. Throws Failure
/// (NotUnderstood).
Bytes FrameFromText(std::string_view text);

/// The time of day, since the epoch.
std::chrono::microseconds Now();

/// The state, when the frame is a message about the link.
std::optional<uint16_t> LinkState(const Bytes& frame);

} // namespace OrvelClient
