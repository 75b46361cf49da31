#include "Message.h"

#include "Failure.h"

#include "Knx/CemiMessage.h"
#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

namespace OrvelClient
{

Message FromQueue(const Bytes& received, std::chrono::microseconds time)
{
    Message message;
    message.time = time;
    if (received.empty())
    {
        return message;
    }
    message.frame.assign(received.begin() + 1, received.end());
    if (received.front() != static_cast<uint8_t>(message.frame.size()) || message.frame.empty())
    {
        message.sizeByte = received.front();
    }
    return message;
}

Bytes FrameFromText(std::string_view text, std::size_t begin)
{
    Bytes frame;
    FrameFromText(text, begin, frame);
    return frame;
}

void FrameFromText(std::string_view text, std::size_t begin, Bytes& frame)
{
    try
    {
        Knx::FromHex(text.substr(0, text.find('#')), begin, frame);
    }
    catch (const Knx::NotHex& problem)
    {
        throw Failure(Status::NotUnderstood, problem.what());
    }
}

const char* NameOf(Direction direction)
{
    return direction == Direction::FromLink ? "rx" : "tx";
}

bool IsRequestCode(uint8_t code)
{
    using Knx::MessageCode;
    switch (static_cast<MessageCode>(code))
    {
    case MessageCode::LDataReq:
    case MessageCode::LRawReq:
    case MessageCode::LPollDataReq:
    case MessageCode::TDataConnectedReq:
    case MessageCode::TDataIndividualReq:
    case MessageCode::MPropReadReq:
    case MessageCode::MPropWriteReq:
    case MessageCode::MFuncPropCommandReq:
    case MessageCode::MFuncPropStateReadReq:
    case MessageCode::MResetReq:
        return true;
    default:
        return false;
    }
}

Direction UsualDirection(const Bytes& frame)
{
    return !frame.empty() && IsRequestCode(frame.front()) ? Direction::ToLink : Direction::FromLink;
}

std::chrono::microseconds Now()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch());
}

namespace
{

// The number in a message of this code; nothing if it is another message.
template<typename Number>
std::optional<Number> NumberOf(const Bytes& frame, uint8_t code)
{
    if (frame.size() != 1 + sizeof(Number) || frame.front() != code)
    {
        return std::nullopt;
    }
    unsigned number = 0;
    for (std::size_t index = 1; index < frame.size(); ++index)
    {
        number = number << 8U | frame[index];
    }
    return static_cast<Number>(number);
}

} // namespace

std::optional<uint16_t> LinkState(const Bytes& frame)
{
    return NumberOf<uint16_t>(frame, ORVEL_LINK_STATE_CODE);
}

std::optional<uint8_t> ButtonState(const Bytes& frame)
{
    return NumberOf<uint8_t>(frame, ORVEL_GATEWAY_BUTTON_CODE);
}

std::optional<uint16_t> LostMessages(const Bytes& frame)
{
    return NumberOf<uint16_t>(frame, ORVEL_GATEWAY_LOST_CODE);
}

bool IsOfTheBus(const Bytes& frame)
{
    constexpr std::size_t longest = 3; // of those
    return frame.size() > longest || (!LinkState(frame) && !ButtonState(frame) && !LostMessages(frame));
}

} // namespace OrvelClient
