#include "Pace.h"

#include <gtest/gtest.h>

using OrvelClient::Pace;
using namespace std::chrono_literals;

namespace
{

constexpr Pace::Clock::time_point Start(1h);

TEST(Pace, LetsTheFirstOneGoAtOnceAndEachLaterOneAfterAnInterval)
{
    Pace pace(20);
    EXPECT_EQ(pace.Due(Start), Start);
    EXPECT_EQ(pace.Due(Start), Start + 50ms);
    EXPECT_EQ(pace.Due(Start + 70ms), Start + 100ms);
    EXPECT_EQ(pace.Due(Start), Start + 150ms);
}

TEST(Pace, DoesNotCatchUpWithWhatWasNotReady)
{
    Pace pace(20);
    EXPECT_EQ(pace.Due(Start), Start);
    EXPECT_EQ(pace.Due(Start + 1s), Start + 1s);
    EXPECT_EQ(pace.Due(Start + 1s), Start + 1050ms);
}

TEST(Pace, KeepsItsSlowestAndItsFastest)
{
    Pace slowest(Pace::Slowest);
    slowest.Due(Start);
    EXPECT_EQ(slowest.Due(Start), Start + 1000s);
    Pace fastest(Pace::Fastest);
    fastest.Due(Start);
    EXPECT_EQ(fastest.Due(Start), Start + 10us);
}

} // namespace
