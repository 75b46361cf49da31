#include "Knx/BusyPause.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace std::chrono_literals;
using Knx::BusyPause;

namespace
{

constexpr BusyPause::Clock::time_point Begin{1h};

TEST(BusyPause, ThereIsNoneAtFirst)
{
    EXPECT_LE(BusyPause(1).End(), Begin);
}

TEST(BusyPause, LastsAsLongAsAskedForAndARandomTimeOfUpTo50ms)
{
    auto shortest = 1h + 0ns;
    auto longest = 0ns;
    for (unsigned seed = 1; seed < 1000; ++seed)
    {
        BusyPause pause(seed);
        pause.OnBusy(100ms, Begin);
        shortest = std::min(shortest, pause.End() - Begin);
        longest = std::max(longest, pause.End() - Begin);
    }
    EXPECT_GE(shortest, 100ms);
    EXPECT_LE(shortest, 102ms);
    EXPECT_GE(longest, 148ms);
    EXPECT_LE(longest, 150ms);
}

// The longest of many pauses, each after `count` datagrams `apart`, seen from the last of them.
std::chrono::nanoseconds Longest(int count, std::chrono::milliseconds apart, std::chrono::milliseconds later = 0ms)
{
    auto longest = 0ns;
    for (unsigned seed = 1; seed < 1000; ++seed)
    {
        BusyPause pause(seed);
        auto now = Begin;
        for (int number = 0; number < count; ++number)
        {
            now = Begin + number * apart;
            pause.OnBusy(0ms, now);
        }
        if (later > 0ms)
        {
            now = pause.End() + later;
            pause.OnBusy(0ms, now);
        }
        longest = std::max(longest, pause.End() - now);
    }
    return longest;
}

TEST(BusyPause, TheRandomTimeGrowsWithEachRequest)
{
    EXPECT_GE(Longest(10, 10ms), 480ms);
    EXPECT_LE(Longest(10, 10ms), 500ms);
}

TEST(BusyPause, SeveralRequestsWithinTenMillisecondsAreOne)
{
    EXPECT_LE(Longest(2, 9ms), 50ms);
}

TEST(BusyPause, RequestsAreForgottenOneAfterTheOther)
{
    // Ten are remembered for a second from the end of the pause, and then one is forgotten each 5 ms.
    EXPECT_GE(Longest(10, 10ms, 1000ms), 530ms);
    EXPECT_LE(Longest(10, 10ms, 1000ms), 550ms);
    EXPECT_GE(Longest(10, 10ms, 1025ms), 280ms);
    EXPECT_LE(Longest(10, 10ms, 1025ms), 300ms);
    EXPECT_LE(Longest(10, 10ms, 1050ms), 50ms);
}

TEST(BusyPause, AShorterOneDoesNotEndALongerOne)
{
    BusyPause pause(1);
    pause.OnBusy(1000ms, Begin);
    pause.OnBusy(0ms, Begin + 1ms);
    EXPECT_GE(pause.End(), Begin + 1000ms);
}

} // namespace
