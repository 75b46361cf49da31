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

} // namespace

uint32_t NumberIn(std::string_view bytes, bool bigEndian)
{
    uint32_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const char byte = bytes[bigEndian ? i : bytes.size() - 1 - i];
        number = (number << 8U) | static_cast<unsigned char>(byte);
    }
    return number;
}

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

Bytes FrameIn(std::string_view packet)
{
    while (packet.size() >= 4)
    {
        const uint32_t tag = NumberIn(packet.substr(0, 2), true);
        const uint32_t size = NumberIn(packet.substr(2, 2), true);
        packet.remove_prefix(4);
        if (size > packet.size())
        {
            break;
        }
        const std::string_view value = packet.substr(0, size);
        packet.remove_prefix(size);
        if (tag == EndTag)
        {
            return {packet.begin(), packet.end()};
        }
        const std::string_view dissector = value.substr(0, value.find('\0'));
        if (tag == DissectorTag && dissector != "cemi" && dissector != "data")
        {
            throw Failure(Status::NotUnderstood, "is not for the dissector cemi");
        }
    }
    throw Failure(Status::NotUnderstood, "has no end of its tags");
}

void CheckLinkType(uint32_t linkType)
{
    if (linkType != UpperPdu)
    {
        throw Failure(Status::NotUnderstood,
                      "is a capture of link type " + std::to_string(linkType) + ", not " + std::to_string(UpperPdu));
    }
}

} // namespace OrvelClient
