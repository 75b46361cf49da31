#include "Description.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"

#include "Orvel/Protocol.h"

namespace OrvelClient
{

namespace
{

using namespace Knx;

std::string LinkStateName(uint16_t state)
{
    switch (state)
    {
    case ORVEL_LINK_STATE_USABLE:
        return "usable";
    case ORVEL_LINK_STATE_LOST:
        return "lost";
    default:
        return HexNumber(state, 4);
    }
}

} // namespace

CemiMessage TakenApart(const Message& message)
{
    CemiMessage cemi = LinkState(message.frame) ? CemiMessage{} : Knx::Decode(message.frame);
    if (message.sizeByte)
    {
        cemi.problems.insert(cemi.problems.begin(), "size byte " + std::to_string(*message.sizeByte) +
                                                        " on a frame of " + std::to_string(message.frame.size()));
    }
    return cemi;
}

std::string KindOf(const Message& message)
{
    if (const auto state = LinkState(message.frame))
    {
        return "link " + LinkStateName(*state);
    }
    if (message.frame.empty())
    {
        return "no frame";
    }
    const std::string name = NameOfMessageCode(message.frame.front());
    return name.empty() ? "message code " + HexNumber(message.frame.front(), 2) : name;
}

std::string Describe(const Message& message)
{
    std::string text = Knx::Describe(TakenApart(message));
    if (!LinkState(message.frame))
    {
        return text;
    }
    return KindOf(message) + (text.empty() ? "" : " " + text);
}

} // namespace OrvelClient
