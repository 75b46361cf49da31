#include "PcapNg.h"

#include "Failure.h"
#include "Packet.h"

#include <algorithm>

namespace OrvelClient
{

namespace
{

// The types of blocks. That of a section reads the same in both byte orders.
constexpr uint32_t SectionHeader = 0x0A0D0D0A;
constexpr uint32_t InterfaceDescription = 1;
constexpr uint32_t SimplePacket = 3;
constexpr uint32_t EnhancedPacket = 6;

constexpr uint32_t ByteOrder = 0x1A2B3C4D; // as a section has it behind its size

constexpr std::size_t HeadSize = 8;    // type and size of a block
constexpr std::size_t TailSize = 4;    // its size again
constexpr uint32_t MaxBlock = 1048576; // bytes, of those that are looked at

constexpr uint32_t EndOfOptions = 0;
constexpr uint32_t ResolutionOption = 9;
constexpr uint32_t OffsetOption = 14;

[[noreturn]] void Reject(const std::string& why)
{
    throw Failure(Status::NotUnderstood, why);
}

// 10^-n s, or 2^-n s with the highest bit set.
uint64_t UnitsPerSecond(uint32_t resolution)
{
    const uint32_t exponent = resolution & 0x7FU;
    const bool isBinary = (resolution & 0x80U) != 0;
    if (exponent > (isBinary ? 40U : 12U))
    {
        Reject("has times in units that are too small");
    }
    uint64_t units = 1;
    for (uint32_t i = 0; i < exponent; ++i)
    {
        units *= isBinary ? 2 : 10;
    }
    return units;
}

std::chrono::microseconds TimeOf(uint64_t units, uint64_t unitsPerSecond, int64_t offset)
{
    constexpr int64_t second = 1000000;
    constexpr int64_t latest = 1000000000000; // s, as in the other forms
    const uint64_t whole = std::min<uint64_t>(units / unitsPerSecond, latest);
    const int64_t seconds = std::max<int64_t>(static_cast<int64_t>(whole) + std::clamp(offset, -latest, latest), 0);
    if (seconds >= latest)
    {
        Reject("is later than any time");
    }
    const double fraction = static_cast<double>(units % unitsPerSecond) / static_cast<double>(unitsPerSecond);
    return std::chrono::microseconds(seconds * second + static_cast<int64_t>(fraction * second));
}

} // namespace

bool IsPcapNg(std::string_view begin)
{
    return begin.size() >= PcapNgBegin && NumberIn(begin.substr(0, PcapNgBegin), true) == SectionHeader;
}

uint32_t PcapNgReader::Number(std::string_view bytes, std::size_t position, std::size_t size) const
{
    if (position + size > bytes.size())
    {
        Reject("is too short");
    }
    return NumberIn(bytes.substr(position, size), bigEndian);
}

bool PcapNgReader::Next(Message& message)
{
    const std::string name = "block ";
    try
    {
        while (!source.Ahead(1).empty())
        {
            ++number;
            switch (TakeBlock(message))
            {
            case Block::Packet:
                return true;
            case Block::CutOff:
                return EndWith(name + std::to_string(number) + " is cut off; used is what comes before it");
            default:
                break;
            }
        }
        return false;
    }
    catch (const Failure& failure)
    {
        throw failure.ExitStatus() == Status::NotUnderstood
            ? Failure(Status::NotUnderstood, name + std::to_string(number) + " " + failure.what())
            : failure;
    }
}

PcapNgReader::Block PcapNgReader::TakeBlock(Message& message)
{
    const std::string_view head = source.Ahead(HeadSize + TailSize);
    if (head.size() < HeadSize + TailSize)
    {
        return Block::CutOff;
    }
    const uint32_t type = Number(head, 0);
    if (type == SectionHeader)
    {
        BeginSection(head);
    }
    const uint32_t size = Number(head, 4);
    if (size % 4 != 0 || size < HeadSize + TailSize)
    {
        Reject("has a size of " + std::to_string(size));
    }
    if (type != InterfaceDescription && type != SimplePacket && type != EnhancedPacket)
    {
        return source.Skip(size) ? Block::Other : Block::CutOff;
    }
    if (size > MaxBlock)
    {
        Reject("is too large");
    }
    const std::string_view block = source.Ahead(size).substr(0, size);
    if (block.size() < size)
    {
        return Block::CutOff;
    }
    const std::string_view body = block.substr(HeadSize, size - HeadSize - TailSize);
    message = {};
    if (type == InterfaceDescription)
    {
        AddInterface(body);
    }
    else if (type == EnhancedPacket)
    {
        ReadPacket(body, message);
    }
    else
    {
        ReadSimplePacket(body, message);
    }
    source.Skip(size);
    return type == InterfaceDescription ? Block::Other : Block::Packet;
}

void PcapNgReader::BeginSection(std::string_view head)
{
    bigEndian = NumberIn(head.substr(HeadSize, 4), true) == ByteOrder;
    if (NumberIn(head.substr(HeadSize, 4), bigEndian) != ByteOrder)
    {
        Reject("is of no byte order");
    }
    interfaces.clear();
}

// Link type, two reserved bytes, the longest packet, options.
void PcapNgReader::AddInterface(std::string_view body)
{
    constexpr std::size_t optionsAt = 8;
    Interface description{Number(body, 0, 2), 1000000, 0};
    if (body.size() < optionsAt)
    {
        Reject("is too short");
    }
    for (std::size_t position = optionsAt; position + 4 <= body.size();)
    {
        const uint32_t option = Number(body, position, 2);
        const uint32_t size = Number(body, position + 2, 2);
        position += 4;
        if (option == EndOfOptions)
        {
            break;
        }
        if (option == ResolutionOption)
        {
            description.unitsPerSecond = UnitsPerSecond(Number(body, position, 1));
        }
        if (option == OffsetOption)
        {
            const uint64_t high = Number(body, position + (bigEndian ? 0 : 4));
            const uint64_t low = Number(body, position + (bigEndian ? 4 : 0));
            description.offset = static_cast<int64_t>((high << 32U) | low);
        }
        position += (std::size_t{size} + 3) / 4 * 4;
    }
    interfaces.push_back(description);
}

const PcapNgReader::Interface& PcapNgReader::InterfaceOf(std::size_t index) const
{
    if (index >= interfaces.size())
    {
        Reject("is of an interface that is not described");
    }
    CheckLinkType(interfaces[index].linkType);
    return interfaces[index];
}

// Interface, time in two parts, the size here, the size there was, the packet, options.
void PcapNgReader::ReadPacket(std::string_view body, Message& message) const
{
    constexpr std::size_t packetAt = 20;
    const Interface& interface = InterfaceOf(Number(body, 0));
    const uint64_t high = Number(body, 4);
    const uint32_t size = Number(body, 12);
    const uint32_t sizeThere = Number(body, 16);
    if (size > std::min<std::size_t>(body.size() - packetAt, MaxPacket) || size < sizeThere)
    {
        Reject("is not complete");
    }
    message.time = TimeOf((high << 32U) | Number(body, 8), interface.unitsPerSecond, interface.offset);
    message.frame = FrameIn(body.substr(packetAt, size));
    message.direction = UsualDirection(message.frame);
}

// The size there was, and the packet. It has no time.
void PcapNgReader::ReadSimplePacket(std::string_view body, Message& message) const
{
    constexpr std::size_t packetAt = 4;
    InterfaceOf(0);
    const uint32_t size = Number(body, 0);
    if (size > std::min<std::size_t>(body.size() - packetAt, MaxPacket))
    {
        Reject("is not complete");
    }
    message.frame = FrameIn(body.substr(packetAt, size));
    message.direction = UsualDirection(message.frame);
}

} // namespace OrvelClient
