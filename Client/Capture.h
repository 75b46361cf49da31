#pragma once

#include "MessageReader.h"
#include "Source.h"

#include <string>
#include <string_view>

namespace OrvelClient
{

// Captures in the format pcap, which Wireshark and tshark open.

/// What a capture begins with.
std::string CaptureHeader();

/// One message in a capture.
std::string CapturePacket(const Message& message);

/// Whether `begin`, the first four bytes of a file, are those of a capture, of any byte order and resolution.
bool IsCapture(std::string_view begin);

/// Reads a capture of any byte order and resolution.
class CaptureReader : public MessageReader
{
public:
    /// Throws Failure (NotUnderstood).
    explicit CaptureReader(Source& file);

    bool Next(Message& message) override;

private:
    Source& source;
    bool bigEndian = false;
    bool inNanoseconds = false;
    std::size_t number = 0; // of the packet
};

} // namespace OrvelClient
