#pragma once

#include "Message.h"

#include <string>
#include <string_view>

namespace OrvelClient
{

// The packets of captures: they begin with tags, which say what dissector they are for.

/// A message with its tags. Frames are for the dissector "cemi"; the other messages have their text in a tag.
std::string PacketOf(const Message& message);

/// The frame behind the tags of a packet. Throws Failure (NotUnderstood).
std::string_view FrameIn(std::string_view packet);

} // namespace OrvelClient
