#include "Message.h"

#include "Failure.h"

#include "Knx/CemiMessage.h"
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
    try
    {
        return Knx::FromHex(text.substr(0, text.find('#')), begin);
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

std::optional<uint16_t> LinkState(const Bytes& frame)
{
    if (frame.size() != ORVEL_LINK_STATE_MESSAGE_SIZE - 1 || frame[0] != ORVEL_LINK_STATE_CODE)
    {
        return std::nullopt;
    }
    return static_cast<uint16_t>(static_cast<unsigned>(frame[1]) << 8U | frame[2]);
}

} // namespace OrvelClient
