#include "Knx/KnownGroups.h"

#include "Knx/GroupService.h"

#include <utility>

namespace Knx
{

KnownGroups::KnownGroups(GroupAddresses exportedGroups)
    : groups(std::move(exportedGroups))
{
    types.reserve(groups.All().size());
    for (const NamedGroup& group : groups.All())
    {
        types.push_back(group.type.empty() ? nullptr : FindDatapointType(group.type));
    }
}

const std::string& KnownGroups::Name(uint16_t group) const
{
    static const std::string none;
    const NamedGroup* const named = groups.At(group);
    return named == nullptr ? none : named->name;
}

const DatapointType* KnownGroups::Type(uint16_t group) const
{
    const NamedGroup* const named = groups.At(group);
    return named == nullptr ? nullptr : types[static_cast<std::size_t>(named - groups.All().data())];
}

Meaning MeaningOf(const CemiMessage& cemi, const KnownGroups& groups)
{
    Meaning meaning;
    const NamedGroup* const named = IsGroupTelegram(cemi) ? groups.Addresses().At(*cemi.destination) : nullptr;
    if (named == nullptr)
    {
        return meaning;
    }
    meaning.name = named->name;
    meaning.type = groups.Type(*cemi.destination);
    if (meaning.type == nullptr)
    {
        return meaning;
    }
    meaning.value = ValueOf(cemi);
    try
    {
        meaning.text = meaning.value ? ToText(*meaning.type, *meaning.value) : "";
    }
    catch (const NotAValue&)
    {
        meaning.value.reset();
        meaning.isWrong = true;
    }
    return meaning;
}

} // namespace Knx
