// The link is lost, recovers, or is given up.

#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

using Knx::Bytes;
using Simulator::Event;
using testing::ElementsAre;

namespace
{

const Bytes LinkUsable{0x03, 0xB9, 0x00, 0x01};
const Bytes LinkLost{0x03, 0xB9, 0xFF, 0xFF};

using Link = OnBoard;

TEST_F(Link, ACoProcessorThatHangsIsResetAndReconnectedAndTheApplicationsAreTold)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(fromLink.Receive(), LinkUsable);

    TheCoProcessor().Hang();

    EXPECT_TRUE(AwaitEvent(Event::CoProcessorHangs));
    EXPECT_TRUE(AwaitEvent(Event::ResetLineLow));
    EXPECT_TRUE(AwaitEvent(Event::ResetLineHigh));
    EXPECT_TRUE(AwaitEvent(Event::CoProcessorBooted));
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_EQ(fromLink.Receive(), LinkUsable);
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(daemon.Count("ERROR Main Lost connection to STM32, resetting and trying to reconnect."), 1);
}

TEST_F(Link, FramesFlowAgainAfterARecovery)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(fromLink.Receive(), LinkUsable);
    TheCoProcessor().Hang();
    EXPECT_EQ(fromLink.Receive(), LinkUsable);

    TheCoProcessor().InjectTelegram({0x29, 0x00, 0x55});
    EXPECT_EQ(fromLink.Receive(), (Bytes{0x03, 0x29, 0x00, 0x55}));
    const Queue toLink("/cemiToLL", Queue::For::Writing);
    EXPECT_TRUE(toLink.Send({0x02, 0xAA, 0xBB}));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("aa bb")}));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Link, ACableThatIsPulledForAMomentIsSurvived)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    board->SetPlugged(false);
    ASSERT_TRUE(daemon.AwaitLine("Lost connection to STM32, resetting and trying to reconnect."));
    board->SetPlugged(true);
    EXPECT_TRUE(AwaitEvent(Event::SerialLinePluggedIn));
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_TRUE(Await(
        [&] { return daemon.Count("DEBUG Cemi Sended cemi message with size 4 from LL to user message queue") == 2; }));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Link, ACoProcessorThatNeverAnswersIsGivenUpAndTheApplicationsLearnItLast)
{
    TheCoProcessor().SetDead(true);
    Daemon daemon;
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("ERROR Buttons Failed to enqueue request for programming button pressed since boot"), 1);
    EXPECT_EQ(daemon.Count("ERROR Main Lost connection to STM32, resetting and trying to reconnect."), 1);
    EXPECT_EQ(daemon.Count("ERROR Main Failed to reconnect to STM32, aborting."), 1);
    EXPECT_EQ(fromLink.ReceiveNow(), LinkUsable); // the bridge says so once its queues are open, whatever the link does
    EXPECT_EQ(fromLink.ReceiveNow(), LinkLost);
    EXPECT_EQ(fromLink.ReceiveNow(), std::nullopt);
}

TEST_F(Link, ACoProcessorThatAnswersLateIsStillServed)
{
    TheCoProcessor().SetDelay(std::chrono::milliseconds(300));
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(fromLink.Receive(), LinkUsable);
    TheCoProcessor().InjectTelegram({0x29, 0x01});
    EXPECT_EQ(fromLink.Receive(), (Bytes{0x02, 0x29, 0x01}));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Link, GarbageOnTheLineCostsNoFrame)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(fromLink.Receive(), LinkUsable);
    TheCoProcessor().SendGarbage(Bytes(3000, 0xA5));
    TheCoProcessor().InjectTelegram({0x29, 0x02});
    EXPECT_EQ(fromLink.Receive(), (Bytes{0x02, 0x29, 0x02}));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Link, WhileItNeverReportsItselfConnectedEveryPassResetsAndReconnectsAndTellsTheApplications)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}});
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(fromLink.Receive(), LinkUsable); // when the bridge opens
    for (int pass = 0; pass < 3; ++pass)
    {
        EXPECT_TRUE(daemon.AwaitLine("ERROR Main <> - Lost connection to STM32, resetting and trying to reconnect."));
        EXPECT_TRUE(daemon.AwaitLine("DEBUG Reset <> - Resetting STM32 using GPIO 3"));
        EXPECT_TRUE(daemon.AwaitLine("Reconnect()"));
        EXPECT_EQ(fromLink.Receive(), LinkUsable);
        EXPECT_TRUE(AwaitEvent(Event::ResetLineLow));
        EXPECT_TRUE(AwaitEvent(Event::ResetLineHigh));
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Link, AFailedReconnectionIsToldToTheApplicationsBeforeTheHubIsClosed)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}, {"TRACE_RECONNECT", "10"}});
    EXPECT_EQ(daemon.Wait(), 255);
    const auto lines = daemon.MainThreadLines();
    const std::vector<std::string> end(lines.end() - 10, lines.end());
    EXPECT_THAT(end,
                ElementsAre("ERROR Main Lost connection to STM32, resetting and trying to reconnect.",
                            "DEBUG Reset Resetting STM32 using GPIO 3", "DEBUG Nemt Reconnect()",
                            "ERROR Main Failed to reconnect to STM32, aborting.",
                            "DEBUG Cemi Sended cemi message with size 4 from LL to user message queue",
                            "DEBUG Nemt Instance()", "DEBUG Nemt Close()", "DEBUG Nemt UnregisterConnectionListener(1)",
                            "DEBUG Nemt UnregisterTopicListener(2)", "DEBUG Nemt UnregisterTopicListener(1)"));
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 1);
}

TEST_F(Link, AReconnectionIsToldToTheApplicationsAlsoWhenTheBridgeFailedDuringIt)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}, {"TRACE_BROKEN_QUEUE", "/cemiFromLL"}});
    EXPECT_EQ(daemon.Wait(), 255);
    const auto lines = daemon.MainThreadLines();
    const auto failure =
        std::find(lines.begin(), lines.end(), "FATAL Cemi Message queue /cemiFromLL reports bad file descriptor");
    const std::vector<std::string> end(failure == lines.end() ? failure : failure + 1, lines.end());
    EXPECT_THAT(end,
                ElementsAre("DEBUG Cemi Sended cemi message with size 4 from LL to user message queue",
                            "DEBUG Nemt Instance()", "DEBUG Nemt Close()", "DEBUG Nemt UnregisterConnectionListener(1)",
                            "DEBUG Nemt UnregisterTopicListener(2)", "DEBUG Nemt UnregisterTopicListener(1)"));
}

TEST_F(Link, TheResetLineIsLowForAtLeastAMillisecond)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(PinChanges(), ElementsAre("3 low", "3 high", "3 released"));
    const auto changes = board->PinChanges();
    ASSERT_GE(changes.size(), 2U);
    EXPECT_GE(changes[1].time - changes[0].time, std::chrono::milliseconds(1));
}

TEST_F(Link, TheCoProcessorHas10MillisecondsToBootBeforeTheLinkIsOpened)
{
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(daemon.Stop(), 0);
    const auto pulse = daemon.TimeOf("DEBUG Reset Resetting STM32 using GPIO 3");
    const auto opened = daemon.TimeOf("DEBUG Nemt Open(/dev/ttymxc2, 0)");
    ASSERT_TRUE(pulse && opened);
    EXPECT_GE((*opened - *pulse).count(), 10); // 11 ms, in a log of whole milliseconds
}

} // namespace
