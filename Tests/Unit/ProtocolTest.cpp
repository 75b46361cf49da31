#include "Orvel/Protocol.h"

#include "ProtocolValues.h"

#include <gtest/gtest.h>

#include <array>

namespace
{

constexpr ProtocolValues ProtocolAsCpp = PROTOCOL_VALUES;

// Applications were built with these values, so none of them may ever change.
const std::array<ProtocolValues, 2> BothLanguages{ProtocolAsC, ProtocolAsCpp};

TEST(Protocol, NamesTheQueues)
{
    for (const ProtocolValues& values : BothLanguages)
    {
        EXPECT_STREQ(values.cemiToLlQueue, "/cemiToLL");
        EXPECT_STREQ(values.cemiFromLlQueue, "/cemiFromLL");
        EXPECT_STREQ(values.progButtonQueue, "/progButton");
    }
}

TEST(Protocol, GivesTheSizesOfCemiMessages)
{
    for (const ProtocolValues& values : BothLanguages)
    {
        EXPECT_EQ(values.cemiMessageSize, 261);
        EXPECT_EQ(values.cemiQueueCapacity, 14);
        EXPECT_EQ(values.cemiMaxFrameToLl, 255);
        EXPECT_EQ(values.cemiMaxFrameFromLl, 260);
    }
}

TEST(Protocol, GivesTheBytesOfLinkStateMessages)
{
    for (const ProtocolValues& values : BothLanguages)
    {
        EXPECT_EQ(values.linkStateCode, 0xB9);
        EXPECT_EQ(values.linkStateMessageSize, 4);
        EXPECT_EQ(values.linkStateUsable, 0x0001);
        EXPECT_EQ(values.linkStateLost, 0xFFFF);
    }
}

TEST(Protocol, GivesTheBytesOfButtonMessages)
{
    for (const ProtocolValues& values : BothLanguages)
    {
        EXPECT_EQ(values.progButtonMessageSize, 1);
        EXPECT_EQ(values.progButtonQueueCapacity, 6);
        EXPECT_EQ(values.progButtonPressed, 0);
        EXPECT_EQ(values.progButtonReleased, 1);
    }
}

} // namespace
