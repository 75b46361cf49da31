#include "GroupOptions.h"

#include "CommandLine.h"

#include "Knx/GroupAddress.h"

namespace OrvelClient
{

const Knx::DatapointType& TypeFrom(const std::string& text)
{
    try
    {
        return Knx::DatapointTypeOf(text);
    }
    catch (const Knx::NotAValue& problem)
    {
        throw Failure(Status::NotUnderstood, problem.what());
    }
}

std::string TakeValue(const CommandLine& line)
{
    if (line.Arguments().size() < 2)
    {
        Reject("needs a value behind the group");
    }
    std::string value;
    for (std::size_t index = 1; index < line.Arguments().size(); ++index)
    {
        value += (index == 1 ? "" : " ") + line.Arguments()[index];
    }
    return value;
}

GroupOptions::GroupOptions(const CommandLine& line)
    : type(line.TextOr("", "dpt"))
    , names(TakeNamesFile(line))
{
    if (line.Arguments().empty())
    {
        Reject("needs a group, such as 1/2/3 or the name of one");
    }
    group = line.Arguments().front();
}

std::vector<Option> WithGroupOptions(std::vector<Option> options)
{
    options.push_back(
        {"dpt", "The datapoint type of the value, such as 9.001; without it that of the group's export."});
    options.push_back(NamesOption());
    return options;
}

ChosenGroup::ChosenGroup(const GroupOptions& options)
{
    const KnownGroups known(ReadNames(options.names).groups);
    address = GroupFrom(options.group, known.Addresses());
    type = options.type.empty() ? known.Type(address) : &TypeFrom(options.type);
}

Knx::GroupValue ChosenGroup::ValueFrom(const std::string& text) const
{
    if (type == nullptr)
    {
        throw Failure(Status::NotUnderstood, "the type of " + Knx::GroupAddress(address) +
                                                 " is not known: --dpt names it, such as --dpt 9.001");
    }
    try
    {
        return Knx::Encode(*type, text);
    }
    catch (const Knx::NotAValue& problem)
    {
        throw Failure(Status::NotUnderstood, problem.what());
    }
}

} // namespace OrvelClient
