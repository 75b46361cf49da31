#include "Filter.h"

#include "CommandLine.h"
#include "Description.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"

#include <algorithm>

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

std::vector<std::string> Services(const CommandLine& line)
{
    std::vector<std::string> services;
    for (const std::string& text : line.TextsOr({}, "service"))
    {
        bool isThere = false;
        for (uint16_t apci = 0; apci < ApciCount; ++apci)
        {
            const std::string name = Knx::ServiceOf(apci).name;
            if (IsService(name, Lower(text)))
            {
                isThere = true;
                services.push_back(name);
            }
        }
        if (!isThere)
        {
            Reject("--service is read, response, write, or a name such as A_Restart, not '" + text + "'");
        }
    }
    std::sort(services.begin(), services.end());
    services.erase(std::unique(services.begin(), services.end()), services.end());
    return services;
}

// "ind" is L_Data.ind and others, "link" is both states of the link.
bool IsKind(const std::string& kind, const std::string& text)
{
    const std::string lower = Lower(kind);
    return lower == text || EndsWith(lower, "." + text) || lower.rfind(text + " ", 0) == 0;
}

std::vector<std::string> Kinds(const CommandLine& line)
{
    std::vector<std::string> known{"link usable",     "link lost", "button pressed",
                                   "button released", "dropped",   "no frame"};
    for (unsigned code = 0; code <= UINT8_MAX; ++code)
    {
        Message message;
        message.frame = {static_cast<uint8_t>(code)};
        known.push_back(KindOf(message));
    }
    std::vector<std::string> kinds;
    for (const std::string& text : line.TextsOr({}, "kind"))
    {
        const std::string wanted = Lower(text);
        if (wanted.empty() || std::none_of(known.begin(), known.end(),
                                           [&wanted](const std::string& name) { return IsKind(name, wanted); }))
        {
            Reject("--kind is ind, con, req, link, or a name such as L_Data.ind, not '" + text + "'");
        }
        kinds.push_back(wanted);
    }
    return kinds;
}

std::vector<Knx::IndividualAddressPattern> Sources(const CommandLine& line)
{
    std::vector<Knx::IndividualAddressPattern> patterns;
    for (const std::string& text : line.TextsOr({}, "source"))
    {
        try
        {
            patterns.emplace_back(text);
        }
        catch (const Knx::NotAnIndividualAddress& problem)
        {
            Reject(std::string("--source: ") + problem.what());
        }
    }
    return patterns;
}

bool Contain(const std::vector<Knx::IndividualAddressPattern>& patterns, uint16_t address)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [address](const Knx::IndividualAddressPattern& pattern) { return pattern.Contains(address); });
}

} // namespace

Filter::Filter(const CommandLine& line)
    : groups(line)
    , sources(Sources(line))
    , services(Services(line))
    , kinds(Kinds(line))
    , inverted(line.Has("not"))
{
    if (inverted && groups.IsEmpty() && sources.empty() && services.empty() && kinds.empty())
    {
        Reject("--not needs --group, --source, --service or --kind");
    }
}

bool Filter::Passes(const Message& message) const
{
    return Matches(message) != inverted;
}

bool Filter::Matches(const Message& message) const
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
    return services.empty() || (cemi.apci && std::find(services.begin(), services.end(),
                                                       Knx::ServiceOf(*cemi.apci).name) != services.end());
}

std::vector<Option> WithFilterOptions(std::vector<Option> options)
{
    options.push_back(
        {"group", "Only telegrams to these groups: 1/2/3, 1/2/*, 1/2/0-9, or a name.", Option::Kind::Values});
    options.push_back({"source", "Only telegrams from these devices: 1.1.5, 1.1.*, 1.1.0-9.", Option::Kind::Values});
    options.push_back(
        {"service", "Only telegrams of these services: read, response, write, A_Restart.", Option::Kind::Values});
    options.push_back({"kind", "Only messages of these kinds: ind, con, req, link, L_Data.ind.", Option::Kind::Values});
    options.push_back({"not", "The other messages, which these options do not choose.", Option::Kind::Flag});
    return options;
}

} // namespace OrvelClient
