#pragma once

#include "MessageRing.h"

#include "Orvel/Gateway.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace OrvelGateway
{

/// The messages that wait for a participant until it takes them. Those that find no room are lost, and told of where they are
/// missing.
class Mailbox
{
public:
    static constexpr std::size_t Messages = ORVEL_GATEWAY_MESSAGES;

    /// `confirmations`: room besides, for answers that must not be lost.
    explicit Mailbox(std::size_t confirmations)
        : ring(Messages + confirmations)
        , lostBefore(new uint16_t[Messages + confirmations])
    {
    }

    std::size_t Count() const
    {
        return ring.Count();
    }

    bool HasRoom() const
    {
        return ring.Count() < Messages;
    }

    /// False if it is lost.
    bool Put(const Message& message)
    {
        if (!HasRoom())
        {
            lost = static_cast<uint16_t>(std::min(lost + 1, UINT16_MAX));
            return false;
        }
        Push(message);
        return true;
    }

    /// Also where other messages have no room any more: the caller sees to it that there is some for these.
    void PutConfirmation(const Message& message)
    {
        Push(message);
    }

    /// Null if there is none.
    const Message* Next()
    {
        if (const uint16_t missing = Missing(); missing != 0)
        {
            const std::array<uint8_t, ORVEL_GATEWAY_LOST_MESSAGE_SIZE> bytes{
                ORVEL_GATEWAY_LOST_MESSAGE_SIZE - 1, ORVEL_GATEWAY_LOST_CODE, static_cast<uint8_t>(missing >> 8U),
                static_cast<uint8_t>(missing & 0xFFU)};
            tellsLost = Message(bytes.data(), bytes.size());
            return &tellsLost;
        }
        return ring.IsEmpty() ? nullptr : &ring.Front();
    }

    /// What Next gave. True if it was a message, and not the one about lost ones.
    bool Take()
    {
        if (Missing() != 0)
        {
            (ring.IsEmpty() ? lost : lostBefore[ring.FrontPlace()]) = 0;
            return false;
        }
        ring.Pop();
        return true;
    }

private:
    void Push(const Message& message)
    {
        lostBefore[ring.BackPlace()] = lost;
        lost = 0;
        ring.Push(message);
    }

    /// How many are missing before the next message.
    uint16_t Missing() const
    {
        return ring.IsEmpty() ? lost : lostBefore[ring.FrontPlace()];
    }

    MessageRing ring;
    std::unique_ptr<uint16_t[]> lostBefore; // beside each message in the ring
    uint16_t lost = 0;                      // since the last message that had room
    Message tellsLost;
};

} // namespace OrvelGateway
