// The link's sense of time, without waiting for any.

#include "HostSession.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <vector>

using namespace std::chrono_literals;
using Simulator::HostSession;
using Simulator::Wire::Kind;

namespace
{

constexpr auto Prompt = 2ms; // an answer of a machine that has time

// A link that is up, whose co-processor answers as the test wants it.
class HostSessionTest : public testing::Test
{
protected:
    HostSessionTest()
    {
        session.Start(now, 1s);
        const auto hello = session.OnTime(now);
        session.OnFrame({Kind::Welcome, 0, hello->payload}, now);
        now = *session.NextTime();
        EXPECT_TRUE(session.IsUp());
    }

    // Pings at `late` after their time; false when the link went down instead.
    bool Ping(HostSession::Clock::duration late = 0ms)
    {
        now = *session.NextTime() + late;
        const auto ping = session.OnTime(now);
        EXPECT_EQ(ping.has_value(), session.IsUp());
        return ping.has_value();
    }

    void Answer(HostSession::Clock::duration after)
    {
        now += after;
        session.OnFrame({Kind::Pong}, now);
    }

    void BePrompt(HostSession::Clock::duration time)
    {
        for (const auto end = now + time; now < end;)
        {
            ASSERT_TRUE(Ping());
            Answer(Prompt);
        }
    }

    // From the last sign of life on, with nothing but silence.
    HostSession::Clock::duration TimeUntilItIsLost()
    {
        const auto silentSince = now;
        while (now - silentSince < 1min && Ping())
        {
        }
        return now - silentSince;
    }

    HostSession session;
    HostSession::Clock::time_point now{1h};
};

TEST_F(HostSessionTest, TakesASilenceOfFivePingsForALostLink)
{
    BePrompt(10s);
    const auto lastPeriod = 200ms - Prompt;
    EXPECT_EQ(TimeUntilItIsLost(), lastPeriod + 5 * 200ms);
}

TEST_F(HostSessionTest, StaysUpWhereEachAnswerIsLate)
{
    for (int time = 0; time < 100; ++time)
    {
        for (int silent = 0; silent < 5; ++silent)
        {
            ASSERT_TRUE(Ping());
        }
        Answer(150ms); // to the first of the five, 950 ms after it
    }
}

TEST_F(HostSessionTest, LeavesACoProcessorThatAnsweredLateMoreTime)
{
    BePrompt(10s);
    ASSERT_TRUE(Ping());
    Answer(60ms);
    for (int silent = 0; silent < 25; ++silent)
    {
        ASSERT_TRUE(Ping()) << silent;
    }
    Answer(Prompt);
    BePrompt(10s);
}

TEST_F(HostSessionTest, LeavesTheCoProcessorMoreTimeWhenItWasLateItself)
{
    BePrompt(10s);
    ASSERT_TRUE(Ping(60ms));
    Answer(Prompt);
    for (int silent = 0; silent < 25; ++silent)
    {
        ASSERT_TRUE(Ping()) << silent;
    }
    Answer(Prompt);
    BePrompt(10s);
}

TEST_F(HostSessionTest, NoticesALostLinkAlsoOnABusyMachine)
{
    ASSERT_TRUE(Ping());
    Answer(60ms);
    EXPECT_EQ(TimeUntilItIsLost(), 140ms + 25 * 200ms);
}

TEST_F(HostSessionTest, NoticesALostLinkAlsoWhenItIsAlwaysLateItself)
{
    int pings = 0;
    while (pings < 100 && Ping(300ms))
    {
        ++pings;
    }
    EXPECT_EQ(pings, 25);
}

TEST_F(HostSessionTest, TakesAMachineForABusyOneForAMinute)
{
    ASSERT_TRUE(Ping());
    Answer(60ms);
    BePrompt(60s);
    EXPECT_LE(TimeUntilItIsLost(), 1200ms);
}

TEST_F(HostSessionTest, StaysUpWhilePingsAreAnswered)
{
    BePrompt(1min);
    EXPECT_TRUE(session.IsUp());
}

TEST_F(HostSessionTest, TakesAnyFrameAsASignOfLife)
{
    for (int count = 0; count < 100; ++count)
    {
        ASSERT_TRUE(Ping());
        now += Prompt;
        session.OnFrame({Kind::Message, 256, {1}}, now);
    }
}

// A session that the co-processor has not answered yet.
class HostSessionStart : public testing::Test
{
protected:
    HostSessionStart()
    {
        session.Start(now, 1s);
        hello = session.OnTime(now)->payload;
    }

    HostSession session;
    HostSession::Clock::time_point now{1h};
    std::vector<uint8_t> hello;
};

TEST_F(HostSessionStart, RepeatsTheSameHelloUntilItsTimeIsOver)
{
    int hellos = 1;
    while (session.IsStarting())
    {
        now = *session.NextTime();
        if (const auto frame = session.OnTime(now))
        {
            EXPECT_EQ(frame->kind, Kind::Hello);
            EXPECT_EQ(frame->payload, hello);
            ++hellos;
        }
    }
    EXPECT_EQ(hellos, 20) << "50 ms apart for 1 s";
    EXPECT_EQ(hello.size(), 4U);
    EXPECT_EQ(now, HostSession::Clock::time_point(1h + 1s));
    EXPECT_FALSE(session.IsUp());
}

TEST_F(HostSessionStart, IgnoresAWelcomeForAnotherSession)
{
    ++hello.at(3);
    session.OnFrame({Kind::Welcome, 0, hello}, now);
    EXPECT_TRUE(session.IsStarting());
}

TEST_F(HostSessionStart, IgnoresAnyAnswerToHelloButWelcome)
{
    for (const Kind kind : {Kind::Hello, Kind::Ping, Kind::Pong, Kind::Message})
    {
        session.OnFrame({kind, 0, hello}, now);
        EXPECT_TRUE(session.IsStarting());
    }
}

TEST_F(HostSessionStart, UsesAnotherNumberEachTime)
{
    session.Start(now, 1s);
    EXPECT_NE(session.OnTime(now)->payload, hello);
}

} // namespace
