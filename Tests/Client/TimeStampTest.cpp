#include "TimeStamp.h"

#include <gtest/gtest.h>

#include <vector>

using namespace std::chrono_literals;
using OrvelClient::TimeStamp;
using OrvelClient::TimeStamper;

namespace
{

constexpr std::chrono::microseconds Start{1763719200123456};

TEST(TimeStamp, CountsFromTheEpochTheFirstOrTheOneBefore)
{
    TimeStamper absolute(TimeStamp::Absolute);
    TimeStamper relative(TimeStamp::Relative);
    TimeStamper delta(TimeStamp::Delta);
    const std::vector<std::vector<std::string>> expected{
        {"(1763719200.123456)", "(0.000000)", "(+0.000000)"},
        {"(1763719201.123456)", "(1.000000)", "(+1.000000)"},
        {"(1763719201.123556)", "(1.000100)", "(+0.000100)"},
    };
    const std::vector<std::chrono::microseconds> times{Start, Start + 1s, Start + 1s + 100us};
    for (std::size_t i = 0; i < times.size(); ++i)
    {
        EXPECT_EQ(absolute.Stamp(times[i]), expected[i][0]);
        EXPECT_EQ(relative.Stamp(times[i]), expected[i][1]);
        EXPECT_EQ(delta.Stamp(times[i]), expected[i][2]);
    }
}

TEST(TimeStamp, IsNotNegativeWhenTheClockWasSetBack)
{
    TimeStamper relative(TimeStamp::Relative);
    TimeStamper delta(TimeStamp::Delta);
    relative.Stamp(Start);
    delta.Stamp(Start);
    EXPECT_EQ(relative.Stamp(Start - 1s), "(0.000000)");
    EXPECT_EQ(delta.Stamp(Start - 1s), "(+0.000000)");
    EXPECT_EQ(delta.Stamp(Start), "(+1.000000)");
}

} // namespace
