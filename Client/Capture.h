#pragma once

#include "MessageReader.h"
#include "Source.h"

#include <sys/types.h>

#include <exception>
#include <memory>
#include <string>
#include <string_view>

struct pcap; // of the library

namespace OrvelClient
{

// Captures, which Wireshark and tshark open. They are written in the format pcap, and read in pcap and pcapng.

/// What a capture begins with.
std::string CaptureHeader();

/// One message in a capture.
std::string CapturePacket(const Message& message);

constexpr std::size_t CaptureBegin = 4; ///< bytes by which a capture is recognised

/// Whether `begin`, the first bytes of a file, are those of a capture: pcap of any byte order and resolution, or pcapng.
bool IsCapture(std::string_view begin);

/// Reads a capture.
class CaptureReader : public MessageReader
{
public:
    /// Throws Failure, as Next does.
    explicit CaptureReader(Source& file);

    CaptureReader(const CaptureReader&) = delete;
    CaptureReader& operator=(const CaptureReader&) = delete;

    bool Next(Message& message) override;

private:
    using Library = std::unique_ptr<pcap, void (*)(pcap*)>;

    Library Open();
    static ssize_t Read(void* reader, char* buffer, std::size_t size);

    Source& source;
    std::exception_ptr failure; // of the source; exceptions do not go through the library, which is C
    Library capture;
    std::size_t number = 0; // of the packet
};

} // namespace OrvelClient
