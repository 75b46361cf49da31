#include "Names.h"
#include "GroupNames.h"

#include "Rejection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Knx::GroupAddresses;
using OrvelClient::AddressFrom;
using OrvelClient::Completions;
using OrvelClient::Matching;
using OrvelClient::Status;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

const GroupAddresses& House()
{
    static const GroupAddresses house({{0x0901, "Lights/Living room/Ceiling", "1.001", ""},
                                       {0x0A01, "Lights/Kitchen/Ceiling", "1.001", ""},
                                       {0x0A02, "", "1.001", ""},
                                       {0x2101, "Heating/Living room/Temperature", "9.001", ""}});
    return house;
}

std::vector<uint16_t> MatchingAddresses(const std::string& pattern)
{
    std::vector<uint16_t> addresses;
    for (const Knx::NamedGroup* group : Matching(House(), pattern))
    {
        addresses.push_back(group->address);
    }
    return addresses;
}

TEST(AddressFrom, TakesAnAddressWithAndWithoutNames)
{
    EXPECT_EQ(AddressFrom("1/2/3", {}), 0x0A03);
    EXPECT_EQ(AddressFrom("1/2/3", House()), 0x0A03);
    EXPECT_EQ(AddressFrom("1/515", House()), 0x0A03);
    EXPECT_EQ(AddressFrom("2563", House()), 0x0A03);
}

TEST(AddressFrom, TakesANameOrItsLastLevels)
{
    EXPECT_EQ(AddressFrom("Lights/Living room/Ceiling", House()), 0x0901);
    EXPECT_EQ(AddressFrom("Living room/Ceiling", House()), 0x0901);
    EXPECT_EQ(AddressFrom("Temperature", House()), 0x2101);
}

TEST(AddressFrom, NamesTheCandidatesOfAnAmbiguousName)
{
    EXPECT_REJECTED(AddressFrom("Ceiling", House()), Status::NotUnderstood,
                    "'Ceiling' is ambiguous: 1/1/1 Lights/Living room/Ceiling, 1/2/1 Lights/Kitchen/Ceiling");
    const GroupAddresses many({{1, "a/x", "", ""},
                               {2, "b/x", "", ""},
                               {3, "c/x", "", ""},
                               {4, "d/x", "", ""},
                               {5, "e/x", "", ""},
                               {6, "f/x", "", ""},
                               {7, "g/x", "", ""}},
                              Knx::GroupAddressStyle::Free);
    EXPECT_REJECTED(AddressFrom("x", many), Status::NotUnderstood,
                    "'x' is ambiguous: 1 a/x, 2 b/x, 3 c/x, 4 d/x, 5 e/x and 2 more");
}

TEST(AddressFrom, SaysWhatIsNeitherAnAddressNorAName)
{
    EXPECT_REJECTED(AddressFrom("Cellar", House()), Status::NotUnderstood,
                    "no group has the name 'Cellar'; 'orvelctl names' lists them");
    EXPECT_REJECTED(AddressFrom("", House()), Status::NotUnderstood,
                    "no group has the name ''; 'orvelctl names' lists them");
    EXPECT_REJECTED(AddressFrom("1/8/3", House()), Status::NotUnderstood,
                    "'1/8/3' is no group address: 8 should be 0 to 7");
    EXPECT_REJECTED(AddressFrom("Cellar", {}), Status::NotUnderstood,
                    "'Cellar' is no group address such as 1/2/3, 1/515 or 2563, and there "
                    "are no names");
}

TEST(Names, MatchAPatternOfAddresses)
{
    EXPECT_THAT(MatchingAddresses("1/2/*"), ElementsAre(0x0A01, 0x0A02));
    EXPECT_THAT(MatchingAddresses("1/1-2/1"), ElementsAre(0x0901, 0x0A01));
    EXPECT_THAT(MatchingAddresses("4/1/1"), ElementsAre(0x2101));
    EXPECT_THAT(MatchingAddresses("5/*"), IsEmpty());
}

TEST(Names, MatchAnAddressThatIsAlsoAPartOfAName)
{
    const Knx::GroupAddresses groups(std::vector<Knx::NamedGroup>{
        {0x000C, "Pump", "", ""}, {0x0A01, "Lamp 12", "", ""}, {0x0A02, "Lamp 13", "", ""}});
    const auto matching = Matching(groups, "12");
    ASSERT_EQ(matching.size(), 2);
    EXPECT_EQ(matching[0]->name, "Pump"); // 0/0/12
    EXPECT_EQ(matching[1]->name, "Lamp 12");
}

TEST(Names, MatchAPartOfTheNameInAnyCase)
{
    EXPECT_THAT(MatchingAddresses("LIVING room"), ElementsAre(0x0901, 0x2101));
    EXPECT_THAT(MatchingAddresses("eil"), ElementsAre(0x0901, 0x0A01));
    EXPECT_THAT(MatchingAddresses("Cellar"), IsEmpty());
}

TEST(Names, AreAllThereWithoutAPattern)
{
    EXPECT_THAT(MatchingAddresses(""), ElementsAre(0x0901, 0x0A01, 0x0A02, 0x2101));
}

TEST(Names, SayWhichPatternIsNone)
{
    EXPECT_REJECTED(Matching(House(), "1/8/*"), Status::NotUnderstood,
                    "'1/8/*' is no group address: 8 should be 0 to 7");
}

TEST(Names, AreCompletedFromTheirBegin)
{
    EXPECT_THAT(Completions(House(), "Lights/L"), ElementsAre("Lights/Living room/Ceiling"));
    EXPECT_THAT(Completions(House(), ""),
                ElementsAre("Lights/Living room/Ceiling", "Lights/Kitchen/Ceiling", "Heating/Living room/Temperature"));
}

TEST(Names, AreCompletedFromALaterLevelWhereNoneBeginsSo)
{
    EXPECT_THAT(Completions(House(), "Liv"), ElementsAre("Living room/Ceiling", "Living room/Temperature"));
    EXPECT_THAT(Completions(House(), "Kitchen/"), ElementsAre("Kitchen/Ceiling"));
    EXPECT_THAT(Completions(House(), "iv"), IsEmpty());
}

TEST(Names, AreAddressesWhereNoNameBeginsSo)
{
    EXPECT_THAT(Completions(House(), "1/2/"), ElementsAre("1/2/1", "1/2/2"));
}

} // namespace
