#include "GroupTable.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace std::chrono_literals;
using Knx::FromHex;
using OrvelClient::GroupTable;
using OrvelClient::KnownGroups;
using OrvelClient::Message;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::IsEmpty;
using Order = OrvelClient::GroupTable::Order;

namespace
{

const std::string Ceiling = "29 00 bc e0 11 01 0a 03 01 00 81";
const std::string Temperature = "29 00 bc e0 11 01 0a 04 03 00 80 0c 1a";
const std::string Unknown = "29 00 bc e0 11 01 0a 05 01 00 81";

class GroupTableTest : public testing::Test
{
protected:
    void Add(const std::string& hex, int times = 1)
    {
        Message message;
        message.frame = FromHex(hex);
        for (; times > 0; --times)
        {
            table.Add(message, now);
        }
    }

    std::vector<uint16_t> Addresses(Order order, bool reversed = false)
    {
        std::vector<uint16_t> addresses;
        for (const auto& group : table.Groups(order, reversed, now))
        {
            addresses.push_back(group.address);
        }
        return addresses;
    }

    // The only one.
    GroupTable::Group Group()
    {
        const auto groups = table.Groups(Order::Address, false, now);
        EXPECT_EQ(groups.size(), 1U);
        return groups.empty() ? GroupTable::Group() : groups.front();
    }

    const KnownGroups known{
        Knx::GroupAddresses({{0x0A03, "Lights/Ceiling", "1.001", ""}, {0x0A04, "Climate/Temperature", "9.001", ""}})};
    GroupTable::Clock::time_point now{1h};
    GroupTable table{known, now};
};

TEST_F(GroupTableTest, KeepsTheLastValueInWordsAndCountsTelegrams)
{
    Add(Temperature);
    now += 5s;
    Add("29 00 bc e0 11 01 0a 04 03 00 40 0c 33");
    EXPECT_EQ(Group().address, 0x0A04);
    EXPECT_EQ(Group().name, "Climate/Temperature");
    EXPECT_EQ(Group().value, "21.5 \u00b0C");
    EXPECT_EQ(Group().since, now);
    EXPECT_EQ(Group().count, 2U);
}

TEST_F(GroupTableTest, AReadCountsAndLeavesTheValueItsAge)
{
    Add("29 00 bc e0 11 01 0a 04 01 00 00");
    EXPECT_EQ(Group().value, "");
    EXPECT_EQ(Group().since, now);
    Add(Temperature);
    const auto came = now;
    now += 5s;
    Add("29 00 bc e0 11 01 0a 04 01 00 00");
    EXPECT_EQ(Group().value, "21 \u00b0C");
    EXPECT_EQ(Group().since, came);
    EXPECT_EQ(Group().count, 3U);
}

TEST_F(GroupTableTest, DoesNotGuessAValueWithoutAType)
{
    Add("29 00 bc e0 11 01 0a 05 03 00 80 0c 1a");
    EXPECT_EQ(Group().value, "0c1a");
    EXPECT_EQ(Group().name, "");
    Add("29 00 bc e0 11 01 0a 05 01 00 81");
    EXPECT_EQ(Group().value, "0x01");
}

TEST_F(GroupTableTest, ShowsDigitsWhereTheValueIsNoneOfTheType)
{
    Add("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_EQ(Group().value, "0x01");
}

TEST_F(GroupTableTest, CountsWhatWasOnTheBusAndOnlyThat)
{
    for (const char* const hex : {"11 00 bc e0 11 01 0a 03 01 00 81", // a request
                                  "2e 00 bd e0 11 01 0a 03 01 00 81", // was not sent
                                  "29 00 bc e0 11 01 0a 03 02 00 81", // is cut off
                                  "b9 00 01", "29 00", ""})
    {
        Add(hex);
    }
    EXPECT_THAT(Addresses(Order::Address), IsEmpty());
    EXPECT_EQ(table.BusLoad(now).telegrams, 0U);
    Add("29 00 b0 60 11 01 11 02 01 03 00"); // to a device: on the bus, but of no group
    EXPECT_THAT(Addresses(Order::Address), IsEmpty());
    EXPECT_EQ(table.BusLoad(now).telegrams, 1U);
    Add("2e 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_THAT(Addresses(Order::Address), ElementsAre(0x0A03));
}

TEST_F(GroupTableTest, TheRateIsThatOfTheLastMinute)
{
    Add(Ceiling, 3);
    now += 30s;
    Add(Ceiling);
    EXPECT_EQ(Group().lately, 4U);
    now += 30s - 1ms;
    EXPECT_EQ(Group().lately, 4U);
    now += 1ms;
    EXPECT_EQ(Group().lately, 1U);
    now += 30s;
    EXPECT_EQ(Group().lately, 0U);
    EXPECT_EQ(Group().count, 4U);
}

TEST_F(GroupTableTest, TheLoadIsThatOfTheLastTenSeconds)
{
    for (int second = 0; second < 20; ++second)
    {
        Add(Ceiling, 25);
        now += 1s;
    }
    const auto load = table.BusLoad(now - 1ms);
    EXPECT_EQ(load.telegrams, 500U);
    EXPECT_THAT(load.rate, DoubleNear(25, 0.1));
    EXPECT_THAT(load.percent, DoubleNear(50.5, 0.5));
    now += 10s;
    EXPECT_EQ(table.BusLoad(now).rate, 0);
    EXPECT_EQ(table.BusLoad(now).percent, 0);
    EXPECT_EQ(table.BusLoad(now).telegrams, 500U);
}

TEST_F(GroupTableTest, TheLoadOfTheFirstSecondsIsThatOfTheTimeThatHasPassed)
{
    Add(Ceiling, 10);
    EXPECT_THAT(table.BusLoad(now).rate, DoubleNear(10, 0.1)) << "as if a second had passed";
    now += 2s;
    EXPECT_THAT(table.BusLoad(now).rate, DoubleNear(5, 0.1));
    Add(Ceiling, 1000);
    EXPECT_EQ(table.BusLoad(now).percent, 100) << "more than a line can carry";
}

TEST_F(GroupTableTest, SortsEachWay)
{
    Add(Unknown);
    now += 1s;
    Add(Temperature, 3);
    now += 1s;
    Add(Ceiling, 2);
    EXPECT_THAT(Addresses(Order::Address), ElementsAre(0x0A03, 0x0A04, 0x0A05));
    EXPECT_THAT(Addresses(Order::Address, true), ElementsAre(0x0A05, 0x0A04, 0x0A03));
    EXPECT_THAT(Addresses(Order::Name), ElementsAre(0x0A04, 0x0A03, 0x0A05)) << "without a name last";
    EXPECT_THAT(Addresses(Order::Age), ElementsAre(0x0A03, 0x0A04, 0x0A05)) << "the youngest first";
    EXPECT_THAT(Addresses(Order::Rate), ElementsAre(0x0A04, 0x0A03, 0x0A05));
    EXPECT_THAT(Addresses(Order::Count), ElementsAre(0x0A04, 0x0A03, 0x0A05));
    EXPECT_THAT(Addresses(Order::Count, true), ElementsAre(0x0A05, 0x0A03, 0x0A04));
    now += 61s;
    Add(Unknown);
    EXPECT_THAT(Addresses(Order::Rate), ElementsAre(0x0A05, 0x0A03, 0x0A04)) << "by address where it is equal";
    EXPECT_THAT(Addresses(Order::Rate, true), ElementsAre(0x0A03, 0x0A04, 0x0A05));
    EXPECT_THAT(Addresses(Order::Count), ElementsAre(0x0A04, 0x0A03, 0x0A05));
}

} // namespace
