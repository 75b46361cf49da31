#include "TopPicture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace std::chrono_literals;
using namespace OrvelClient;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

const GroupTable::Clock::time_point Now{1h};

std::vector<GroupTable::Group> Groups()
{
    return {{0x0A03, "Lights/Living room/Ceiling", "On", Now - 3s, 12345, 17},
            {0x0A04, "", "0c1a", Now - 5min, 1, 0},
            {0x0A05, "Door", "", Now, 2, 2}};
}

std::vector<std::string> Rows(const System::Picture& picture)
{
    std::vector<std::string> rows;
    for (int row = 0; row < picture.Rows(); ++row)
    {
        rows.push_back(picture.Text(row));
    }
    return rows;
}

std::vector<std::string> Drawn(const TopView& view, int rows = 8, int columns = 80)
{
    return Rows(DrawTop(Groups(), {12348, 12.34, 25.24}, view, Now, rows, columns));
}

TopView View()
{
    TopView view;
    view.way = "the gateway";
    return view;
}

TEST(TopPicture, HasARowForEachGroup)
{
    EXPECT_THAT(Drawn(View()),
                ElementsAre(" orvelctl top: the gateway", " telegrams 12348, 12.3/s, bus load 25.2 %, groups 3",
                            " GROUP        AGE   v/MIN    COUNT  VALUE          NAME",
                            " 1/2/3        3 s      17    12345  On             Lights/Living room/Ceiling",
                            " 1/2/4      5 min       0        1  0c1a",
                            " 1/2/5        0 s       2        2  (only read)    Door", "",
                            " a group  n name  g age  m /min  c count, again: reverse  arrows scroll  q quit"));
}

TEST(TopPicture, MarksWhatTheGroupsAreSortedBy)
{
    TopView view = View();
    const auto heading = [&view](GroupTable::Order order, bool reversed)
    {
        view.order = order;
        view.reversed = reversed;
        return Drawn(view).at(2);
    };
    EXPECT_THAT(heading(GroupTable::Order::Address, false), StartsWith(" vGROUP"));
    EXPECT_THAT(heading(GroupTable::Order::Age, true), HasSubstr(" ^AGE "));
    EXPECT_THAT(heading(GroupTable::Order::Count, false), HasSubstr(" vCOUNT "));
    EXPECT_THAT(heading(GroupTable::Order::Name, true), EndsWith(" ^NAME"));
}

TEST(TopPicture, SaysHowTheBusIs)
{
    TopView view = View();
    view.link = "lost";
    view.dropped = 5;
    view.notice = "the gateway has ended";
    EXPECT_EQ(Drawn(view, 8, 120).at(0), " orvelctl top: the gateway, link lost");
    EXPECT_THAT(Drawn(view, 8, 120).at(1), EndsWith("groups 3, dropped 5; the gateway has ended"));
}

TEST(TopPicture, BeginsWithTheGroupThatItIsScrolledTo)
{
    TopView view = View();
    view.first = 1;
    EXPECT_THAT(Drawn(view).at(3), StartsWith(" 1/2/4 "));
    EXPECT_EQ(RoomForGroups(8), 4U);
    EXPECT_EQ(RoomForGroups(2), 0U);
}

TEST(TopPicture, CutsALongValueWhereTheNameBegins)
{
    auto groups = Groups();
    groups[0].value = std::string(100, 'x');
    const auto row = Rows(DrawTop(groups, {}, View(), Now, 8, 80)).at(3);
    EXPECT_THAT(row, HasSubstr("x> Lights/"));
}

TEST(TopPicture, FitsAnySize)
{
    for (int rows = 0; rows < 12; ++rows)
    {
        for (const int columns : {0, 1, 2, 10, 35, 36, 37, 52, 79, 80, 200})
        {
            for (const std::size_t first : {0, 2, 3, 1000})
            {
                TopView view = View();
                view.first = first;
                const auto picture = DrawTop(Groups(), {}, view, Now, rows, columns);
                EXPECT_EQ(picture.Rows(), rows);
                EXPECT_EQ(picture.Columns(), columns);
            }
        }
    }
}

TEST(TopPicture, TellsAnAgeInTheUnitThatAPersonThinksIn)
{
    EXPECT_EQ(AgeText(999ms), "0 s");
    EXPECT_EQ(AgeText(119s), "119 s");
    EXPECT_EQ(AgeText(2min), "2 min");
    EXPECT_EQ(AgeText(119min + 59s), "119 min");
    EXPECT_EQ(AgeText(2h), "2 h");
    EXPECT_EQ(AgeText(47h), "47 h");
    EXPECT_EQ(AgeText(48h), "2 d");
    EXPECT_EQ(AgeText(24000h), "1000 d");
}

} // namespace
