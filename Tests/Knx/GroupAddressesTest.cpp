#include "Knx/GroupAddresses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Knx::GroupAddresses;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

std::vector<uint16_t> Found(const GroupAddresses& groups, const std::string& name)
{
    std::vector<uint16_t> addresses;
    for (const Knx::NamedGroup* group : groups.Find(name))
    {
        addresses.push_back(group->address);
    }
    return addresses;
}

const GroupAddresses& House()
{
    static const GroupAddresses house({{0x2101, "Heating/Living room/Temperature", "9.001", "At the door"},
                                       {0x0901, "Lights/Living room/Ceiling", "1.001", ""},
                                       {0x0A01, "Lights/Kitchen/Ceiling", "1.001", ""},
                                       {0x0A02, "", "1.001", ""},
                                       {0xFFFF, "Temperature", "9.001", ""}});
    return house;
}

TEST(GroupAddresses, AreFoundByAddress)
{
    ASSERT_NE(House().At(0x0901), nullptr);
    EXPECT_EQ(House().At(0x0901)->name, "Lights/Living room/Ceiling");
    EXPECT_EQ(House().At(0x0901)->type, "1.001");
    EXPECT_EQ(House().At(0x2101)->description, "At the door");
    EXPECT_EQ(House().At(0xFFFF)->name, "Temperature");
    EXPECT_EQ(House().At(0x0902), nullptr);
    EXPECT_EQ(House().At(0), nullptr);
    EXPECT_EQ(GroupAddresses().At(0x0901), nullptr);
}

TEST(GroupAddresses, AreListedByAddress)
{
    std::vector<uint16_t> addresses;
    for (const Knx::NamedGroup& group : House().All())
    {
        addresses.push_back(group.address);
    }
    EXPECT_THAT(addresses, ElementsAre(0x0901, 0x0A01, 0x0A02, 0x2101, 0xFFFF));
}

TEST(GroupAddresses, AreFoundByTheirFullName)
{
    EXPECT_THAT(Found(House(), "Lights/Living room/Ceiling"), ElementsAre(0x0901));
    EXPECT_THAT(Found(House(), "Heating/Living room/Temperature"), ElementsAre(0x2101));
}

TEST(GroupAddresses, AreFoundByTheLastLevelsOfTheirName)
{
    EXPECT_THAT(Found(House(), "Living room/Ceiling"), ElementsAre(0x0901));
    EXPECT_THAT(Found(House(), "Kitchen/Ceiling"), ElementsAre(0x0A01));
}

TEST(GroupAddresses, AreCandidatesWhenSeveralEndWithTheName)
{
    EXPECT_THAT(Found(House(), "Ceiling"), ElementsAre(0x0901, 0x0A01));
}

TEST(GroupAddresses, AreNotAmbiguousWhereOneHasExactlyTheName)
{
    EXPECT_THAT(Found(House(), "Temperature"), ElementsAre(0xFFFF));
}

TEST(GroupAddresses, AreCandidatesWhenSeveralHaveExactlyTheName)
{
    const GroupAddresses groups({{1, "Lamp", "", ""}, {2, "Lamp", "", ""}, {3, "Hall/Lamp", "", ""}});
    EXPECT_THAT(Found(groups, "Lamp"), ElementsAre(1, 2));
}

TEST(GroupAddresses, AreNotFoundByOtherPartsOfTheirName)
{
    for (const std::string name : {"", "/", "Lights", "Lights/Living room", "Living room", "eiling", "room/Ceiling",
                                   "/Ceiling", "Ceiling/", "ceiling", "Lights/Living room/Ceiling/x"})
    {
        EXPECT_THAT(Found(House(), name), IsEmpty()) << name;
    }
}

} // namespace
