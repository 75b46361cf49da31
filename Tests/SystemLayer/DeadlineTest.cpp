#include "System/Deadline.h"

#include <gtest/gtest.h>

#include <limits>

using System::PollTimeout;
using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::steady_clock::time_point Now{1000s};

TEST(Deadline, IsReachedWhenPollReturns)
{
    EXPECT_EQ(PollTimeout(Now + 5ms, Now), 5);
    EXPECT_EQ(PollTimeout(Now + 5ms + 1ns, Now), 6);
    EXPECT_EQ(PollTimeout(Now + 1ns, Now), 1);
}

TEST(Deadline, ThatHasPassedIsNotWaitedFor)
{
    EXPECT_EQ(PollTimeout(Now, Now), 0);
    EXPECT_EQ(PollTimeout(Now - 1h, Now), 0);
}

TEST(Deadline, IsForEverWithoutOneAndLongWhereItIsFarAway)
{
    EXPECT_EQ(PollTimeout(System::NoDeadline, Now), -1);
    EXPECT_EQ(PollTimeout(Now + 24h * 365, Now), std::numeric_limits<int>::max());
}

} // namespace
