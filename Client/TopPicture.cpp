#include "TopPicture.h"

#include "Knx/GroupAddress.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace OrvelClient
{

namespace
{

using System::Picture;
using System::Style;
using Order = GroupTable::Order;

// Rows.
constexpr int LoadRow = 1;
constexpr int HeadingRow = 2;
constexpr int FirstGroupRow = 3;
constexpr int RowsAround = FirstGroupRow + 1; // and the one with the keys

// Columns. Numbers end before the column behind theirs, with a blank between them.
constexpr int AddressColumn = 1;
constexpr int AgeColumn = 11;
constexpr int RateColumn = 18;
constexpr int CountColumn = 26;
constexpr int ValueColumn = 36;
constexpr int LeastValueWidth = 14;
constexpr int MostValueWidth = 40;

std::string Right(const std::string& text, int width)
{
    const auto size = static_cast<std::size_t>(width);
    return text.size() < size ? std::string(size - text.size(), ' ') + text : text;
}

// The name takes what the value leaves of the row.
int ValueWidth(int columns)
{
    return std::clamp((columns - ValueColumn) / 3, LeastValueWidth, MostValueWidth);
}

void DrawLoad(Picture& picture, std::size_t groups, const GroupTable::Load& load, const TopView& view)
{
    std::array<char, 100> text{};
    std::snprintf(text.data(), text.size(), "telegrams %llu, %.1f/s, bus load %.1f %%, groups %zu",
                  static_cast<unsigned long long>(load.telegrams), load.rate, load.percent, groups);
    int column = picture.Put(LoadRow, AddressColumn, text.data());
    if (view.dropped > 0)
    {
        column = picture.Put(LoadRow, column, ", ");
        column = picture.Put(LoadRow, column, "dropped " + std::to_string(view.dropped), Style::Alarm);
    }
    if (!view.notice.empty())
    {
        picture.Put(LoadRow, column, "; " + view.notice, Style::Faint);
    }
}

void DrawHeading(Picture& picture, const TopView& view)
{
    // An arrow stands before what the groups are sorted by: down where the usual first is at the top.
    const auto title = [&view](const std::string& name, Order order) {
        return (order != view.order ? "" : view.reversed ? "^" : "v") + name;
    };
    picture.PutBar(HeadingRow, "", Style::Bar);
    picture.Put(HeadingRow, AddressColumn, title("GROUP", Order::Address), Style::Bar);
    picture.Put(HeadingRow, AgeColumn, Right(title("AGE", Order::Age), RateColumn - AgeColumn - 1), Style::Bar);
    picture.Put(HeadingRow, RateColumn, Right(title("/MIN", Order::Rate), CountColumn - RateColumn - 1), Style::Bar);
    picture.Put(HeadingRow, CountColumn, Right(title("COUNT", Order::Count), ValueColumn - CountColumn - 2),
                Style::Bar);
    picture.Put(HeadingRow, ValueColumn, "VALUE", Style::Bar);
    picture.Put(HeadingRow, ValueColumn + ValueWidth(picture.Columns()) + 1, title("NAME", Order::Name), Style::Bar);
}

void DrawGroup(Picture& picture, int row, const GroupTable::Group& group, GroupTable::Clock::time_point now)
{
    const int width = ValueWidth(picture.Columns());
    picture.Put(row, AddressColumn, Knx::GroupAddress(group.address));
    picture.Put(row, AgeColumn, Right(AgeText(now - group.since), RateColumn - AgeColumn - 1));
    picture.Put(row, RateColumn, Right(std::to_string(group.lately), CountColumn - RateColumn - 1));
    picture.Put(row, CountColumn, Right(std::to_string(group.count), ValueColumn - CountColumn - 2));
    if (group.value.empty())
    {
        picture.PutWithin(row, ValueColumn, width, "(only read)", Style::Faint);
    }
    else
    {
        picture.PutWithin(row, ValueColumn, width, group.value);
    }
    picture.Put(row, ValueColumn + width + 1, group.name);
}

} // namespace

std::size_t RoomForGroups(int rows)
{
    return static_cast<std::size_t>(std::max(rows - RowsAround, 0));
}

Picture DrawTop(const std::vector<GroupTable::Group>& groups, const GroupTable::Load& load, const TopView& view,
                GroupTable::Clock::time_point now, int rows, int columns)
{
    Picture picture(rows, columns);
    picture.PutBar(0, " orvelctl top: " + view.way + (view.link.empty() ? "" : ", link " + view.link), Style::Bar);
    DrawLoad(picture, groups.size(), load, view);
    DrawHeading(picture, view);
    const std::size_t end = std::min(groups.size(), view.first + RoomForGroups(rows));
    int row = FirstGroupRow;
    for (std::size_t index = std::min(view.first, end); index < end; ++index)
    {
        DrawGroup(picture, row++, groups[index], now);
    }
    picture.PutBar(rows - 1, " a group  n name  g age  m /min  c count, again: reverse  arrows scroll  q quit",
                   Style::Bar);
    return picture;
}

std::string AgeText(std::chrono::nanoseconds age)
{
    using namespace std::chrono;
    constexpr int64_t minute = 60;
    constexpr int64_t hour = 60 * minute;
    constexpr int64_t day = 24 * hour;
    const int64_t passed = duration_cast<seconds>(age).count();
    if (passed < 2 * minute)
    {
        return std::to_string(passed) + " s";
    }
    if (passed < 2 * hour)
    {
        return std::to_string(passed / minute) + " min";
    }
    return passed < 2 * day ? std::to_string(passed / hour) + " h" : std::to_string(passed / day) + " d";
}

} // namespace OrvelClient
