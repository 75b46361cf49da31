// The programming button on its queues.

#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

using Knx::Bytes;

namespace
{

const Bytes Pressed{0x00};
const Bytes Released{0x01};

using Button = OnBoard;

// A test awaits this before a press: a press before the answer would also be reported as a press since boot. If the
// answer comes before the daemon listens, it is lost.
constexpr const char* NotPressedSinceBoot = "DEBUG Buttons Programming button since boot was: released";

TEST_F(Button, APressAndAReleaseArriveInverted)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitFromStart(daemon, NotPressedSinceBoot));
    const Queue queue("/progButton", Queue::For::Reading);
    TheCoProcessor().SetButton(true);
    EXPECT_EQ(queue.Receive(), Pressed);
    TheCoProcessor().SetButton(false);
    EXPECT_EQ(queue.Receive(), Released);
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(daemon.Count("DEBUG Buttons Programming button state changed to: pressed"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Buttons Programming button state changed to: released"), 1);
}

TEST_F(Button, NoPressSinceBootSendsNothing)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitFromStart(daemon, NotPressedSinceBoot));
    const Queue queue("/progButton", Queue::For::Reading);
    EXPECT_EQ(queue.Pending(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Button, APressSinceBootArrivesThreeTimes)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue queue("/progButton", Queue::For::Reading);
    TheCoProcessor().Flood(0x101, {0x09, 0x01, 0x01}, 1);
    for (int time = 0; time < 3; ++time)
    {
        EXPECT_EQ(queue.Receive(), Pressed);
    }
    EXPECT_TRUE(daemon.AwaitLine("DEBUG Buttons <> - Programming button since boot was: pressed"));
    EXPECT_EQ(queue.ReceiveNow(), std::nullopt);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Button, AButtonThatIsHeldWhileTheDaemonStartsArrivesThreeTimes)
{
    TheCoProcessor().SetButton(true);
    Daemon daemon;
    ASSERT_TRUE(AwaitFromStart(daemon, "DEBUG Buttons Programming button since boot was: pressed"));
    const Queue queue("/progButton", Queue::For::Reading);
    for (int time = 0; time < 3; ++time)
    {
        EXPECT_EQ(queue.Receive(), Pressed);
    }
    TheCoProcessor().SetButton(false);
    EXPECT_EQ(queue.Receive(), Released);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Button, EachOfSeveralQueuesGetsEachEventAndTheDefaultQueueIsNotKeptBesideThem)
{
    Daemon daemon({"-p", "/one", "--prog_button_message_queue", "/two"});
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue one("/one", Queue::For::Reading);
    const Queue two("/two", Queue::For::Reading);
    TheCoProcessor().SetButton(true);
    EXPECT_EQ(one.Receive(), Pressed);
    EXPECT_EQ(two.Receive(), Pressed);
    EXPECT_FALSE(Queue::Exists("/progButton"));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_FALSE(Queue::Exists("/one") || Queue::Exists("/two"));
}

TEST_F(Button, AFullQueueLosesEventsWithALineEachAndTheDaemonGoesOn)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue queue("/progButton", Queue::For::Reading);
    TheCoProcessor().Flood(0x101, {0x07, 0x01, 0x01}, 7);
    EXPECT_TRUE(daemon.AwaitLine("ERROR Buttons <> - Failed to write programming button state to queue /progButton: "
                                 "Resource temporarily unavailable"));
    EXPECT_EQ(queue.Pending(), 6);
    EXPECT_EQ(queue.Receive(), Pressed);
    TheCoProcessor().Flood(0x101, {0x07, 0x01, 0x00}, 1);
    EXPECT_TRUE(Await([&] { return queue.Pending() == 6; }));
    EXPECT_EQ(daemon.Stop(), 0);
}

} // namespace
