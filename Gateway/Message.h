#pragma once

#include "Orvel/Protocol.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace OrvelGateway
{

/// A message as in the daemon's queues: a size byte and a frame. Lives in place, so that carrying it takes no heap.
class Message
{
public:
    static constexpr std::size_t MaxSize = ORVEL_CEMI_MESSAGE_SIZE;

    /// Has no value before it is assigned one: memory for many of them stays untouched until they come.
    // cppcheck-suppress uninitMemberVar
    Message() = default;

    /// What is longer than any message is cut off: check the length before.
    Message(const uint8_t* data, std::size_t length)
        : size(static_cast<uint16_t>(std::min(length, MaxSize)))
    {
        std::copy_n(data, size, bytes.begin());
    }

    // Only what is in use is copied: most messages are short.
    Message(const Message& other)
        : Message(other.Data(), other.Size())
    {
    }
    Message& operator=(const Message& other)
    {
        if (this != &other)
        {
            size = other.size;
            std::copy_n(other.bytes.begin(), size, bytes.begin());
        }
        return *this;
    }

    const uint8_t* Data() const
    {
        return bytes.data();
    }
    uint8_t* Data()
    {
        return bytes.data();
    }

    /// With the size byte.
    std::size_t Size() const
    {
        return size;
    }

    const uint8_t* Frame() const
    {
        return bytes.data() + 1;
    }
    uint8_t* Frame()
    {
        return bytes.data() + 1;
    }

    /// 0 for a message without any.
    std::size_t FrameSize() const
    {
        return size == 0 ? 0U : size - 1U;
    }

    bool HasCode(unsigned code) const
    {
        return size > 1 && bytes[1] == code;
    }

private:
    uint16_t size;
    std::array<uint8_t, MaxSize> bytes; // as far as `size`; the rest is never read, nor touched
};

} // namespace OrvelGateway
