#include "Names.h"

#include "Output.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <functional>
#include <utility>

namespace OrvelClient
{

namespace
{

using Knx::GroupAddresses;
using Knx::NamedGroup;

bool IsPatternOfAddresses(const std::string& pattern)
{
    return pattern.find_first_not_of("0123456789/-*") == std::string::npos;
}

bool IsSameLetter(char one, char other)
{
    const auto lower = [](char character) { return std::tolower(static_cast<unsigned char>(character)); };
    return lower(one) == lower(other);
}

bool HasInIt(const std::string& name, const std::string& part)
{
    return part.empty() || std::search(name.begin(), name.end(), part.begin(), part.end(), IsSameLetter) != name.end();
}

bool Begins(const std::string& text, const std::string& begin, std::size_t at = 0)
{
    return text.compare(at, begin.size(), begin) == 0;
}

// "1/1/1    1.001   Lights/Living room/Ceiling  # At the door"
std::string Line(const NamedGroup& group, Knx::GroupAddressStyle style)
{
    constexpr std::size_t addressWidth = 9;
    constexpr std::size_t typeWidth = 8;
    std::string line = GroupAddress(group.address, style);
    line.resize(addressWidth, ' ');
    line += group.type;
    line.resize(std::max(addressWidth + typeWidth, line.size() + 1), ' ');
    line += group.name + (group.description.empty() ? "" : "  # " + group.description);
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string Json(const NamedGroup& group)
{
    nlohmann::ordered_json object;
    object["address"] = Knx::GroupAddress(group.address);
    for (const auto& [name, text] : {std::pair<const char*, const std::string&>{"name", group.name},
                                     {"type", group.type},
                                     {"description", group.description}})
    {
        if (!text.empty())
        {
            object[name] = text;
        }
    }
    return object.dump() + "\n";
}

Status Complete(const GroupAddresses& groups, const std::string& begin)
{
    std::string words;
    for (const std::string& word : Completions(groups, begin))
    {
        words += word + "\n";
    }
    Output().Write(words);
    return Status::Done;
}

Status Names(const NamesOptions& options)
{
    const auto [groups, form] = ReadNames(options.file);
    if (options.complete)
    {
        return Complete(groups, options.pattern);
    }
    if (groups.All().empty())
    {
        throw Failure(Status::NotThere, options.file.name.empty()
                                            ? "there are to be no names"
                                            : "there are no names in " + options.file.name + "; another file: --names");
    }
    const std::vector<const NamedGroup*> matching = Matching(groups, options.pattern);
    if (matching.empty())
    {
        throw Failure(Status::NotThere, "no group is '" + options.pattern + "', or has it in its name");
    }
    std::string lines;
    for (const NamedGroup* group : matching)
    {
        lines += options.json ? Json(*group) : Line(*group, groups.Style());
    }
    Output output;
    output.Write(lines);
    Notice(output, std::to_string(matching.size()) + " of " + std::to_string(groups.All().size()) + " groups in " +
                       options.file.name + ": " + form);
    return Status::Done;
}

} // namespace

std::vector<const NamedGroup*> Matching(const GroupAddresses& groups, const std::string& pattern)
{
    std::function<bool(const NamedGroup&)> matches = [&pattern](const NamedGroup& group)
    { return HasInIt(group.name, pattern); };
    if (!pattern.empty() && IsPatternOfAddresses(pattern))
    {
        try
        {
            matches = [addresses = Knx::GroupAddressPattern(pattern), &pattern](const NamedGroup& group)
            { return addresses.Contains(group.address) || HasInIt(group.name, pattern); };
        }
        catch (const Knx::NotAGroupAddress& problem)
        {
            throw Failure(Status::NotUnderstood, problem.what());
        }
    }
    std::vector<const NamedGroup*> matching;
    for (const NamedGroup& group : groups.All())
    {
        if (matches(group))
        {
            matching.push_back(&group);
        }
    }
    return matching;
}

std::vector<std::string> Completions(const GroupAddresses& groups, const std::string& begin)
{
    std::vector<std::string> names;
    std::vector<std::string> levels;
    std::vector<std::string> addresses;
    for (const NamedGroup& group : groups.All())
    {
        if (!group.name.empty() && Begins(group.name, begin))
        {
            names.push_back(group.name);
        }
        for (std::size_t slash = group.name.find('/'); slash != std::string::npos;
             slash = group.name.find('/', slash + 1))
        {
            if (Begins(group.name, begin, slash + 1))
            {
                levels.push_back(group.name.substr(slash + 1));
            }
        }
        if (std::string address = GroupAddress(group.address, groups.Style()); Begins(address, begin))
        {
            addresses.push_back(std::move(address));
        }
    }
    return !names.empty() ? names : !levels.empty() ? levels : addresses;
}

void NamesOptions::AddTo(Arguments::Parser& parser)
{
    parser.Option("PATTERN", pattern);
    file.AddTo(parser);
    parser.Flag("--json", json, "Show each group as one JSON object, a line each.");
    parser.Flag("--complete", complete, "Show what a shell completes the pattern to, a line each.");
    parser.Exclude({"--json", "--complete"});
}

Command NamesCommand()
{
    return {
        "names",
        "[PATTERN]",
        "list the names of group addresses",
        "[OPTION...] [PATTERN]",
        "Lists group addresses with their types and names: all, those of a pattern such as 1/2/*, and those that have "
        "the pattern in their names. The names come from the engineering tool's export of group addresses.\n"
        "\n"
        "  orvelctl names\n"
        "  orvelctl names --names house.xml 'living room'",
        Define<NamesOptions, Names>};
}

} // namespace OrvelClient
