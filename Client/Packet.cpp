#include "Packet.h"

#include "Description.h"
#include "Failure.h"

namespace OrvelClient
{

namespace
{

constexpr uint16_t EndTag = 0;
constexpr uint16_t DissectorTag = 12;
constexpr uint16_t ProtocolColumnTag = 33;

// The numbers of tags are big-endian in every capture.
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

std::size_t NumberIn(std::string_view packet, std::size_t position)
{
    return static_cast<std::size_t>(static_cast<uint8_t>(packet[position]) << 8U |
                                    static_cast<uint8_t>(packet[position + 1]));
}

} // namespace

std::string PacketOf(const Message& message)
{
    std::string packet;
    if (IsOfTheBus(message.frame))
    {
        AppendTag(packet, DissectorTag, "cemi");
    }
    else
    {
        AppendTag(packet, DissectorTag, "data");
        AppendTag(packet, ProtocolColumnTag, NoticeText(message.frame));
    }
    AppendTag(packet, EndTag, "");
    return packet.append(message.frame.begin(), message.frame.end());
}

std::string_view FrameIn(std::string_view packet)
{
    while (packet.size() >= 4)
    {
        const std::size_t tag = NumberIn(packet, 0);
        const std::size_t size = NumberIn(packet, 2);
        packet.remove_prefix(4);
        if (size > packet.size())
        {
            break;
        }
        const std::string_view value = packet.substr(0, size);
        packet.remove_prefix(size);
        if (tag == EndTag)
        {
            return packet;
        }
        const std::string_view dissector = value.substr(0, value.find('\0'));
        if (tag == DissectorTag && dissector != "cemi" && dissector != "data")
        {
            throw Failure(Status::NotUnderstood, "is not for the dissector cemi");
        }
    }
    throw Failure(Status::NotUnderstood, "has no end of its tags");
}

} // namespace OrvelClient
