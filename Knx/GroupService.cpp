#include "Knx/GroupService.h"

namespace Knx
{

Telegram::GroupTelegram TelegramTo(uint16_t group, GroupService service, const GroupValue& value)
{
    constexpr std::size_t maxStandardData = 14;
    constexpr uint8_t extended = 0x3C; // as the usual control field 1, but for the type of the frame
    Telegram::GroupTelegram telegram;
    telegram.group = group;
    telegram.apci = static_cast<uint16_t>(service);
    if (value.isSmall)
    {
        telegram.apci = static_cast<uint16_t>(telegram.apci | value.bytes.front());
    }
    else
    {
        telegram.data = value.bytes;
    }
    if (telegram.data.size() > maxStandardData)
    {
        telegram.control1 = extended;
    }
    return telegram;
}

bool IsGroupTelegram(const CemiMessage& cemi)
{
    const bool isData = cemi.apci && cemi.control2 && cemi.destination && !cemi.IsControl() && !cemi.IsNumbered();
    return isData && cemi.IsGroupAddressed() && *cemi.destination != 0 && cemi.Sequence() == 0;
}

std::optional<GroupService> GroupServiceOf(const CemiMessage& cemi)
{
    if (!IsGroupTelegram(cemi))
    {
        return std::nullopt;
    }
    const auto service = static_cast<GroupService>(*cemi.apci & ServiceMask);
    const bool isOne =
        service == GroupService::Read || service == GroupService::Response || service == GroupService::Write;
    return isOne ? std::optional(service) : std::nullopt;
}

std::optional<GroupValue> ValueOf(const CemiMessage& cemi)
{
    if (GroupServiceOf(cemi).value_or(GroupService::Read) == GroupService::Read)
    {
        return std::nullopt;
    }
    if (!cemi.payload.empty())
    {
        return GroupValue{cemi.payload, false};
    }
    return GroupValue{{static_cast<uint8_t>(*cemi.apci & ~ServiceMask)}, true};
}

} // namespace Knx
