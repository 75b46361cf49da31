#include "Filter.h"

#include "Description.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"

#include <algorithm>
#include <utility>

namespace OrvelClient
{

namespace
{

constexpr uint16_t ApciCount = 0x400;

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char character) {
                       return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                                   : character;
                   });
    return text;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// "write" is A_GroupValue_Write.
bool IsService(const std::string& name, const std::string& text)
{
    const std::string lower = Lower(name);
    return !name.empty() && (lower == text || lower == "a_" + text || lower == "a_groupvalue_" + text);
}

// The services that are meant.
std::vector<std::string> ServicesIn(const std::string& text)
{
    std::vector<std::string> services;
    for (uint16_t apci = 0; apci < ApciCount; ++apci)
    {
        if (std::string name(Knx::ServiceOf(apci).name); IsService(name, Lower(text)))
        {
            services.push_back(std::move(name));
        }
    }
    if (services.empty())
    {
        throw Arguments::Wrong("takes read, response, write, or a name such as A_Restart, not '" + text + "'");
    }
    return services;
}

// "ind" is L_Data.ind and others, "link" is both states of the link.
bool IsKind(const std::string& kind, const std::string& text)
{
    const std::string lower = Lower(kind);
    return lower == text || EndsWith(lower, "." + text) || lower.rfind(text + " ", 0) == 0;
}

// As kinds are compared.
std::string KindIn(const std::string& text)
{
    std::vector<std::string> known{"link usable",     "link lost", "button pressed",
                                   "button released", "dropped",   "no frame"};
    for (unsigned code = 0; code <= UINT8_MAX; ++code)
    {
        Message message;
        message.frame = {static_cast<uint8_t>(code)};
        known.push_back(KindOf(message));
    }
    std::string wanted = Lower(text);
    if (wanted.empty() ||
        std::none_of(known.begin(), known.end(), [&wanted](const std::string& name) { return IsKind(name, wanted); }))
    {
        throw Arguments::Wrong("takes ind, con, req, link, or a name such as L_Data.ind, not '" + text + "'");
    }
    return wanted;
}

bool Contain(const std::vector<Knx::IndividualAddressPattern>& patterns, uint16_t address)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [address](const Knx::IndividualAddressPattern& pattern) { return pattern.Contains(address); });
}

} // namespace

void Filter::AddTo(Arguments::Parser& parser)
{
    parser.Each(
        "--group", [this](const std::string& text) { Present().groups.Add(text); },
        "Only telegrams to these groups: 1/2/3, 1/2/*, 1/2/0-9, or a name.");
    parser.List(
        "--source", [this](const std::string& text) { Present().sources.emplace_back(text); },
        "Only telegrams from these devices: 1.1.5, 1.1.*, 1.1.0-9.");
    parser.List(
        "--service",
        [this](const std::string& text)
        {
            const auto meant = ServicesIn(text);
            Present().services.insert(meant.begin(), meant.end());
        },
        "Only telegrams of these services: read, response, write, A_Restart.");
    parser.List(
        "--kind", [this](const std::string& text) { Present().kinds.push_back(KindIn(text)); },
        "Only messages of these kinds: ind, con, req, link, L_Data.ind.");
    parser.Divider(
        "--not", [this] { leftOut.emplace_back(); },
        "Leave out what --group, --source, --service and --kind behind it choose; another --not begins anew.");
    parser.Check(
        [this]
        {
            if (std::any_of(leftOut.begin(), leftOut.end(), [](const Conditions& each) { return each.IsEmpty(); }))
            {
                throw Arguments::Wrong("--not needs --group, --source, --service or --kind behind it");
            }
        });
}

void Filter::Resolve(const Knx::GroupAddresses& named)
{
    chosen.groups.Resolve(named);
    std::for_each(leftOut.begin(), leftOut.end(), [&named](Conditions& each) { each.groups.Resolve(named); });
}

bool Filter::Passes(const Message& message) const
{
    // Whoever looks at a part only must not believe that it is whole.
    const auto chooses = [&message](const Conditions& conditions) { return conditions.Choose(message); };
    return (chosen.Choose(message) && std::none_of(leftOut.begin(), leftOut.end(), chooses)) ||
           LostMessages(message.frame);
}

bool Filter::Conditions::IsEmpty() const
{
    return groups.IsEmpty() && sources.empty() && services.empty() && kinds.empty();
}

bool Filter::Conditions::Choose(const Message& message) const
{
    if (!kinds.empty())
    {
        const std::string kind = KindOf(message);
        if (std::none_of(kinds.begin(), kinds.end(), [&kind](const std::string& text) { return IsKind(kind, text); }))
        {
            return false;
        }
    }
    if (groups.IsEmpty() && sources.empty() && services.empty())
    {
        return true;
    }
    const Knx::CemiMessage cemi = TakenApart(message);
    if (!groups.IsEmpty() && !(cemi.destination && cemi.IsGroupAddressed() && groups.Contain(*cemi.destination)))
    {
        return false;
    }
    if (!sources.empty() && !(cemi.source && Contain(sources, *cemi.source)))
    {
        return false;
    }
    return services.empty() || (cemi.apci && services.count(Knx::ServiceOf(*cemi.apci).name) != 0);
}

} // namespace OrvelClient
