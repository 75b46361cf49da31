// orvelctl button and led.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "Overlay.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

using Simulator::Event;
using Simulator::RedKnxLed;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

namespace
{

class ClientDevicesOnBoard : public OnBoard
{
};

TEST_F(ClientDevicesOnBoard, ButtonShowsPressesAndReleases)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ClientProgram button({"button"});
    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(button->AwaitLine(") pressed"));
    TheCoProcessor().SetButton(false);
    EXPECT_TRUE(button->AwaitLine(") released"));
    EXPECT_EQ(button->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientDevicesOnBoard, LedListsShowsAndSets)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_THAT(RunClient({"led"}).lines, ElementsAre("knx 0 100", "prg1 0 100", "prg2 0 100", "system 0 100"));
    EXPECT_EQ(RunClient({"led", "prg1", "on"}).status, 0);
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_THAT(RunClient({"led", "prg1"}).lines, ElementsAre("prg1 100 100"));
    EXPECT_EQ(RunClient({"led", "prg1", "off"}).status, 0);
    EXPECT_TRUE(AwaitEvent({Event::LedOff, RedKnxLed}));
    EXPECT_EQ(RunClient({"led", "prg1", "7"}).lines.size(), 0);
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_THAT(RunClient({"led", "prg1"}).lines, ElementsAre("prg1 7 100"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientDevicesOnBoard, AnLedThatIsNotThereIsNamed)
{
    for (const char* const name : {"prg1", "..", "prg1/../prg1"})
    {
        const Outcome outcome = RunClient({"led", name, "on"});
        EXPECT_EQ(outcome.status, 5);
        EXPECT_THAT(outcome.lines,
                    ElementsAre(std::string("orvelctl: there is no LED '") + name + "' in /sys/class/leds"));
    }
    const Outcome outcome = RunClient({"led"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: there is no LED in /sys/class/leds: does the daemon run?"));
}

TEST(ClientLed, IsNotSetToAHighestBrightnessThatCannotBeRead)
{
    const TemporaryDirectory leds;
    std::filesystem::create_directory(leds.File("half-made"));
    const std::ofstream made(leds.File("half-made/brightness"));
    Simulator::CoverDirectory("/sys/class");
    Simulator::BindMount(leds.File(""), "/sys/class/leds");
    const Outcome outcome = RunClient({"led", "half-made", "on"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: cannot read /sys/class/leds/half-made/max_brightness"));
    Simulator::Unmount("/sys/class/leds");
    Simulator::Unmount("/sys/class");
}

TEST(ClientButton, AStopBeforeTheNumberOfMessagesCameIsNoSuccess)
{
    const MadeQueue queue("/progButton", 6, 1);
    queue.Put({0x00});
    ClientProgram button({"button", "--number", "2"});
    EXPECT_TRUE(button->AwaitLine("pressed"));
    button->Interrupt();
    const Outcome outcome = button.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.lines, Contains("orvelctl: stopped after 1 of 2 messages"));
}

TEST(ClientButton, StampsTheTimeAndEndsAfterANumber)
{
    const MadeQueue queue("/progButton", 6, 1);
    queue.Put({0x00});
    queue.Put({0x01});
    queue.Put({0x00});
    const Outcome outcome = RunClient({"button", "--time", "relative", "--number", "2"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("(0.000000) pressed", MatchesRegex(R"(\([0-9]+\.[0-9]{6}\) released)")));
    EXPECT_EQ(queue.Waiting(), 1);
}

TEST(ClientButton, ReadsAnotherQueue)
{
    const MadeQueue queue("/otherButton", 6, 1);
    queue.Put({0x01});
    EXPECT_THAT(RunClient({"button", "--queue", "/otherButton", "-n", "1"}).lines, ElementsAre(EndsWith(" released")));
}

TEST(ClientButton, SaysWhatIsNoState)
{
    const MadeQueue queue("/progButton", 6, 2);
    queue.Put({0x02});
    queue.Put({0x00, 0x01});
    queue.Put({});
    EXPECT_THAT(RunClient({"button", "-n", "3"}).lines,
                ElementsAre(EndsWith(" ! 02 is no state of a button"), EndsWith(" ! 00 01 is no state of a button"),
                            EndsWith(" ! no byte is no state of a button")));
}

TEST(ClientButton, WithoutADaemonThereIsNoQueue)
{
    const Outcome outcome = RunClient({"button"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: there is no queue /progButton: does the daemon run?"));
}

} // namespace
