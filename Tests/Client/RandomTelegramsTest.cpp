#include "RandomTelegrams.h"

#include "KnownGroups.h"

#include "Knx/CemiMessage.h"
#include "Knx/CemiNames.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

using Knx::Bytes;
using Knx::ToHex;
using OrvelClient::RandomTelegrams;

namespace
{

const std::vector<RandomTelegrams::Group> Groups{{0x0A03}, {0x0A04}, {0xFFFF}};

TEST(RandomTelegrams, AreCompleteRequestsForGroups)
{
    RandomTelegrams telegrams(1, Groups);
    std::set<uint16_t> groups;
    for (int i = 0; i < 5000; ++i)
    {
        const Bytes frame = telegrams.Next();
        const auto message = Knx::Decode(frame);
        ASSERT_TRUE(message.problems.empty()) << ToHex(frame);
        ASSERT_TRUE(message.Is(Knx::MessageCode::LDataReq));
        ASSERT_TRUE(message.IsGroupAddressed());
        groups.insert(*message.destination);
        ASSERT_EQ(message.source, 0);
        ASSERT_FALSE(message.ErrorBit());
        ASSERT_LE(frame.size(), 255);
        ASSERT_EQ(message.IsStandardFrame(), message.length <= 15);
        ASSERT_NE(Knx::NameOfPriority(message.Priority()), "system");
    }
    EXPECT_EQ(groups, (std::set<uint16_t>{0x0A03, 0x0A04, 0xFFFF}));
}

TEST(RandomTelegrams, AreOfAllKinds)
{
    RandomTelegrams telegrams(1, Groups);
    std::set<std::string> kinds;
    for (int i = 0; i < 5000; ++i)
    {
        const auto message = Knx::Decode(telegrams.Next());
        kinds.insert(std::string(Knx::ServiceOf(*message.apci).name) + (message.payload.empty() ? " short" : " long") +
                     (message.IsStandardFrame() ? "" : " extended"));
    }
    EXPECT_EQ(kinds,
              (std::set<std::string>{"A_GroupValue_Read short", "A_GroupValue_Write short", "A_GroupValue_Write long",
                                     "A_GroupValue_Write long extended", "A_GroupValue_Response short",
                                     "A_GroupValue_Response long", "A_GroupValue_Response long extended"}));
}

TEST(RandomTelegrams, AreTheSameForTheSameSeed)
{
    RandomTelegrams one(7, Groups);
    RandomTelegrams same(7, Groups);
    RandomTelegrams other(8, Groups);
    const Bytes first = one.Next();
    EXPECT_EQ(first, same.Next());
    EXPECT_NE(first, other.Next());
    EXPECT_EQ(ToHex(first), "11 00 bc e0 00 00 0a 04 01 00 00");
}

TEST(RandomTelegrams, HaveValuesOfTheTypesOfTheirGroups)
{
    for (const Knx::DatapointType& type : Knx::DatapointTypes())
    {
        RandomTelegrams telegrams(1, {{0x0A03, &type}});
        for (int i = 0; i < 20; ++i)
        {
            const auto message = Knx::Decode(telegrams.Next());
            ASSERT_TRUE(message.problems.empty()) << type.Number();
            if (const auto value = OrvelClient::ValueOf(message))
            {
                EXPECT_NO_THROW(Encode(type, ToText(type, *value))) << type.Number(); // one that may be sent
            }
        }
    }
}

TEST(RandomTelegrams, HaveTemperaturesThatPeopleKnow)
{
    RandomTelegrams telegrams(1, {{0x0A03, Knx::FindDatapointType("9.001")}});
    for (int i = 0; i < 1000; ++i)
    {
        if (const auto value = OrvelClient::ValueOf(Knx::Decode(telegrams.Next())))
        {
            const double temperature = ToJson(*Knx::FindDatapointType("9.001"), *value).get<double>();
            EXPECT_GE(temperature, -20);
            EXPECT_LE(temperature, 100);
        }
    }
}

} // namespace
