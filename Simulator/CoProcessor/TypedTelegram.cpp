#include "TypedTelegram.h"

#include "Knx/GroupService.h"

#include <algorithm>
#include <string_view>

namespace Simulator
{

namespace
{

using Knx::GroupService;

constexpr uint16_t Sender = 0x1101; // 1.1.1, a device like any other on the bus
constexpr const char* Blanks = " \t";

std::string WithoutMargin(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(Blanks);
    const std::size_t last = text.find_last_not_of(Blanks);
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

// What is typed: the group, in quotes if it has blanks in it, and what follows it.
struct Words
{
    std::string group;
    std::string rest;
    bool isQuoted = false;
};

Words Split(const std::string& typed)
{
    const std::string text = WithoutMargin(typed);
    if (!text.empty() && text.front() == '"')
    {
        const std::size_t end = text.find('"', 1);
        if (end == std::string::npos)
        {
            throw NotATelegram("the name of the group has no quote at its end");
        }
        return {text.substr(1, end - 1), WithoutMargin(text.substr(end + 1)), true};
    }
    const std::size_t end = std::min(text.find_first_of(Blanks), text.size());
    return {text.substr(0, end), WithoutMargin(text.substr(end)), false};
}

Knx::Bytes FromHex(const std::string& text)
{
    const auto reject = []
    {
        throw NotATelegram("'telegram' takes 1 to " + std::to_string(MaxTelegram) +
                           " bytes of two hexadecimal digits each; blanks and colons may stand between them; or "
                           "a group, a value and its type, such as 1/2/3 21.5 9.001");
    };
    Knx::Bytes telegram;
    try
    {
        telegram = Knx::FromHex(text);
    }
    catch (const Knx::NotHex&)
    {
        reject();
    }
    if (telegram.empty() || telegram.size() > MaxTelegram)
    {
        reject();
    }
    return telegram;
}

// Of a sub type: a main type has the form of a number, which may be the value.
const Knx::DatapointType* TypeNamed(const std::string& word)
{
    return word.find_first_of(".-") == std::string::npos ? nullptr : Knx::FindDatapointType(word);
}

// The type that stands behind a value, if one does.
const Knx::DatapointType* TypeBehind(const std::string& text)
{
    const std::size_t blank = text.find_last_of(Blanks);
    return blank == std::string::npos ? nullptr : TypeNamed(text.substr(blank + 1));
}

// The value, and behind it the type if that is not known.
Knx::GroupValue ValueFrom(const std::string& text, uint16_t group, const Knx::KnownGroups& groups)
{
    const Knx::DatapointType* type = groups.Type(group);
    std::string value = text;
    if (const auto* const named = TypeBehind(text))
    {
        type = named;
        value = WithoutMargin(text.substr(0, text.find_last_of(Blanks)));
    }
    const std::string address = GroupAddress(group, groups.Addresses().Style());
    if (type == nullptr)
    {
        throw NotATelegram("the type of " + address + " is not known: name it behind the value, such as " + address +
                           " 21.5 9.001");
    }
    return Encode(*type, value);
}

Knx::Bytes FromKnx(uint16_t group, GroupService service, const Knx::GroupValue& value = {})
{
    auto telegram = TelegramTo(group, service, value);
    telegram.code = Knx::MessageCode::LDataInd;
    telegram.source = Sender;
    return Encode(telegram);
}

} // namespace

Knx::Bytes TelegramFrom(const std::string& text, const Knx::KnownGroups& groups)
{
    const Words words = Split(text);
    // A number alone may be a byte of a frame with a mistake in it.
    const bool isNumberedGroup = Knx::LooksLikeGroupAddress(words.group) && TypeBehind(words.rest) != nullptr;
    const bool isGroup = words.isQuoted || words.group.find('/') != std::string::npos || isNumberedGroup ||
                         !groups.Addresses().Find(words.group).empty();
    if (!isGroup || text.find_first_not_of("0123456789abcdefABCDEF: \t") == std::string::npos)
    {
        return FromHex(text);
    }
    try
    {
        const uint16_t group = GroupFrom(words.group, groups.Addresses());
        if (words.rest.empty())
        {
            throw NotATelegram("'telegram' takes a value behind the group; 'read' takes none");
        }
        return FromKnx(group, GroupService::Write, ValueFrom(words.rest, group, groups));
    }
    catch (const Knx::NotAGroupAddress& problem)
    {
        throw NotATelegram(problem.what());
    }
    catch (const Knx::NotAValue& problem)
    {
        throw NotATelegram(problem.what());
    }
}

Knx::Bytes ReadFrom(const std::string& text, const Knx::KnownGroups& groups)
{
    const Words words = Split(text);
    if (words.group.empty() || (words.isQuoted && !words.rest.empty()))
    {
        throw NotATelegram("'read' takes a group, such as 1/2/3, and nothing behind it");
    }
    try
    {
        const std::string name = words.isQuoted ? words.group : WithoutMargin(text);
        return FromKnx(GroupFrom(name, groups.Addresses()), GroupService::Read);
    }
    catch (const Knx::NotAGroupAddress& problem)
    {
        throw NotATelegram(problem.what());
    }
}

} // namespace Simulator
