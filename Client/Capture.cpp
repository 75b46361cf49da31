#include "Capture.h"

#include "Failure.h"
#include "Packet.h"

namespace OrvelClient
{

namespace
{

constexpr uint32_t Microseconds = 0xA1B2C3D4; // the magic number, which also tells the resolution
constexpr uint32_t Nanoseconds = 0xA1B23C4D;
constexpr std::size_t FileHeaderSize = 24;
constexpr std::size_t PacketHeaderSize = 16;

// What is written here is little-endian.
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

bool IsMagic(uint32_t number)
{
    return number == Microseconds || number == Nanoseconds;
}

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
    const std::string content = PacketOf(message);
    const auto second = std::chrono::floor<std::chrono::seconds>(message.time);
    std::string packet;
    Append32(packet, static_cast<uint32_t>(second.count()));
    Append32(packet, static_cast<uint32_t>(std::chrono::microseconds(message.time - second).count()));
    Append32(packet, static_cast<uint32_t>(content.size())); // what is here, and what there was
    Append32(packet, static_cast<uint32_t>(content.size()));
    return packet + content;
}

bool IsCapture(std::string_view begin)
{
    const std::string_view magic = begin.substr(0, 4);
    return magic.size() == 4 && (IsMagic(NumberIn(magic, true)) || IsMagic(NumberIn(magic, false)));
}

CaptureReader::CaptureReader(Source& file)
    : source(file)
{
    const std::string_view header = source.Ahead(FileHeaderSize).substr(0, FileHeaderSize);
    if (header.size() < FileHeaderSize)
    {
        throw Failure(Status::NotUnderstood, "ends within the header of the capture");
    }
    bigEndian = IsMagic(NumberIn(header.substr(0, 4), true));
    inNanoseconds = NumberIn(header.substr(0, 4), bigEndian) == Nanoseconds;
    CheckLinkType(NumberIn(header.substr(20, 4), bigEndian) & 0x0FFFFFFFU);
    source.Skip(FileHeaderSize);
}

bool CaptureReader::Next(Message& message)
{
    const std::string_view header = source.Ahead(PacketHeaderSize);
    if (header.empty())
    {
        return false;
    }
    const std::string name = "packet " + std::to_string(++number);
    if (header.size() < PacketHeaderSize)
    {
        return EndWith(name + " is cut off; used is what comes before it");
    }
    const auto field = [&](std::size_t position) { return NumberIn(header.substr(position, 4), bigEndian); };
    const uint32_t seconds = field(0);
    const uint32_t fraction = field(4);
    const uint32_t size = field(8);
    if (size > MaxPacket || size < field(12))
    {
        throw Failure(Status::NotUnderstood, name + " is not complete");
    }
    const std::string_view packet = source.Ahead(PacketHeaderSize + size);
    if (packet.size() < PacketHeaderSize + size)
    {
        return EndWith(name + " is cut off; used is what comes before it");
    }
    message = {};
    message.time = std::chrono::seconds(seconds) + std::chrono::microseconds(fraction / (inNanoseconds ? 1000 : 1));
    try
    {
        message.frame = FrameIn(packet.substr(PacketHeaderSize, size));
    }
    catch (const Failure& failure)
    {
        throw Failure(failure.ExitStatus(), name + " " + failure.what());
    }
    message.direction = UsualDirection(message.frame);
    source.Skip(PacketHeaderSize + size);
    return true;
}

} // namespace OrvelClient
