#include "KnownGroups.h"

#include "GroupRequest.h"

#include "Knx/CemiText.h"

#include <utility>

namespace OrvelClient
{

KnownGroups::KnownGroups(Knx::GroupAddresses exportedGroups)
    : groups(std::move(exportedGroups))
{
    types.reserve(groups.All().size());
    for (const Knx::NamedGroup& group : groups.All())
    {
        types.push_back(group.type.empty() ? nullptr : Knx::FindDatapointType(group.type));
    }
}

const std::string& KnownGroups::Name(uint16_t group) const
{
    static const std::string none;
    const Knx::NamedGroup* const named = groups.At(group);
    return named == nullptr ? none : named->name;
}

const Knx::DatapointType* KnownGroups::Type(uint16_t group) const
{
    const Knx::NamedGroup* const named = groups.At(group);
    return named == nullptr ? nullptr : types[static_cast<std::size_t>(named - groups.All().data())];
}

bool IsGroupTelegram(const Knx::CemiMessage& cemi)
{
    const bool isData = cemi.apci && cemi.control2 && cemi.destination && !cemi.IsControl() && !cemi.IsNumbered();
    return isData && cemi.IsGroupAddressed() && *cemi.destination != 0 && cemi.Sequence() == 0;
}

std::optional<Knx::GroupValue> ValueOf(const Knx::CemiMessage& cemi)
{
    if (!IsGroupTelegram(cemi))
    {
        return std::nullopt;
    }
    const auto service = static_cast<GroupService>(*cemi.apci & ServiceMask);
    if (service != GroupService::Write && service != GroupService::Response)
    {
        return std::nullopt;
    }
    if (!cemi.payload.empty())
    {
        return Knx::GroupValue{cemi.payload, false};
    }
    return Knx::GroupValue{{static_cast<uint8_t>(*cemi.apci & ~ServiceMask)}, true};
}

Meaning MeaningOf(const Knx::CemiMessage& cemi, const KnownGroups& groups)
{
    Meaning meaning;
    if (!IsGroupTelegram(cemi))
    {
        return meaning;
    }
    meaning.name = groups.Name(*cemi.destination);
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
    catch (const Knx::NotAValue&)
    {
        meaning.value.reset();
        meaning.isWrong = true;
    }
    return meaning;
}

} // namespace OrvelClient
