#include "Capture.h"

#include "Failure.h"
#include "Packet.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

namespace OrvelClient
{

namespace
{

constexpr uint32_t Microseconds = 0xA1B2C3D4; // the magic number, which also tells byte order and resolution
constexpr uint32_t MaxPacket = 65535;         // bytes

[[noreturn]] void Reject(const std::string& why)
{
    throw Failure(Status::NotUnderstood, why);
}

// The library takes interfaces of one kind only, among others.
[[noreturn]] void RejectWithAdvice(const std::string& why)
{
    Reject(why +
           "; what may help: tshark -r FILE -Y exported_pdu -w - | editcap -F pcap -T wireshark-upper-pdu - OTHER");
}

// Where a timeval has 32 bits for the seconds, the library has dropped those above: a time after 2106 is then a wrong one.
std::chrono::microseconds TimeOf(const timeval& time)
{
    constexpr int64_t latest = 1000000000000; // s, as in the other forms
    constexpr int64_t second = 1000000;       // us
    int64_t seconds = time.tv_sec;
    seconds += seconds < 0 ? int64_t{1} << 32U : 0; // pcap's 32 bits have no sign; libpcap 1.10.3 gives them one
    if (seconds < 0 || seconds >= latest || time.tv_usec < 0 || time.tv_usec >= second)
    {
        Reject("has an impossible time");
    }
    return std::chrono::seconds(seconds) + std::chrono::microseconds(time.tv_usec);
}

} // namespace

// These two are written here, because rotation and pipes take strings, and the library only writes to a FILE.

std::string CaptureHeader()
{
    const pcap_file_header header{Microseconds, PCAP_VERSION_MAJOR,     PCAP_VERSION_MINOR, 0, 0,
                                  MaxPacket,    DLT_WIRESHARK_UPPER_PDU};
    return {reinterpret_cast<const char*>(&header), sizeof(header)};
}

std::string CapturePacket(const Message& message)
{
    const std::string content = PacketOf(message);
    const auto size = static_cast<uint32_t>(content.size());
    const auto second = std::chrono::floor<std::chrono::seconds>(message.time);
    if (size > MaxPacket)
    {
        Reject("a capture has no room for a frame of " + std::to_string(message.frame.size()) + " bytes");
    }
    if (second.count() < 0 || second.count() > std::numeric_limits<uint32_t>::max())
    {
        Reject("a capture has no room for times before 1970 or after 2106");
    }
    const std::array<uint32_t, 4> header{static_cast<uint32_t>(second.count()),
                                         static_cast<uint32_t>((message.time - second).count()),
                                         size, // what is here, and what there was
                                         size};
    return std::string(reinterpret_cast<const char*>(header.data()), sizeof(header)) + content;
}

bool IsCapture(std::string_view begin)
{
    constexpr std::array<std::string_view, 5> begins{"\xD4\xC3\xB2\xA1", "\xA1\xB2\xC3\xD4", "\x4D\x3C\xB2\xA1",
                                                     "\xA1\xB2\x3C\x4D", "\n\r\r\n"};
    return std::find(begins.begin(), begins.end(), begin.substr(0, CaptureBegin)) != begins.end();
}

CaptureReader::CaptureReader(Source& file)
    : source(file)
    , capture(Open())
{
    const int type = pcap_datalink(capture.get());
    if (type != DLT_WIRESHARK_UPPER_PDU)
    {
        RejectWithAdvice(std::string("is a capture of ") + pcap_datalink_val_to_description_or_dlt(type) +
                         ", not of link type " + std::to_string(DLT_WIRESHARK_UPPER_PDU));
    }
}

// Source tells the forms of recordings apart, and ends waiting when the program is to stop. So the library gets it as a FILE.
CaptureReader::Library CaptureReader::Open()
{
    std::FILE* const file = fopencookie(this, "r", {Read, nullptr, nullptr, nullptr});
    if (file == nullptr)
    {
        throw Failure(Status::Failed, "cannot read " + source.Name());
    }
    std::array<char, PCAP_ERRBUF_SIZE> error{};
    Library opened(pcap_fopen_offline(file, error.data()), pcap_close); // which also closes the file
    if (opened != nullptr)
    {
        return opened;
    }
    const bool hasEnded = std::feof(file) != 0;
    std::fclose(file);
    if (failure)
    {
        std::rethrow_exception(failure);
    }
    if (hasEnded)
    {
        Reject("ends within the header of the capture");
    }
    RejectWithAdvice(std::string("cannot be read: ") + error.data());
}

// Gives what there is, and waits only where that is nothing.
ssize_t CaptureReader::Read(void* reader, char* buffer, std::size_t size)
{
    auto& self = *static_cast<CaptureReader*>(reader);
    try
    {
        const std::string_view ahead = self.source.Ahead(1).substr(0, size);
        std::memcpy(buffer, ahead.data(), ahead.size());
        self.source.Skip(ahead.size());
        return static_cast<ssize_t>(ahead.size());
    }
    catch (...)
    {
        self.failure = std::current_exception();
        return -1;
    }
}

bool CaptureReader::Next(Message& message)
{
    pcap_pkthdr* header = nullptr;
    const u_char* packet = nullptr;
    const int result = pcap_next_ex(capture.get(), &header, &packet);
    if (failure)
    {
        std::rethrow_exception(failure);
    }
    if (result == PCAP_ERROR_BREAK)
    {
        return false;
    }
    ++number;
    const auto name = [this] { return "packet " + std::to_string(number); };
    if (result != 1 && std::feof(pcap_file(capture.get())) != 0)
    {
        return EndWith(name() + " is cut off; used is what comes before it");
    }
    if (result != 1)
    {
        RejectWithAdvice(name() + " cannot be read: " + pcap_geterr(capture.get()));
    }
    if (header->caplen < header->len || header->caplen > MaxPacket)
    {
        Reject(name() + " is not complete");
    }
    try
    {
        message.time = TimeOf(header->ts);
        const std::string_view frame = FrameIn({reinterpret_cast<const char*>(packet), header->caplen});
        message.frame.assign(frame.begin(), frame.end()); // in the memory that it has
    }
    catch (const Failure& wrong)
    {
        Reject(name() + " " + wrong.what());
    }
    message.direction = UsualDirection(message.frame);
    message.sizeByte.reset();
    return true;
}

} // namespace OrvelClient
