#pragma once

#include "Message.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace OrvelClient
{

// Captures that Wireshark and tshark open: each packet says itself which dissector it is for. Frames are for "cemi";
// the other messages have
// their text in them.

/// What a capture begins with.
std::string CaptureHeader();

/// One message in a capture.
std::string CapturePacket(const Message& message);

/// Whether `begin`, the first bytes of a file, are those of a capture, in any byte order and format.
bool IsCapture(const std::string& begin);

/// Reads a capture back, of either byte order and resolution. Throws Failure (NotUnderstood) that names the packet.
std::vector<Message> ReadCapture(std::istream& capture);

} // namespace OrvelClient
