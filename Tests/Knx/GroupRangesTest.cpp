#include "Knx/GroupRanges.h"

#include <gtest/gtest.h>

#include <string>

using Knx::GroupRanges;

namespace
{

bool Contain(const std::string& list, const std::string& address)
{
    return GroupRanges(list).Contain(Knx::ParseGroupAddress(address));
}

TEST(GroupRanges, WithoutAListContainAllGroups)
{
    EXPECT_TRUE(GroupRanges().Contain(0x0001));
    EXPECT_TRUE(GroupRanges().Contain(0xFFFF));
}

TEST(GroupRanges, ContainWhatOneOfTheListContains)
{
    const std::string list = "1/2/0-255,3/1/7,4/100-200,65535";
    for (const char* const address : {"1/2/0", "1/2/255", "3/1/7", "4/100", "4/0/200", "31/7/255"})
    {
        EXPECT_TRUE(Contain(list, address)) << address;
    }
    for (const char* const address : {"1/1/255", "1/3/0", "3/1/6", "3/1/8", "4/99", "4/201", "65534"})
    {
        EXPECT_FALSE(Contain(list, address)) << address;
    }
}

TEST(GroupRanges, RefuseAListWithAnythingElseInIt)
{
    for (const char* const list :
         {"", ",", "1/2/3,", ",1/2/3", "1/2/3,,1/2/4", "1/2/3, 1/2/4", "1/2/3;1/2/4", "1/2/256", "1/2/3,lamp"})
    {
        EXPECT_THROW(GroupRanges{list}, Knx::NotAGroupAddress) << list;
    }
}

} // namespace
