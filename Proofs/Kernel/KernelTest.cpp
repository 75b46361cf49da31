// Tests that only a real kernel can decide.

#include "BenchKit/OnBoard.h"
#include "Namespaces.h"
#include "RealBoard.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

using testing::ElementsAre;

namespace
{

class Kernel : public OnBoard
{
protected:
    GpioTrace& Trace()
    {
        return dynamic_cast<RealBoard&>(*board).Trace();
    }
};

TEST_F(Kernel, SeesThePinLowForAMillisecondThenHighThenReleasedAndTheLinkOpened10MillisecondsLater)
{
    using std::chrono::milliseconds;
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(PinChanges(), ElementsAre("3 low", "3 high", "3 released"));
    const auto pulse = Trace().Changes();
    const auto openings = Trace().SerialOpenings();
    ASSERT_EQ(pulse.size(), 3U);
    ASSERT_GE(openings.size(), 1U);
    EXPECT_GE(pulse[1].time - pulse[0].time, milliseconds(1));
    EXPECT_GE(openings[0] - pulse[2].time, milliseconds(10));
    const auto us = [](auto time) { return std::chrono::duration_cast<std::chrono::microseconds>(time).count(); };
    std::printf("low for %ld us, released %ld us later, link opened %ld us later\n", us(pulse[1].time - pulse[0].time),
                us(pulse[2].time - pulse[1].time), us(openings[0] - pulse[2].time));
}

TEST_F(Kernel, LetsTheCapabilityGoOverTheLimitOfMessages)
{
    Simulator::SetMessageLimit(10); // the default
    Daemon daemon;
    EXPECT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Kernel, KeepsTheLedsOfADaemonThatIsStoppedAndTakesThemWithItsProcess)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    daemon.Signal(SIGSTOP);
    EXPECT_TRUE(SetBrightness("prg1", "100"));
    EXPECT_TRUE(std::filesystem::exists("/sys/class/leds/prg1"));
    daemon.Signal(SIGKILL);
    daemon.Wait();
    EXPECT_TRUE(std::filesystem::is_empty("/sys/class/leds"));
}

} // namespace
