#include "Knx/IndividualAddress.h"

#include <gtest/gtest.h>

#include <string>

using Knx::IndividualAddressPattern;
using Knx::NotAnIndividualAddress;

namespace
{

constexpr uint16_t Address(unsigned area, unsigned line, unsigned device)
{
    return static_cast<uint16_t>(area << 12U | line << 8U | device);
}

std::string Problem(const std::string& text)
{
    try
    {
        IndividualAddressPattern{text};
    }
    catch (const NotAnIndividualAddress& problem)
    {
        return problem.what();
    }
    return "none";
}

TEST(IndividualAddressPattern, IsAnAddress)
{
    const IndividualAddressPattern pattern("1.2.3");
    EXPECT_TRUE(pattern.Contains(Address(1, 2, 3)));
    for (const uint16_t other : {Address(2, 2, 3), Address(1, 1, 3), Address(1, 2, 4), Address(0, 0, 0)})
    {
        EXPECT_FALSE(pattern.Contains(other)) << other;
    }
    EXPECT_TRUE(IndividualAddressPattern("15.15.255").Contains(UINT16_MAX));
    EXPECT_TRUE(IndividualAddressPattern("0.0.0").Contains(0));
}

TEST(IndividualAddressPattern, HasAsterisksAndRanges)
{
    EXPECT_TRUE(IndividualAddressPattern("1.2.*").Contains(Address(1, 2, 255)));
    EXPECT_FALSE(IndividualAddressPattern("1.2.*").Contains(Address(1, 3, 255)));
    EXPECT_TRUE(IndividualAddressPattern("*.2.3").Contains(Address(15, 2, 3)));
    EXPECT_TRUE(IndividualAddressPattern("1.0-2.9-9").Contains(Address(1, 2, 9)));
    EXPECT_FALSE(IndividualAddressPattern("1.0-2.9-9").Contains(Address(1, 3, 9)));
    EXPECT_FALSE(IndividualAddressPattern("1.0-2.9-9").Contains(Address(1, 2, 8)));
}

TEST(IndividualAddressPattern, EndsWithAnAsteriskForAllThatFollows)
{
    EXPECT_TRUE(IndividualAddressPattern("*").Contains(Address(9, 9, 9)));
    EXPECT_TRUE(IndividualAddressPattern("1.*").Contains(Address(1, 9, 9)));
    EXPECT_FALSE(IndividualAddressPattern("1.*").Contains(Address(2, 9, 9)));
}

TEST(IndividualAddressPattern, SaysWhatItIsNot)
{
    const std::string such = "' is no individual address or pattern such as 1.1.5, 1.1.* or 1.1.0-9";
    for (const char* const text :
         {"", "1", "1.2", "1.2.3.4", "1.2.", ".2.3", "a.2.3", "1.2.-3", "1.2.3-", "1/2/3", "**", "1.2.3 "})
    {
        EXPECT_EQ(Problem(text), std::string("'") + text + such);
    }
    EXPECT_EQ(Problem("16.2.3"), "'16.2.3' is no individual address: 16 should be 0 to 15");
    EXPECT_EQ(Problem("1.2.99999999999"), "'1.2.99999999999' is no individual address: 99999999999 should be 0 to 255");
    EXPECT_EQ(Problem("1.2.9-3"), "'1.2.9-3' has a range that ends before it begins: 9-3");
}

} // namespace
