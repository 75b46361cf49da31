#pragma once

#include "Knx/HexDigits.h"

#include <chrono>
#include <optional>
#include <string_view>

namespace OrvelClient
{

using Knx::Bytes;

/// Which way a message goes.
enum class Direction
{
    FromLink,
    ToLink
};

/// A message from the link or to it, as it was read from the queue or from a recording.
struct Message
{
    std::chrono::microseconds time{}; ///< when it was read, since the epoch; 0: nobody knows
    Direction direction = Direction::FromLink;
    Bytes frame;                     ///< without the size byte
    std::optional<uint8_t> sizeByte; ///< where it is not what belongs to the frame's length
};

/// The message for what was received: the size byte and the frame. The length that was received counts, because the size
/// byte overflows.
Message FromQueue(const Bytes& received, std::chrono::microseconds time);

/// A frame as a person types it or as a log has it: hexadecimal digits; what follows '#' is a comment. Throws Failure
/// (NotUnderstood). The frame begins `begin` characters from the begin of the text.
Bytes FrameFromText(std::string_view text, std::size_t begin = 0);
void FrameFromText(std::string_view text, std::size_t begin, Bytes& frame); ///< in the room of an older one

/// The time of day, since the epoch.
std::chrono::microseconds Now();

/// "rx" or "tx"
const char* NameOf(Direction direction);

/// Whether this is the message code of a request, which only goes to the link.
bool IsRequestCode(uint8_t code);

/// The way that a frame goes by its message code.
Direction UsualDirection(const Bytes& frame);

// What the message says when it is no frame of the bus but one of the daemon or the gateway; otherwise nothing.

std::optional<uint16_t> LinkState(const Bytes& frame);
std::optional<uint8_t> ButtonState(const Bytes& frame);   ///< as in the button's queue
std::optional<uint16_t> LostMessages(const Bytes& frame); ///< how many had no room

/// Whether it is none of these.
bool IsOfTheBus(const Bytes& frame);

} // namespace OrvelClient
