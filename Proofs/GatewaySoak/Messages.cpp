#include "Messages.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include "Knx/CemiMessage.h"
#include "Knx/Telegram.h"

#include <algorithm>
#include <array>

namespace Messages
{

namespace
{

constexpr std::size_t NumberAt = 11; // in a frame, behind the APCI
constexpr std::size_t LeastSize = 15;

Bytes Frame(Knx::MessageCode code, uint16_t source, uint32_t number, std::size_t mostSize)
{
    const uint32_t random = number * 2'654'435'761U; // bits of a multiplicative hash
    const std::size_t size = random % 64 == 0 ? mostSize : LeastSize + (random >> 16U) % 24;
    const auto high = [](uint32_t value) { return static_cast<uint8_t>(value >> 8U); };
    const auto low = [](uint32_t value) { return static_cast<uint8_t>(value); };
    const uint32_t group = 0x0800 + number % 1000;
    const auto length = static_cast<uint8_t>(size - 10); // bytes behind the TPCI
    const auto control = static_cast<uint8_t>(length > 15 ? 0x3C : 0xBC);
    Bytes frame{static_cast<uint8_t>(code),
                0,
                control,
                0xE0,
                high(source),
                low(source),
                high(group),
                low(group),
                length,
                0,
                0x80};
    for (const unsigned shift : {24U, 16U, 8U, 0U})
    {
        frame.push_back(low(number >> shift));
    }
    while (frame.size() < size)
    {
        frame.push_back(low(random >> frame.size() % 4 * 8));
    }
    return frame;
}

uint32_t NumberIn(const uint8_t* frame)
{
    uint32_t number = 0;
    std::for_each(frame + NumberAt, frame + NumberAt + 4, [&](uint8_t byte) { number = number << 8U | byte; });
    return number;
}

bool Equal(const Bytes& frame, const uint8_t* bytes, std::size_t size)
{
    return std::equal(frame.begin(), frame.end(), bytes, bytes + size);
}

Item FrameItem(const uint8_t* frame, std::size_t size)
{
    const Item strange{Item::Strange, frame[0]};
    if (size < LeastSize)
    {
        return strange;
    }
    const uint32_t number = NumberIn(frame);
    switch (static_cast<Knx::MessageCode>(frame[0]))
    {
    case Knx::MessageCode::LDataInd:
        if (Equal(Telegram(number), frame, size))
        {
            return {Item::Telegram, number};
        }
        return Equal(Knx::Telegram::ToIndication(Request(number)), frame, size) ? Item{Item::Request, number} : strange;
    case Knx::MessageCode::LDataReq:
        return Equal(Request(number), frame, size) ? Item{Item::Request, number} : strange;
    case Knx::MessageCode::LDataCon:
        if (Equal(Knx::Telegram::ToConfirmation(Request(number), true), frame, size))
        {
            return {Item::Confirmed, number};
        }
        return Equal(Knx::Telegram::ToConfirmation(Request(number), false), frame, size) ? Item{Item::Refused, number}
                                                                                         : strange;
    default:
        return strange;
    }
}

} // namespace

std::string TextOf(const Item& item)
{
    constexpr std::array<const char*, Item::Strange + 1> names{
        "telegram", "request", "confirmation of request", "refusal of request",    "state of the link",
        "button",   "lost:",   "a question for property", "a strange message with"};
    return std::string(names.at(item.kind)) + " " + std::to_string(item.number);
}

Bytes Telegram(uint32_t number)
{
    return Frame(Knx::MessageCode::LDataInd, 0x1101, number, ORVEL_CEMI_MAX_FRAME_FROM_LL);
}

Bytes Request(uint32_t number)
{
    return Frame(Knx::MessageCode::LDataReq, 0, number, ORVEL_CEMI_MAX_FRAME_TO_LL);
}

Bytes Property()
{
    return {static_cast<uint8_t>(Knx::MessageCode::MPropReadReq), 0x00, 0x0B, 0x01, 0x33, 0x10, 0x01};
}

Item Received(const uint8_t* message, std::size_t size)
{
    const Item strange{Item::Strange, size > 1 ? message[1] : 0U};
    if (size < 2 || message[0] != static_cast<uint8_t>(size - 1))
    {
        return strange;
    }
    const auto number = [&] { return static_cast<uint32_t>(message[2]) << 8U | message[3]; };
    if (message[1] == ORVEL_LINK_STATE_CODE && size == ORVEL_LINK_STATE_MESSAGE_SIZE)
    {
        return {Item::State, number()};
    }
    if (message[1] == ORVEL_GATEWAY_LOST_CODE && size == ORVEL_GATEWAY_LOST_MESSAGE_SIZE)
    {
        return {Item::Lost, number()};
    }
    if (message[1] == ORVEL_GATEWAY_BUTTON_CODE && size == ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE)
    {
        return {Item::Button, message[2]};
    }
    return FrameItem(message + 1, size - 1);
}

Item OnLine(const Bytes& frame)
{
    if (frame == Property())
    {
        return {Item::Property, 0};
    }
    return frame.empty() ? Item{Item::Strange, 0} : FrameItem(frame.data(), frame.size());
}

} // namespace Messages
