#include "Knx/GroupAddress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Knx::GroupAddress;
using Knx::GroupAddressPattern;
using Knx::GroupAddressStyle;
using Knx::ParseGroupAddress;
using testing::ElementsAre;

namespace
{

template<typename Parse>
std::string ProblemWith(const std::string& text, Parse parse)
{
    try
    {
        parse(text);
    }
    catch (const Knx::NotAGroupAddress& problem)
    {
        return problem.what();
    }
    return "none";
}

std::string ProblemOf(const std::string& text)
{
    return ProblemWith(text, ParseGroupAddress);
}

std::string PatternProblemOf(const std::string& text)
{
    return ProblemWith(text, [](const std::string& pattern) { return GroupAddressPattern(pattern); });
}

bool Contains(const std::string& pattern, const std::string& address)
{
    return GroupAddressPattern(pattern).Contains(ParseGroupAddress(address));
}

TEST(GroupAddress, IsWrittenInEachStyle)
{
    EXPECT_EQ(GroupAddress(0x0A03), "1/2/3");
    EXPECT_EQ(GroupAddress(0x0A03, GroupAddressStyle::TwoLevel), "1/515");
    EXPECT_EQ(GroupAddress(0x0A03, GroupAddressStyle::Free), "2563");
    EXPECT_EQ(GroupAddress(0xFFFF), "31/7/255");
    EXPECT_EQ(GroupAddress(0xFFFF, GroupAddressStyle::TwoLevel), "31/2047");
    EXPECT_EQ(GroupAddress(0xFFFF, GroupAddressStyle::Free), "65535");
}

TEST(GroupAddress, IsReadInEachStyle)
{
    EXPECT_EQ(ParseGroupAddress("1/2/3"), 0x0A03);
    EXPECT_EQ(ParseGroupAddress("1/515"), 0x0A03);
    EXPECT_EQ(ParseGroupAddress("2563"), 0x0A03);
    EXPECT_EQ(ParseGroupAddress("31/7/255"), 0xFFFF);
    EXPECT_EQ(ParseGroupAddress("31/2047"), 0xFFFF);
    EXPECT_EQ(ParseGroupAddress("65535"), 0xFFFF);
    EXPECT_EQ(ParseGroupAddress("0/0/1"), 1);
    EXPECT_EQ(ParseGroupAddress("01/002/0003"), 0x0A03);
}

TEST(GroupAddress, ReadsBackWhatItWritesForEveryAddress)
{
    for (const auto style : {GroupAddressStyle::ThreeLevel, GroupAddressStyle::TwoLevel, GroupAddressStyle::Free})
    {
        for (unsigned address = 1; address <= 0xFFFF; ++address)
        {
            ASSERT_EQ(ParseGroupAddress(GroupAddress(static_cast<uint16_t>(address), style)), address);
        }
    }
}

TEST(GroupAddress, RefusesOneThatAddressesAllDevices)
{
    EXPECT_EQ(ProblemOf("0/0/0"), "'0/0/0' addresses all devices, not a group");
    EXPECT_EQ(ProblemOf("0/0"), "'0/0' addresses all devices, not a group");
    EXPECT_EQ(ProblemOf("0"), "'0' addresses all devices, not a group");
}

TEST(GroupAddress, SaysWhichNumberIsTooLargeAndWhatItMayBe)
{
    EXPECT_EQ(ProblemOf("32/2/3"), "'32/2/3' is no group address: 32 should be 0 to 31");
    EXPECT_EQ(ProblemOf("1/8/3"), "'1/8/3' is no group address: 8 should be 0 to 7");
    EXPECT_EQ(ProblemOf("1/2/256"), "'1/2/256' is no group address: 256 should be 0 to 255");
    EXPECT_EQ(ProblemOf("1/2048"), "'1/2048' is no group address: 2048 should be 0 to 2047");
    EXPECT_EQ(ProblemOf("65536"), "'65536' is no group address: 65536 should be 0 to 65535");
    EXPECT_EQ(ProblemOf("1/2/99999999999999999999"),
              "'1/2/99999999999999999999' is no group address: 99999999999999999999 should be 0 to 255");
}

TEST(GroupAddress, SaysWhatAnAddressLooksLikeWhenTheTextIsNone)
{
    for (const std::string text : {"", "/", "1/", "/2/3", "1//3", "1/2/3/4", "1.2.3", "-1/2/3", "+1/2/3", " 1/2/3",
                                   "1/2/3 ", "1/2/*", "1/2/3-4", "0x1", "Living room/Ceiling"})
    {
        EXPECT_EQ(ProblemOf(text), "'" + text + "' is no group address such as 1/2/3, 1/515 or 2563");
    }
}

TEST(GroupAddress, IsToldFromANameByItsDigitsAndSlashes)
{
    EXPECT_TRUE(Knx::LooksLikeGroupAddress("1/2/3"));
    EXPECT_TRUE(Knx::LooksLikeGroupAddress("1/515"));
    EXPECT_TRUE(Knx::LooksLikeGroupAddress("2563"));
    EXPECT_TRUE(Knx::LooksLikeGroupAddress("99/99/999"));
    EXPECT_FALSE(Knx::LooksLikeGroupAddress(""));
    EXPECT_FALSE(Knx::LooksLikeGroupAddress("/1"));
    EXPECT_FALSE(Knx::LooksLikeGroupAddress("1. floor/Lamp"));
    EXPECT_FALSE(Knx::LooksLikeGroupAddress("Lamp 1"));
}

TEST(GroupAddressPattern, ContainsOneAddressInEachStyle)
{
    for (const std::string pattern : {"1/2/3", "1/515", "2563"})
    {
        EXPECT_TRUE(Contains(pattern, "1/2/3")) << pattern;
        EXPECT_FALSE(Contains(pattern, "1/2/4")) << pattern;
        EXPECT_FALSE(Contains(pattern, "1/3/3")) << pattern;
        EXPECT_FALSE(Contains(pattern, "2/2/3")) << pattern;
        EXPECT_THAT(GroupAddressPattern(pattern).Addresses(), ElementsAre(0x0A03));
    }
}

TEST(GroupAddressPattern, ContainsAllNumbersWhereALevelIsAnAsterisk)
{
    EXPECT_TRUE(Contains("1/2/*", "1/2/1"));
    EXPECT_TRUE(Contains("1/2/*", "1/2/255"));
    EXPECT_FALSE(Contains("1/2/*", "1/3/0"));
    EXPECT_TRUE(Contains("*/2/3", "31/2/3"));
    EXPECT_FALSE(Contains("*/2/3", "31/1/3"));
    EXPECT_TRUE(Contains("1/*", "1/7/255"));
    EXPECT_FALSE(Contains("1/*", "2/0/0"));
    EXPECT_TRUE(Contains("*", "31/7/255"));
}

TEST(GroupAddressPattern, ContainsBothEndsOfARange)
{
    EXPECT_FALSE(Contains("1/2/10-20", "1/2/9"));
    EXPECT_TRUE(Contains("1/2/10-20", "1/2/10"));
    EXPECT_TRUE(Contains("1/2/10-20", "1/2/20"));
    EXPECT_FALSE(Contains("1/2/10-20", "1/2/21"));
    EXPECT_TRUE(Contains("0-1/2-3/*", "1/3/200"));
    EXPECT_FALSE(Contains("0-1/2-3/*", "1/4/200"));
}

TEST(GroupAddressPattern, DividesTheAddressByItsNumberOfLevels)
{
    EXPECT_TRUE(Contains("1/0-300", "1/1/44"));
    EXPECT_FALSE(Contains("1/0-300", "1/1/45"));
    EXPECT_TRUE(Contains("512-1023", "0/3/255"));
    EXPECT_FALSE(Contains("512-1023", "0/4/0"));
}

TEST(GroupAddressPattern, ListsItsAddressesInOrderWithoutTheOneOfAllDevices)
{
    EXPECT_THAT(GroupAddressPattern("0-1/0/0-2").Addresses(), ElementsAre(0x0001, 0x0002, 0x0800, 0x0801, 0x0802));
    EXPECT_EQ(GroupAddressPattern("*").Addresses().size(), 65535U);
    EXPECT_TRUE(GroupAddressPattern("0/0/0").Contains(0));
    EXPECT_TRUE(GroupAddressPattern("0/0/0").Addresses().empty());
}

TEST(GroupAddressPattern, SaysWhatIsWrong)
{
    for (const std::string text :
         {"", "1/2/", "1/2/3/*", "1/2/a", "1/2/-", "1/2/-3", "1/2/3-", "1/2/1-2-3", "1/2/**", "Lamp"})
    {
        EXPECT_EQ(PatternProblemOf(text),
                  "'" + text + "' is no group address or pattern such as 1/2/3, 1/2/* or 1/2/0-9");
    }
    EXPECT_EQ(PatternProblemOf("1/2/9-3"), "'1/2/9-3' has a range that ends before it begins: 9-3");
    EXPECT_EQ(PatternProblemOf("1/2/0-256"), "'1/2/0-256' is no group address: 0-256 should be 0 to 255");
    EXPECT_EQ(PatternProblemOf("1/300-2/3"), "'1/300-2/3' is no group address: 300-2 should be 0 to 7");
}

} // namespace
