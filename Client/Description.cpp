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

std::string ButtonStateName(uint8_t state)
{
    switch (state)
    {
    case ORVEL_PROG_BUTTON_PRESSED:
        return "pressed";
    case ORVEL_PROG_BUTTON_RELEASED:
        return "released";
    default:
        return HexNumber(state, 2);
    }
}

} // namespace

CemiMessage TakenApart(const Message& message)
{
    CemiMessage cemi = IsOfTheBus(message.frame) ? Knx::Decode(message.frame) : CemiMessage{};
    if (message.sizeByte)
    {
        cemi.problems.insert(cemi.problems.begin(), "size byte " + std::to_string(*message.sizeByte) +
                                                        " on a frame of " + std::to_string(message.frame.size()));
    }
    return cemi;
}

std::string NoticeText(const Bytes& frame)
{
    if (const auto state = LinkState(frame))
    {
        return "link " + LinkStateName(*state);
    }
    if (const auto button = ButtonState(frame))
    {
        return "button " + ButtonStateName(*button);
    }
    const auto lost = LostMessages(frame);
    return lost ? "dropped " + std::to_string(*lost) : "";
}

std::string KindOf(const Message& message)
{
    if (LostMessages(message.frame))
    {
        return "dropped"; // whatever their number
    }
    if (!IsOfTheBus(message.frame))
    {
        return NoticeText(message.frame);
    }
    if (message.frame.empty())
    {
        return "no frame";
    }
    const std::string_view name = NameOfMessageCode(message.frame.front());
    return name.empty() ? "message code " + HexNumber(message.frame.front(), 2) : std::string(name);
}

std::string WrongValueText(const Meaning& meaning)
{
    return "no value of the type " + meaning.type->Number();
}

std::string Describe(const Message& message, Detail detail, const KnownGroups& groups)
{
    TextBuffer text;
    AddDescription(text, message, detail, groups);
    return std::string(text.Text());
}

void AddDescription(TextBuffer& text, const Message& message, Detail detail, const KnownGroups& groups)
{
    const std::size_t begin = text.Size();
    CemiMessage cemi = TakenApart(message);
    if (!IsOfTheBus(message.frame))
    {
        text.Add(NoticeText(message.frame));
        AddProblems(text, begin, cemi);
        return;
    }
    const Meaning meaning = MeaningOf(cemi, groups);
    const bool isShort = detail != Detail::All && meaning.value;
    AddWords(text, cemi, isShort ? Detail::WithoutValue : detail);
    if (meaning.value)
    {
        text.Add(isShort ? " " : " = ");
        text.Add(meaning.text);
    }
    if (!meaning.name.empty())
    {
        text.Add("  ");
        text.Add(meaning.name);
    }
    if (meaning.isWrong)
    {
        cemi.problems.push_back(WrongValueText(meaning));
    }
    AddProblems(text, begin, cemi);
}

bool WasOnBus(const Knx::CemiMessage& cemi)
{
    const bool isTelegram = cemi.Is(Knx::MessageCode::LDataInd) ||
                            (cemi.Is(Knx::MessageCode::LDataCon) && cemi.control1 && !cemi.ErrorBit());
    return isTelegram && cemi.problems.empty();
}

} // namespace OrvelClient
