#include "Frame.h"

#include <optional>

namespace Simulator::Wire
{

namespace
{

constexpr uint8_t Flag = 0x7E;
constexpr uint8_t Escape = 0x7D;
constexpr uint8_t EscapeMask = 0x20;

constexpr std::size_t HeaderSize = 3;   // bytes: kind and topic
constexpr std::size_t ChecksumSize = 2; // bytes
constexpr std::size_t MaxBody = HeaderSize + MaxPayload + ChecksumSize;

uint16_t Checksum(const uint8_t* data, std::size_t size)
{
    uint32_t crc = 0xFFFF;
    for (std::size_t index = 0; index < size; ++index)
    {
        crc ^= static_cast<uint32_t>(data[index]) << 8U;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = (crc << 1U) ^ ((crc & 0x8000U) != 0 ? 0x1021U : 0U);
        }
    }
    return static_cast<uint16_t>(crc & 0xFFFFU);
}

void AppendLittleEndian(std::vector<uint8_t>& bytes, uint16_t value)
{
    bytes.push_back(static_cast<uint8_t>(value & 0xFFU));
    bytes.push_back(static_cast<uint8_t>(value >> 8U));
}

uint16_t ReadLittleEndian(const uint8_t* bytes)
{
    return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8U));
}

bool IsKnown(uint8_t kind)
{
    return kind >= static_cast<uint8_t>(Kind::Hello) && kind <= static_cast<uint8_t>(Kind::Message);
}

std::optional<Frame> Parse(const std::vector<uint8_t>& body)
{
    if (body.size() < HeaderSize + ChecksumSize || !IsKnown(body[0]))
    {
        return std::nullopt;
    }
    const std::size_t end = body.size() - ChecksumSize;
    if (ReadLittleEndian(&body[end]) != Checksum(body.data(), end))
    {
        return std::nullopt;
    }
    return Frame{static_cast<Kind>(body[0]), ReadLittleEndian(&body[1]),
                 std::vector<uint8_t>(body.data() + HeaderSize, body.data() + end)};
}

} // namespace

std::vector<uint8_t> Encode(const Frame& frame)
{
    std::vector<uint8_t> body{static_cast<uint8_t>(frame.kind)};
    AppendLittleEndian(body, frame.topic);
    body.insert(body.end(), frame.payload.begin(), frame.payload.end());
    AppendLittleEndian(body, Checksum(body.data(), body.size()));

    // With a flag at both ends a frame is complete at once, and earlier bytes on the line cannot spoil it.
    std::vector<uint8_t> bytes{Flag};
    for (const uint8_t byte : body)
    {
        if (byte == Flag || byte == Escape)
        {
            bytes.push_back(Escape);
            bytes.push_back(byte ^ EscapeMask);
        }
        else
        {
            bytes.push_back(byte);
        }
    }
    bytes.push_back(Flag);
    return bytes;
}

void Decoder::Feed(const uint8_t* data, std::size_t size, const Handler& onFrame)
{
    for (std::size_t index = 0; index < size; ++index)
    {
        if (data[index] == Flag)
        {
            EndPiece(onFrame);
        }
        else
        {
            TakeByte(data[index]);
        }
    }
}

void Decoder::TakeByte(uint8_t byte)
{
    if (byte == Escape && !escaped)
    {
        escaped = true;
        return;
    }
    if (body.size() == MaxBody)
    {
        overlong = true;
        return;
    }
    body.push_back(escaped ? byte ^ EscapeMask : byte);
    escaped = false;
}

void Decoder::EndPiece(const Handler& onFrame)
{
    const bool isGap = body.empty() && !escaped;
    const std::optional<Frame> frame = escaped || overlong ? std::nullopt : Parse(body);
    body.clear();
    escaped = false;
    overlong = false;
    if (frame)
    {
        onFrame(*frame);
    }
    else if (!isGap)
    {
        ++rejected;
    }
}

} // namespace Simulator::Wire
