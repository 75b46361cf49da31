#include "Knx/TelegramView.h"

#include "Knx/CemiMessage.h"

#include <algorithm>

namespace Knx
{

namespace
{

// From control field 1 on.
constexpr std::size_t Control2At = 1;
constexpr std::size_t SourceAt = 2;
constexpr std::size_t DestinationAt = 4;
constexpr std::size_t LengthAt = 6;
constexpr std::size_t AroundData = 8; // bytes around those behind the TPCI

constexpr uint8_t ReservedLength = 255;

// In control field 1.
constexpr uint8_t NotRepeated = 0x20;
constexpr uint8_t AcknowledgeWanted = 0x02;
constexpr uint8_t Failed = 0x01;

constexpr uint8_t GroupAddressed = 0x80; // in control field 2

bool IsTelegram(uint8_t code)
{
    switch (static_cast<MessageCode>(code))
    {
    case MessageCode::LDataReq:
    case MessageCode::LDataCon:
    case MessageCode::LDataInd:
        return true;
    default:
        return false;
    }
}

// Where the additional information ends; nothing unless it consists of whole elements and ends inside the message.
std::optional<std::size_t> EndOfInfo(const uint8_t* frame, std::size_t size)
{
    const std::size_t end = 2U + frame[1];
    std::size_t place = 2;
    while (place < end && place + 1 < size)
    {
        place += 2U + frame[place + 1];
    }
    return place == end && end <= size ? std::optional(end) : std::nullopt;
}

} // namespace

std::optional<TelegramView> TelegramView::Of(uint8_t* frame, std::size_t size)
{
    if (size < 2 || !IsTelegram(frame[0]))
    {
        return std::nullopt;
    }
    const auto control = EndOfInfo(frame, size);
    if (!control || size < *control + AroundData)
    {
        return std::nullopt;
    }
    const uint8_t length = frame[*control + LengthAt];
    if (length == ReservedLength || size != *control + AroundData + length)
    {
        return std::nullopt;
    }
    return TelegramView(frame, size, *control);
}

TelegramView::TelegramView(uint8_t* frame, std::size_t frameSize, std::size_t control1At)
    : bytes(frame)
    , size(frameSize)
    , control(control1At)
{
}

bool TelegramView::IsSameTelegramAs(const TelegramView& other) const
{
    return IsGroupAddressed() == other.IsGroupAddressed() &&
           std::equal(bytes + control + DestinationAt, bytes + size, other.bytes + other.control + DestinationAt,
                      other.bytes + other.size);
}

bool TelegramView::HasFailed() const
{
    return (bytes[control] & Failed) != 0;
}

bool TelegramView::IsGroupAddressed() const
{
    return (bytes[control + Control2At] & GroupAddressed) != 0;
}

void TelegramView::BecomeFailedConfirmation()
{
    bytes[0] = static_cast<uint8_t>(MessageCode::LDataCon);
    bytes[control] |= Failed;
}

void TelegramView::BecomeIndication()
{
    bytes[0] = static_cast<uint8_t>(MessageCode::LDataInd);
    // What a request asks for with these bits is not what an indication tells with them.
    bytes[control] = static_cast<uint8_t>((bytes[control] | NotRepeated) & ~(AcknowledgeWanted | Failed));
    uint8_t* const source = bytes + control + SourceAt;
    if (source[0] == 0 && source[1] == 0)
    {
        std::fill_n(source, 2, static_cast<uint8_t>(0xFF));
    }
}

} // namespace Knx
