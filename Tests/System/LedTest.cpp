// The LEDs of the kernel's LED class and the co-processor's outputs.

#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

using Simulator::Event;
using Simulator::GreenDeviceLed;
using Simulator::OrangeDeviceLed;
using Simulator::RedKnxLed;
using Simulator::YellowKnxLed;
using testing::ElementsAre;

namespace
{

class Led : public OnBoard
{
protected:
    static std::vector<std::string> Names()
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/sys/class/leds"))
        {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    // The kernel reports 0 for each LED when it is registered. What the test does comes after that.
    bool AwaitFirstReports()
    {
        return AwaitEvent({Event::LedOff, RedKnxLed}) && AwaitEvent({Event::LedOff, YellowKnxLed}) &&
               AwaitEvent({Event::LedOff, GreenDeviceLed}) && AwaitEvent({Event::LedOff, OrangeDeviceLed});
    }
};

TEST_F(Led, EachLedDrivesItsOutput)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_THAT(Names(), ElementsAre("knx", "prg1", "prg2", "system"));
    ASSERT_TRUE(AwaitFirstReports());
    const std::vector<std::pair<std::string, Simulator::Led>> outputs{
        {"prg1", RedKnxLed}, {"prg2", YellowKnxLed}, {"system", GreenDeviceLed}, {"knx", OrangeDeviceLed}};
    for (const auto& [name, output] : outputs)
    {
        EXPECT_TRUE(SetBrightness(name, "100"));
        EXPECT_TRUE(AwaitEvent({Event::LedOn, output}));
        EXPECT_TRUE(daemon.AwaitLine("DEBUG Leds <> - Set brightness of led " + name + " to 100"));
        EXPECT_TRUE(SetBrightness(name, "0"));
        EXPECT_TRUE(AwaitEvent({Event::LedOff, output}));
        EXPECT_TRUE(daemon.AwaitLine("DEBUG Leds <> - Set brightness of led " + name + " to 0"));
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, EachHasTheMaximalBrightness100)
{
    Daemon daemon({"--enable_rs485"});
    ASSERT_TRUE(AwaitRunning(daemon, 5));
    for (const std::string& name : Names())
    {
        int maximum = 0;
        std::ifstream("/sys/class/leds/" + name + "/max_brightness") >> maximum;
        EXPECT_EQ(maximum, 100) << name;
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, TheKernelRenamesThoseOfASecondDaemonAndEachDaemonGetsTheChangesOfItsOwn)
{
    auto first = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitRunning(first));
    auto second = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitRunning(second));
    EXPECT_THAT(Names(), ElementsAre("knx", "knx_1", "prg1", "prg1_1", "prg2", "prg2_1", "system", "system_1"));

    EXPECT_TRUE(SetBrightness("prg1_1", "1"));
    EXPECT_TRUE(second.AwaitLine("DEBUG Leds <> - Set brightness of led prg1 to 1")); // it does not know the new name
    EXPECT_TRUE(SetBrightness("prg1", "2"));
    EXPECT_TRUE(first.AwaitLine("DEBUG Leds <> - Set brightness of led prg1 to 2"));

    EXPECT_EQ(first.Stop(), 0);
    EXPECT_TRUE(Await([] { return Names().size() == 4; }));
    EXPECT_THAT(Names(), ElementsAre("knx_1", "prg1_1", "prg2_1", "system_1"));
    EXPECT_EQ(second.Stop(), 0);
}

TEST_F(Led, AnyBrightnessAbove0IsOnAndIsLoggedAsItIs)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ASSERT_TRUE(AwaitFirstReports());
    EXPECT_TRUE(SetBrightness("prg1", "1"));
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_TRUE(daemon.AwaitLine("DEBUG Leds <> - Set brightness of led prg1 to 1"));
    EXPECT_EQ(TheCoProcessor().LedState(3), 1);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, TheFifthDrivesTheRs485TerminationWhenEnabled)
{
    Daemon daemon({"--enable_rs485"});
    ASSERT_TRUE(AwaitRunning(daemon, 5));
    EXPECT_TRUE(AwaitEvent(Event::TerminationOff));
    EXPECT_TRUE(SetBrightness("rs485termination", "100"));
    EXPECT_TRUE(AwaitEvent(Event::TerminationOn));
    EXPECT_EQ(TheCoProcessor().Rs485TerminationState(), 1);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, EnableRs485WithTheValueFalseEnablesIt)
{
    Daemon daemon({"--enable_rs485=false"});
    EXPECT_TRUE(AwaitRunning(daemon, 5));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, NamesComeFromTheCommandLine)
{
    Daemon daemon({"-r", "red", "-y", "yellow", "-g", "green", "-o", "orange", "-s", "termination", "-e"});
    ASSERT_TRUE(AwaitRunning(daemon, 5));
    EXPECT_THAT(Names(), ElementsAre("green", "orange", "red", "termination", "yellow"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, ANameOf70CharactersIsCutTo63)
{
    const std::string name(70, 'n');
    Daemon daemon({"--led_knx_red_name", name});
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_TRUE(std::filesystem::exists("/sys/class/leds/" + name.substr(0, 63)));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, AChangeThatTheLinkRefusesIsLostWithItsLine)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_TRANSMIT", "0"}});
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_TRUE(SetBrightness("system", "50"));
    EXPECT_TRUE(daemon.AwaitLine("ERROR Leds <> - Failed to transmit LED state for led system"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, AChangeAfterTheLinkWasClosedIsLostWithItsLineAndTheStatusIs0)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CLOSE_DELAY", "500"}});
    ASSERT_TRUE(AwaitRunning(daemon));
    daemon.Interrupt();
    ASSERT_TRUE(daemon.AwaitLine("Close()"));
    EXPECT_TRUE(SetBrightness("system", "50"));
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_EQ(daemon.Count("ERROR Leds Failed to transmit LED state for led system"), 1);
}

TEST_F(Led, AReadThatFindsNothingIsLoggedAndChangesNothing)
{
    NEEDS_FAILURE("the read that finds nothing where poll saw something");
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ASSERT_TRUE(AwaitFirstReports());
    FailOnce(Simulator::Operation::UledsRead, EAGAIN);
    EXPECT_TRUE(SetBrightness("prg1", "100"));
    EXPECT_TRUE(daemon.AwaitLine(
        "ERROR Leds <> - Failed to read from /dev/uleds for led prg1: Resource temporarily unavailable"));
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Led, ABrokenHandleEndsTheDaemonWithTheLineThatNamesTheOtherError)
{
    NEEDS_FAILURE("the read of a handle that is broken");
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ASSERT_TRUE(AwaitFirstReports());
    FailOnce(Simulator::Operation::UledsRead, EBADF);
    EXPECT_TRUE(SetBrightness("prg2", "100"));
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("ERROR Leds Failed to read from /dev/uleds for led prg2: Bad file descriptor"), 1);
    EXPECT_EQ(daemon.Count("FATAL Leds Read reported bad file descriptor (EBADFD)"), 1);
}

} // namespace
