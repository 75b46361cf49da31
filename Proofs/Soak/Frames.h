#pragma once

#include "Knx/HexDigits.h"

#include <cstdint>
#include <string>

/// The frames of the soak proof: a mark, a number, and as many bytes as follow from the number.
namespace Frames
{

constexpr uint8_t ToLinkMark = 0xF0;   // no message code that the co-processor answers
constexpr uint8_t FromLinkMark = 0x29; // L_Data.ind
constexpr std::size_t HeaderSize = 5;

inline Knx::Bytes Make(uint8_t mark, uint32_t number, std::size_t maxSize)
{
    Knx::Bytes frame{mark, static_cast<uint8_t>(number >> 24U), static_cast<uint8_t>(number >> 16U),
                     static_cast<uint8_t>(number >> 8U), static_cast<uint8_t>(number)};
    const uint32_t random = number * 2'654'435'761U; // bits of a multiplicative hash
    const std::size_t size = random % 64 == 0 ? maxSize : HeaderSize + (random >> 16U) % 24;
    while (frame.size() < size)
    {
        frame.push_back(static_cast<uint8_t>(random >> (frame.size() % 4) * 8));
    }
    return frame;
}

/// 5 to 255 bytes
inline Knx::Bytes ToLink(uint32_t number)
{
    return Make(ToLinkMark, number, 255);
}

/// 5 to 260 bytes
inline Knx::Bytes FromLink(uint32_t number)
{
    return Make(FromLinkMark, number, 260);
}

/// Reads it from the first bytes of a frame.
inline uint32_t Number(const uint8_t* frame)
{
    return static_cast<uint32_t>(frame[1]) << 24U | static_cast<uint32_t>(frame[2]) << 16U |
           static_cast<uint32_t>(frame[3]) << 8U | static_cast<uint32_t>(frame[4]);
}

} // namespace Frames
