#pragma once

#include "GroupTable.h"

#include "System/Terminal/Picture.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace OrvelClient
{

/// What a person sees of the groups.
struct TopView
{
    std::string way;    ///< to the bus: "the gateway"
    std::string notice; ///< what happened to that last; may be empty
    std::string link;   ///< "usable"; empty where nobody has told
    uint64_t dropped = 0;
    GroupTable::Order order = GroupTable::Order::Rate;
    bool reversed = false;
    std::size_t first = 0; ///< of the groups that are shown
};

/// How many groups are seen at once on a screen of so many rows.
std::size_t RoomForGroups(int rows);

/// The groups on a screen of this size, however small. Of `groups` it begins with the first that is to be shown.
System::Picture DrawTop(const std::vector<GroupTable::Group>& groups, const GroupTable::Load& load, const TopView& view,
                        GroupTable::Clock::time_point now, int rows, int columns);

/// "12 s", "3 min", "5 h", "2 d"
std::string AgeText(std::chrono::nanoseconds age);

} // namespace OrvelClient
