// Both ends of the serial line with each other, and with one clock. Each has the other's numbers in its own words, so that a
// mistake in one of them is seen here.

#include "Firmware.h"
#include "HostSession.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

using namespace std::chrono_literals;
using namespace Simulator;

namespace
{

class Conversation : public testing::Test
{
protected:
    // What both say reaches the other at once.
    void Pass(std::chrono::milliseconds time)
    {
        for (const auto end = now + time; now < end; now += 1ms)
        {
            firmware.OnTime(now);
            if (const auto frame = host.OnTime(now))
            {
                firmware.TakeIn(Wire::Encode(*frame), now);
            }
            for (Bytes due = firmware.Due(now); !due.empty(); due = firmware.Due(now))
            {
                decoder.Feed(due.data(), due.size(), [this](const Wire::Frame& frame) { host.OnFrame(frame, now); });
                firmware.OnSent(due.size());
            }
        }
    }

    void Reset()
    {
        firmware.SetResetLine(false, now);
        Pass(2ms);
        firmware.SetResetLine(true, now);
    }

    int LinksUp() const
    {
        return static_cast<int>(std::count(happened.begin(), happened.end(), Event::LinkUp));
    }

    HostSession::Clock::time_point now{1h};
    std::vector<Event> happened;
    HostSession host;
    Wire::Decoder decoder;
    Firmware firmware{
        {[this](const Event& event) { happened.push_back(event); }, [](const Firmware::Request&) { return false; }}};
};

TEST_F(Conversation, BringsTheLinkUpAndKeepsIt)
{
    host.Start(now, 1s);
    Pass(60s);
    EXPECT_TRUE(host.IsUp());
    EXPECT_EQ(LinksUp(), 1);
}

TEST_F(Conversation, GreetsUntilTheCoProcessorHasBooted)
{
    firmware.SetResetLine(false, now);
    host.Start(now, 1s);
    Pass(500ms);
    EXPECT_TRUE(host.IsStarting());
    firmware.SetResetLine(true, now);
    Pass(100ms);
    EXPECT_TRUE(host.IsUp());
}

TEST_F(Conversation, NoticesACoProcessorThatRebooted)
{
    host.Start(now, 1s);
    Pass(1s);
    Reset();
    Pass(500ms);
    EXPECT_TRUE(host.IsUp()) << "not yet";
    Pass(1s);
    EXPECT_FALSE(host.IsUp());
    host.Start(now, 5s);
    Pass(10ms);
    EXPECT_TRUE(host.IsUp());
    EXPECT_EQ(LinksUp(), 2);
}

TEST_F(Conversation, NoticesACoProcessorThatHangsAndBringsTheLinkUpAfterItsReset)
{
    host.Start(now, 1s);
    Pass(1s);
    firmware.Hang();
    Pass(1500ms);
    EXPECT_FALSE(host.IsUp());
    host.Start(now, 5s);
    Pass(1s);
    EXPECT_TRUE(host.IsStarting()) << "a hang is over with a reset only";
    Reset();
    Pass(100ms);
    EXPECT_TRUE(host.IsUp());
}

TEST_F(Conversation, ACoProcessorThatAnswersLateIsStillServed)
{
    firmware.SetDelay(300ms);
    host.Start(now, 1s);
    Pass(60s);
    EXPECT_TRUE(host.IsUp());
    EXPECT_EQ(LinksUp(), 1);
}

TEST_F(Conversation, GarbageOnTheLineCostsNoLink)
{
    host.Start(now, 1s);
    Pass(1s);
    for (int count = 0; count < 100; ++count)
    {
        firmware.SendGarbage(Bytes(30, 0xA5), now);
        Pass(100ms);
    }
    EXPECT_TRUE(host.IsUp());
    EXPECT_GT(decoder.Rejected(), 0U);
}

} // namespace
