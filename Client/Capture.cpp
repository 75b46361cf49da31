#include "Capture.h"

#include "Description.h"
#include "Failure.h"

#include <array>
#include <istream>

namespace OrvelClient
{

namespace
{

constexpr uint32_t Microseconds = 0xA1B2C3D4; // the magic number, which also tells the resolution
constexpr uint32_t Nanoseconds = 0xA1B23C4D;
constexpr uint32_t OtherFormat = 0x0A0D0D0A; // pcapng
constexpr uint32_t UpperPdu = 252;           // the link type of packets that begin with tags
constexpr uint32_t MaxPacket = 65535;        // bytes
constexpr std::size_t FileHeaderSize = 24;
constexpr std::size_t PacketHeaderSize = 16;

constexpr uint16_t EndTag = 0;
constexpr uint16_t DissectorTag = 12;
constexpr uint16_t ProtocolColumnTag = 33;

// The file's numbers are little-endian here, those of the tags are big-endian everywhere.
void Append32(std::string& text, uint32_t number)
{
    for (unsigned shift = 0; shift < 32; shift += 8)
    {
        text += static_cast<char>((number >> shift) & 0xFFU);
    }
}

void Append16(std::string& text, uint32_t number)
{
    text += static_cast<char>(number & 0xFFU);
    text += static_cast<char>((number >> 8U) & 0xFFU);
}

void AppendTag(std::string& text, uint16_t tag, std::string value)
{
    value.resize((value.size() + 3) / 4 * 4, '\0');
    for (const std::size_t number : {std::size_t{tag}, value.size()})
    {
        text += static_cast<char>(number >> 8U);
        text += static_cast<char>(number & 0xFFU);
    }
    text += value;
}

uint32_t Number(std::string_view bytes, bool bigEndian)
{
    uint32_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const char byte = bytes[bigEndian ? i : bytes.size() - 1 - i];
        number = (number << 8U) | static_cast<unsigned char>(byte);
    }
    return number;
}

[[noreturn]] void Reject(const std::string& why)
{
    throw Failure(Status::NotUnderstood, why);
}

// What is behind the tags of a packet.
std::string Payload(const std::string& packet)
{
    for (std::size_t position = 0; position + 4 <= packet.size();)
    {
        const uint32_t tag = Number(packet.substr(position, 2), true);
        const uint32_t size = Number(packet.substr(position + 2, 2), true);
        position += 4;
        if (size > packet.size() - position)
        {
            break;
        }
        const std::string value = packet.substr(position, size);
        position += size;
        if (tag == EndTag)
        {
            return packet.substr(position);
        }
        const std::string name = value.substr(0, value.find('\0'));
        if (tag == DissectorTag && name != "cemi" && name != "data")
        {
            Reject("is not for the dissector cemi");
        }
    }
    Reject("has no end of its tags");
}

// Reads the numbers of a capture, whatever its byte order.
class CaptureReader
{
public:
    explicit CaptureReader(std::istream& stream)
        : capture(stream)
    {
        const std::string header = Read(FileHeaderSize);
        if (header.size() < FileHeaderSize)
        {
            Reject("ends within the header of the capture");
        }
        const uint32_t magic = Number(header.substr(0, 4), true);
        if (magic == OtherFormat)
        {
            Reject("is a capture in the format pcapng; 'editcap -F pcap' converts it");
        }
        bigEndian = magic == Microseconds || magic == Nanoseconds;
        inNanoseconds = magic == Nanoseconds || Number(header.substr(0, 4), false) == Nanoseconds;
        const uint32_t linkType = Number(header.substr(20, 4), bigEndian) & 0x0FFFFFFFU;
        if (linkType != UpperPdu)
        {
            Reject("is a capture of link type " + std::to_string(linkType) + ", not " + std::to_string(UpperPdu));
        }
    }

    /// False at the end.
    bool Next(Message& message)
    {
        const std::string header = Read(PacketHeaderSize);
        if (header.empty())
        {
            return false;
        }
        const auto field = [&](std::size_t position)
        { return position + 4 <= header.size() ? Number(header.substr(position, 4), bigEndian) : 0; };
        const uint32_t size = field(8);
        if (header.size() < PacketHeaderSize || size > MaxPacket || size < field(12))
        {
            Reject("is not complete");
        }
        const std::string packet = Read(size);
        if (packet.size() < size)
        {
            Reject("is not complete");
        }
        message.time =
            std::chrono::seconds(field(0)) + std::chrono::microseconds(field(4) / (inNanoseconds ? 1000 : 1));
        const std::string payload = Payload(packet);
        message.frame.assign(payload.begin(), payload.end());
        return true;
    }

private:
    std::string Read(std::size_t size)
    {
        std::string bytes(size, '\0');
        capture.read(bytes.data(), static_cast<std::streamsize>(size));
        bytes.resize(static_cast<std::size_t>(capture.gcount()));
        return bytes;
    }

    std::istream& capture;
    bool bigEndian = false;
    bool inNanoseconds = false;
};

} // namespace

std::string CaptureHeader()
{
    std::string header;
    Append32(header, Microseconds);
    Append16(header, 2); // the version of the format: 2.4
    Append16(header, 4);
    Append32(header, 0); // UTC
    Append32(header, 0); // accuracy, always 0
    Append32(header, MaxPacket);
    Append32(header, UpperPdu);
    return header;
}

std::string CapturePacket(const Message& message)
{
    std::string content;
    if (IsOfTheBus(message.frame))
    {
        AppendTag(content, DissectorTag, "cemi");
    }
    else
    {
        AppendTag(content, DissectorTag, "data");
        AppendTag(content, ProtocolColumnTag, NoticeText(message.frame));
    }
    AppendTag(content, EndTag, "");
    content.append(message.frame.begin(), message.frame.end());

    const auto second = std::chrono::floor<std::chrono::seconds>(message.time);
    std::string packet;
    Append32(packet, static_cast<uint32_t>(second.count()));
    Append32(packet, static_cast<uint32_t>(std::chrono::microseconds(message.time - second).count()));
    Append32(packet, static_cast<uint32_t>(content.size())); // what is here, and what there was
    Append32(packet, static_cast<uint32_t>(content.size()));
    return packet + content;
}

bool IsCapture(const std::string& begin)
{
    const std::string magic = begin.substr(0, 4);
    const std::array numbers{Number(magic, true), Number(magic, false)};
    return magic.size() == 4 && (numbers[0] == OtherFormat || numbers[0] == Microseconds ||
                                 numbers[1] == Microseconds || numbers[0] == Nanoseconds || numbers[1] == Nanoseconds);
}

std::vector<Message> ReadCapture(std::istream& capture)
{
    CaptureReader reader(capture);
    std::vector<Message> messages;
    Message message;
    for (std::size_t number = 1;; ++number)
    {
        try
        {
            if (!reader.Next(message))
            {
                return messages;
            }
        }
        catch (const Failure& failure)
        {
            throw Failure(failure.ExitStatus(), "packet " + std::to_string(number) + " " + failure.what());
        }
        messages.push_back(message);
    }
}

} // namespace OrvelClient
