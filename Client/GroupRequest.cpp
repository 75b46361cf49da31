#include "GroupRequest.h"

#include "FrameSender.h"

namespace OrvelClient
{

Bytes GroupRequest(GroupService service, uint16_t group, const Knx::GroupValue& value)
{
    Bytes frame = Encode(TelegramTo(group, service, value));
    FrameSender::CheckLength(frame);
    return frame;
}

} // namespace OrvelClient
