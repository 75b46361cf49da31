#include "GroupTable.h"

#include "Description.h"

#include "Knx/Telegram.h"

#include <algorithm>

namespace OrvelClient
{

namespace
{

using Group = GroupTable::Group;

// What comes before what by the order alone.
bool IsBefore(GroupTable::Order order, const Group& one, const Group& other)
{
    switch (order)
    {
    case GroupTable::Order::Name:
        return one.name.empty() != other.name.empty() ? other.name.empty() : one.name < other.name;
    case GroupTable::Order::Age:
        return one.since > other.since;
    case GroupTable::Order::Rate:
        return one.lately > other.lately;
    case GroupTable::Order::Count:
        return one.count > other.count;
    case GroupTable::Order::Address:
        break;
    }
    return one.address < other.address;
}

} // namespace

GroupTable::GroupTable(const KnownGroups& knownGroups, Clock::time_point now)
    : known(knownGroups)
    , began(now)
{
}

void GroupTable::Add(const Message& message, Clock::time_point now)
{
    const Knx::CemiMessage cemi = TakenApart(message);
    if (!WasOnBus(cemi))
    {
        return;
    }
    const bool isOfGroup = IsGroupTelegram(cemi);
    ++telegrams;
    lately.push_back({now, Knx::Telegram::TimeOnLine(message.frame), isOfGroup ? *cemi.destination : uint16_t{0}});
    onLine += lately.back().onLine;
    if (!isOfGroup)
    {
        return;
    }
    Group& group = groups[*cemi.destination];
    const auto value = ValueOf(cemi);
    if (value)
    {
        const Meaning meaning = MeaningOf(cemi, known);
        group.value = meaning.value ? meaning.text : Knx::ToText(*value);
    }
    if (value || group.value.empty())
    {
        group.since = now;
    }
    group.address = *cemi.destination;
    group.name = known.Name(group.address);
    ++group.count;
    ++group.lately;
}

std::vector<Group> GroupTable::Groups(Order order, bool reversed, Clock::time_point now)
{
    Forget(now);
    std::vector<Group> sorted;
    sorted.reserve(groups.size());
    for (const auto& [address, group] : groups)
    {
        sorted.push_back(group);
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [order, reversed](const Group& left, const Group& right)
                     { return reversed ? IsBefore(order, right, left) : IsBefore(order, left, right); });
    return sorted;
}

GroupTable::Load GroupTable::BusLoad(Clock::time_point now)
{
    constexpr std::chrono::duration<double> least{1}; // s; the first telegram is no load of all the time
    Forget(now);
    const auto span = std::max(least, std::min<std::chrono::duration<double>>(LoadSpan, now - began));
    const auto inSpan = static_cast<double>(lately.size() - older);
    return {telegrams, inSpan / span.count(), std::min(100.0, 100 * (onLine / span))};
}

void GroupTable::Forget(Clock::time_point now)
{
    while (older < lately.size() && lately[older].time <= now - LoadSpan)
    {
        onLine -= lately[older].onLine;
        ++older;
    }
    while (!lately.empty() && lately.front().time <= now - RateSpan)
    {
        if (lately.front().group != 0)
        {
            --groups[lately.front().group].lately;
        }
        lately.pop_front();
        --older;
    }
}

} // namespace OrvelClient
