#include "Message.h"

#include "Failure.h"

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

Bytes FrameFromText(std::string_view text)
{
    try
    {
        return Knx::FromHex(text.substr(0, text.find('#')));
    }
    catch (const Knx::NotHex& problem)
    {
        throw Failure(Status::NotUnderstood, problem.what());
    }
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
    return !LinkState(frame) && !ButtonState(frame) && !LostMessages(frame);
}

} // namespace OrvelClient
