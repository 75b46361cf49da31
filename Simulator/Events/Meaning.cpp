#include "Meaning.h"

#include "Knx/GroupService.h"

namespace Simulator
{

namespace
{

bool IsTelegram(Event::Kind kind)
{
    return kind == Event::TelegramToKnx || kind == Event::TelegramConfirmed || kind == Event::TelegramNotSent ||
           kind == Event::TelegramFromKnx;
}

// "Lights/Ceiling: On"; empty where nothing is known of the group.
std::string MeaningText(const Bytes& telegram, const Knx::KnownGroups& groups)
{
    const Knx::CemiMessage cemi = Knx::Decode(telegram);
    const Knx::Meaning meaning = MeaningOf(cemi, groups);
    if (meaning.name.empty() && meaning.type == nullptr)
    {
        return "";
    }
    const std::string name =
        meaning.name.empty() ? GroupAddress(*cemi.destination, groups.Addresses().Style()) : meaning.name;
    if (meaning.isWrong)
    {
        return name + ": no value of the type " + meaning.type->Number();
    }
    const bool isRead = GroupServiceOf(cemi) == Knx::GroupService::Read;
    return name + (isRead ? ": read" : meaning.value ? ": " + meaning.text : "");
}

} // namespace

std::string TextOf(const Event& event, const Knx::KnownGroups& groups)
{
    const std::string meaning = IsTelegram(event.kind) ? MeaningText(event.bytes, groups) : "";
    return TextOf(event) + (meaning.empty() ? "" : "  # " + meaning);
}

} // namespace Simulator
