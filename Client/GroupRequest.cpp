#include "GroupRequest.h"

#include "FrameSender.h"

#include "Knx/Telegram.h"

namespace OrvelClient
{

Bytes GroupRequest(GroupService service, uint16_t group, const Knx::GroupValue& value)
{
    constexpr std::size_t maxStandardData = 14;
    constexpr uint8_t extended = 0x3C; // as the usual control field 1, but for the type of the frame
    Knx::Telegram::GroupTelegram telegram;
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
    Bytes frame = Encode(telegram);
    FrameSender::CheckLength(frame);
    return frame;
}

} // namespace OrvelClient
