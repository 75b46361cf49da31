#include "GroupOptions.h"

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

void AddValue(Arguments::Parser& parser, std::string& value)
{
    parser.Each("VALUE", [&value](const std::string& part) { value += (value.empty() ? "" : " ") + part; });
    parser.Require("VALUE");
}

void GroupOptions::AddTo(Arguments::Parser& parser)
{
    parser.Option("GROUP", group);
    parser.Require("GROUP");
    parser.Option("--dpt", type,
                  "The datapoint type of the value, such as 9.001; without it that of the group's export.");
    names.AddTo(parser);
}

ChosenGroup::ChosenGroup(const GroupOptions& options)
{
    const KnownGroups known(ReadNames(options.names).groups);
    address = AddressFrom(options.group, known.Addresses());
    type = options.type.empty() ? known.Type(address) : &TypeFrom(options.type);
    const Knx::NamedGroup* const group = known.Addresses().At(address);
    exportedType = group == nullptr ? "" : group->type;
}

Knx::GroupValue ChosenGroup::ValueFrom(const std::string& text) const
{
    if (type == nullptr)
    {
        throw Failure(Status::NotUnderstood, "the type " + (exportedType.empty() ? "" : exportedType + " ") + "of " +
                                                 Knx::GroupAddress(address) +
                                                 " is not known: --dpt names one, such as --dpt 9.001");
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
