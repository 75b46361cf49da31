#include "BusLoad.h"

#include <gtest/gtest.h>

using namespace OrvelGateway;
using namespace std::chrono_literals;

namespace
{

constexpr BusLoad::Clock::time_point Begin{1h};

TEST(BusLoad, IsTheShareOfTheTimeThatTheLineWasBusy)
{
    BusLoad load(Begin);
    EXPECT_DOUBLE_EQ(load.Take(2500ms, Begin + 10s), 25);
}

TEST(BusLoad, IsThatOfTheTimeSinceItWasLastAsked)
{
    BusLoad load(Begin);
    load.Take(2500ms, Begin + 10s);
    EXPECT_DOUBLE_EQ(load.Take(2500ms, Begin + 20s), 0);
    EXPECT_DOUBLE_EQ(load.Take(12500ms, Begin + 40s), 50);
}

TEST(BusLoad, IsAtMostAHundredPerCent)
{
    BusLoad load(Begin);
    EXPECT_DOUBLE_EQ(load.Take(11s, Begin + 10s), 100);
}

TEST(BusLoad, IsNothingWhileNoTimeHasPassed)
{
    BusLoad load(Begin);
    EXPECT_DOUBLE_EQ(load.Take(1s, Begin), 0);
}

} // namespace
