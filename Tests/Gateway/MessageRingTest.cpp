#include "MessageRing.h"

#include <gtest/gtest.h>

#include <array>

using namespace OrvelGateway;

namespace
{

Message Numbered(uint8_t number)
{
    const std::array<uint8_t, 2> bytes{1, number};
    return {bytes.data(), bytes.size()};
}

TEST(MessageRing, GivesMessagesInTheirOrderAroundItsEnd)
{
    MessageRing ring(3);
    ring.Push(Numbered(0));
    for (uint8_t number = 1; number < 20; ++number)
    {
        EXPECT_FALSE(ring.IsFull());
        ring.Push(Numbered(number));
        EXPECT_EQ(ring.Count(), 2U);
        EXPECT_EQ(ring.Front().Data()[1], number - 1);
        ring.Pop();
    }
    ring.Push(Numbered(20));
    ring.Push(Numbered(21));
    EXPECT_TRUE(ring.IsFull());
}

TEST(MessageRing, UsesItsFirstPlacesAgainWhenItWasEmptied)
{
    MessageRing ring(1000);
    for (uint8_t number = 0; number < 100; ++number)
    {
        ring.Push(Numbered(number));
        EXPECT_EQ(ring.FrontPlace(), 0U);
        ring.Pop();
        EXPECT_EQ(ring.BackPlace(), 0U);
    }
    EXPECT_TRUE(ring.IsEmpty());
}

} // namespace
