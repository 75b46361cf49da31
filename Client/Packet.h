#pragma once

#include "Message.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace OrvelClient
{

// What captures of both formats have in common: packets that say themselves which dissector they are for.

constexpr uint32_t UpperPdu = 252;    ///< the link type of packets that begin with tags
constexpr uint32_t MaxPacket = 65535; ///< bytes

/// A number of a capture, of up to four bytes.
uint32_t NumberIn(std::string_view bytes, bool bigEndian);

/// A message with its tags. Frames are for the dissector "cemi"; the other messages have their text in a tag.
std::string PacketOf(const Message& message);

/// The frame behind the tags of a packet. Throws Failure (NotUnderstood).
Bytes FrameIn(std::string_view packet);

/// Throws Failure (NotUnderstood) unless the link type is UpperPdu.
void CheckLinkType(uint32_t linkType);

} // namespace OrvelClient
