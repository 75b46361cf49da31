#pragma once

#include "Knx/HexDigits.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

using Knx::Bytes;

/// The messages of this proof: telegrams with a number each, from which every byte follows, and what the gateway says besides.
namespace Messages
{

struct Item
{
    enum Kind : uint8_t
    {
        Telegram,  ///< from the bus
        Request,   ///< of another program, as everybody but its sender gets it; of this one, on its way
        Confirmed, ///< the answer to a request
        Refused,   ///< the negative one
        State,     ///< of the link; number: the two bytes
        Button,    ///< number: the byte
        Lost,      ///< number: of messages
        Property,  ///< M_PropRead.req
        Strange    ///< nothing that anybody has sent
    };

    Kind kind;
    uint32_t number;

    bool operator==(const Item& other) const
    {
        return kind == other.kind && number == other.number;
    }
    bool operator!=(const Item& other) const
    {
        return !(*this == other);
    }

    /// Whether no other item is equal.
    bool IsUnique() const
    {
        return kind <= Refused;
    }
};

/// "request 4711"
std::string TextOf(const Item& item);

/// L_Data.ind of 15 to 260 bytes, as it comes from the bus.
Bytes Telegram(uint32_t number);

/// L_Data.req of 15 to 255 bytes.
Bytes Request(uint32_t number);

/// M_PropRead.req, to which nobody answers.
Bytes Property();

/// What a program receives from the gateway; without a byte that is wrong, or Strange.
Item Received(const uint8_t* message, std::size_t size);

/// What the co-processor has sent, or received.
Item OnLine(const Bytes& frame);

} // namespace Messages
