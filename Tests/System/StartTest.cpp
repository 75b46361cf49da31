// The command line, the order of the start, and what happens when a part of it fails.

#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/ResourceLimit.h"
#include "Overlay.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <regex>

using Simulator::Operation;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace
{

class Start : public OnBoard
{
protected:
    // The daemon used neither the reset line nor the link nor anything else.
    void ExpectNothingTouched(const Daemon& daemon)
    {
        EXPECT_THAT(PinChanges(), IsEmpty());
        EXPECT_FALSE(std::filesystem::exists("/sys/class/gpio/gpio3"));
        EXPECT_THAT(daemon.LogLines(), IsEmpty());
        if (board->Faults() != nullptr) // a real kernel does not tell who opened a device
        {
            EXPECT_EQ(board->Faults()->Calls(Operation::UledsOpen), 0U);
        }
    }
};

TEST_F(Start, HelpIsPrintedAndEndsWithStatus0BeforeAnythingIsTouched)
{
    auto daemon = Daemon::OnTraceLibrary({"--help", "--reset_gpio", "12", "--enable_rs485"});
    EXPECT_EQ(daemon.Wait(), 0);
    ASSERT_FALSE(daemon.Lines().empty());
    EXPECT_EQ(daemon.Lines()[0], "ORVEL userspace driver");
    ExpectNothingTouched(daemon);
}

TEST_F(Start, HelpWinsOverVersion)
{
    auto daemon = Daemon::OnTraceLibrary({"--version", "--help"});
    EXPECT_EQ(daemon.Wait(), 0);
    for (const std::string& line : daemon.Lines())
    {
        EXPECT_NE(line.find("Version "), 0U) << line;
    }
}

TEST_F(Start, HelpWithTheValueFalseIsHelp)
{
    auto daemon = Daemon::OnTraceLibrary({"--help=false"});
    EXPECT_EQ(daemon.Wait(), 0);
    ExpectNothingTouched(daemon);
}

TEST_F(Start, HelpIsPrintedBesideANameOf5000Characters)
{
    auto daemon = Daemon::OnTraceLibrary({"--led_green_name", std::string(5000, 'x'), "--help"});
    EXPECT_EQ(daemon.Wait(), 0);
    ASSERT_FALSE(daemon.Lines().empty());
    EXPECT_EQ(daemon.Lines()[0], "ORVEL userspace driver");
}

TEST_F(Start, TheLongestArgumentIsReadOnTheUsualStack)
{
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
    GTEST_SKIP() << "the frames of this daemon are larger than those of a product";
#endif
    const ResourceLimit usualStack(RLIMIT_STACK, rlim_t{8} << 20U);
    const std::string option = "--led_green_name=";
    auto daemon = Daemon::OnTraceLibrary({option + std::string(16384 - option.size(), 'x'), "--help"});
    EXPECT_EQ(daemon.Wait(), 0);
    ASSERT_FALSE(daemon.Lines().empty());
    EXPECT_EQ(daemon.Lines()[0], "ORVEL userspace driver");
}

TEST_F(Start, AnArgumentOfMoreThan16384BytesGivesOneLineAndStatus255BeforeAnythingIsTouched)
{
    auto daemon = Daemon::OnTraceLibrary({"--led_green_name", std::string(16385, 'x'), "--help"});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_THAT(daemon.Lines(), ElementsAre("Argument of more than 16384 bytes"));
    ExpectNothingTouched(daemon);
}

TEST_F(Start, VersionIsPrintedAndTheDaemonGoesOn)
{
    auto daemon = Daemon::OnTraceLibrary({"--version"});
    EXPECT_TRUE(daemon.AwaitLine("IsConnected()"));
    EXPECT_TRUE(std::regex_match(daemon.Lines().at(0), std::regex("Version [0-9a-f]{40}"))) << daemon.Lines().at(0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Start, TheVersionIsPrintedBeforeTheLogIsConfigured)
{
    Daemon daemon({"--version", "--log_config_file", "/none"});
    EXPECT_TRUE(daemon.AwaitLine("log4cplus:ERROR"));
    EXPECT_THAT(daemon.Lines().at(0), StartsWith("Version "));
}

TEST_F(Start, AnUnknownOptionGivesOneLineAndStatus255BeforeAnythingIsTouched)
{
    auto daemon = Daemon::OnTraceLibrary({"--foo"});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Lines().size(), 1U);
    ExpectNothingTouched(daemon);
}

TEST_F(Start, AnOptionWithoutItsValueGivesOneLineAndStatus255)
{
    auto daemon = Daemon::OnTraceLibrary({"--led_green_name"});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Lines().size(), 1U);
    ExpectNothingTouched(daemon);
}

TEST_F(Start, AResetGpioThatIsNoNumberGivesOneLineAndStatus255)
{
    auto daemon = Daemon::OnTraceLibrary({"--reset_gpio", "three"});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Lines().size(), 1U);
    ExpectNothingTouched(daemon);
}

TEST_F(Start, ResetsTheCoProcessorThenOpensTheLinkThenBuildsTheComponentsInOrder)
{
    auto daemon = Daemon::OnTraceLibrary();
    EXPECT_TRUE(daemon.AwaitLine("IsConnected()"));
    EXPECT_EQ(daemon.Stop(), 0);
    auto lines = daemon.MainThreadLines();
    lines.resize(17);
    EXPECT_THAT(lines, ElementsAre("DEBUG Reset Resetting STM32 using GPIO 3", //
                                   "DEBUG Nemt Instance()",                    //
                                   "DEBUG Nemt Open(/dev/ttymxc2, 0)",         //
                                   "WARN Nemt a warning",                      //
                                   "WARN Nemt a warning",                      //
                                   "ERROR Nemt an error",                      //
                                   "ERROR Nemt an error",                      //
                                   "DEBUG Nemt Instance()",                    // for the LEDs
                                   "DEBUG Nemt Instance()",                    // for the button
                                   "DEBUG Buttons Opened message queue /progButton successfully",
                                   "DEBUG Nemt Transmit(257): 8 1",            //
                                   "DEBUG Nemt RegisterTopicListener(1)",      //
                                   "DEBUG Nemt Instance()",                    // for the bridge
                                   "DEBUG Nemt Instance()",                    // for the connection
                                   "DEBUG Nemt RegisterConnectionListener(1)", //
                                   "DEBUG Nemt IsConnected()",                 //
                                   "DEBUG Nemt Instance()"));                  // for the closing
    EXPECT_THAT(PinChanges(), ElementsAre("3 low", "3 high", "3 released"));
}

TEST_F(Start, TheResetPulseIsMadeOfTheseWrites)
{
    if (board->Faults() == nullptr)
    {
        GTEST_SKIP() << "a real kernel tells what became of the pin, not which texts were written";
    }
    auto daemon = Daemon::OnTraceLibrary();
    EXPECT_TRUE(daemon.AwaitLine("IsConnected()"));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(board->GpioWrites(), ElementsAre("export 3", "gpio3/direction in", "gpio3/direction out",
                                                 "gpio3/value 01", "gpio3/direction in"));
}

TEST_F(Start, TheBridgeRegistersAfterItHasToldTheApplicationsThatTheLinkIsUsable)
{
    auto daemon = Daemon::OnTraceLibrary();
    EXPECT_TRUE(daemon.AwaitLine("Opened message queue /cemiFromLL successfully"));
    EXPECT_TRUE(daemon.AwaitLine("Opened message queue /cemiToLL successfully"));
    EXPECT_TRUE(daemon.AwaitLine("Sended cemi message with size 4 from LL to user message queue"));
    EXPECT_TRUE(daemon.AwaitLine("RegisterTopicListener(2)"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Start, AnotherGpioIsPulsedWhenSoConfigured)
{
    auto daemon = Daemon::OnTraceLibrary({"--reset_gpio", "12"});
    EXPECT_TRUE(daemon.AwaitLine("DEBUG Reset <> - Resetting STM32 using GPIO 12"));
    EXPECT_TRUE(daemon.AwaitLine("IsConnected()"));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(PinChanges(), ElementsAre("12 low", "12 high", "12 released"));
}

TEST_F(Start, AnotherDeviceIsAcceptedAndWithoutEffect)
{
    auto daemon = Daemon::OnTraceLibrary({"--device", "/dev/ttyS9"});
    EXPECT_TRUE(daemon.AwaitLine("Open(/dev/ttymxc2, 0)"));
    EXPECT_TRUE(daemon.AwaitLine("IsConnected()"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Start, AnExportFileThatCannotBeOpenedEndsWithStatus255BeforeTheLinkIsTouched)
{
    NEEDS_FAILURE("the export file that cannot be opened");
    Fail(Operation::ExportOpen, EACCES);
    auto daemon = Daemon::OnTraceLibrary();
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_THAT(daemon.LogLines(), ElementsAre("ERROR Reset Failed to export STM32 reset GPIO 3: Permission denied"));
    EXPECT_THAT(PinChanges(), IsEmpty());
}

TEST_F(Start, AGpioThatTheBoardLacksEndsWithStatus255BeforeTheLinkIsTouched)
{
    auto daemon = Daemon::OnTraceLibrary({"--reset_gpio", "99"});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_THAT(daemon.LogLines(),
                ElementsAre("ERROR Reset Cannot set direction of STM32 reset GPIO 99: No such file or directory"));
}

TEST_F(Start, AGpioThatIsExportedAlreadyIsTaken)
{
    Daemon first;
    EXPECT_TRUE(AwaitRunning(first));
    EXPECT_EQ(first.Stop(), 0);
    Daemon second;
    EXPECT_TRUE(AwaitRunning(second));
    EXPECT_EQ(second.Stop(), 0);
    EXPECT_THAT(second.LogLines(), Not(Contains(testing::StartsWith("ERROR"))));
}

TEST_F(Start, AFailureOfTheVeryFirstResetPulseIsOnlySeenAfterTheFirstPeriod)
{
    NEEDS_FAILURE("the value file that cannot be opened");
    Fail(Operation::ValueOpen, EIO);
    auto daemon = Daemon::OnTraceLibrary();
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("ERROR Reset Cannot set value of STM32 reset GPIO 3: Input/output error"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Open(/dev/ttymxc2, 0)"), 1);
    const auto supervising = daemon.TimeOf("DEBUG Nemt IsConnected()");
    const auto closed = daemon.TimeOf("DEBUG Nemt Close()");
    ASSERT_TRUE(supervising && closed);
    EXPECT_GE((*closed - *supervising).count(), 249); // the period of 250 ms, in a log of whole milliseconds
    EXPECT_THAT(PinChanges(), ElementsAre("3 low", "3 released"));
}

TEST_F(Start, ALinkThatCannotBeOpenedEndsWithStatus255AfterTheResetAndBeforeAnyComponentIsBuilt)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_OPEN", "0"}});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_THAT(daemon.LogLines(), // of no component: each logs when it is built
                ElementsAre("DEBUG Reset Resetting STM32 using GPIO 3", "DEBUG Nemt Instance()",
                            "DEBUG Nemt Open(/dev/ttymxc2, 0)", "WARN Nemt a warning", "WARN Nemt a warning",
                            "ERROR Nemt an error", "ERROR Nemt an error",
                            "ERROR Main Failed to open port /dev/ttymxc2 for NEMT communication, aborting."));
    EXPECT_THAT(PinChanges(), ElementsAre("3 low", "3 high", "3 released"));
}

TEST_F(Start, ASerialDeviceThatIsMissingGivesTheLineThatNamesIt)
{
    Simulator::BindMount("/dev/null", "/dev/ttymxc2"); // no serial device
    Daemon daemon;
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("ERROR Main Failed to open port /dev/ttymxc2 for NEMT communication, aborting."), 1);
    Simulator::Unmount("/dev/ttymxc2");
}

TEST_F(Start, WithoutTheKernelsUserspaceLedsTheDaemonEndsWithStatus255)
{
    NEEDS_FAILURE("/dev/uleds without a driver behind it");
    Fail(Operation::UledsOpen, ENODEV);
    auto daemon = Daemon::OnTraceLibrary();
    AwaitLedWorker(daemon);
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("ERROR Leds Failed to open /dev/uleds: No such device"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 1);
}

TEST_F(Start, AnLedNameThatTheKernelRefusesEndsWithStatus255AndKeepsTheLedsBeforeIt)
{
    auto daemon = Daemon::OnTraceLibrary({"--led_green_name", "a/b"});
    AwaitLedWorker(daemon);
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("DEBUG Leds Created virtual led device prg1"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Leds Created virtual led device prg2"), 1);
    EXPECT_EQ(daemon.Count("ERROR Leds Failed to write to /dev/uleds for virtual led device a/b: Invalid argument"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Leds Created virtual led device knx"), 0);
    EXPECT_TRUE(Await([] { return std::filesystem::is_empty("/sys/class/leds"); }));
}

TEST_F(Start, AQueueLimitBelow14EndsWithStatus255)
{
    WithMessageLimit(10,
                     []
                     {
                         Daemon daemon;
                         EXPECT_EQ(daemon.Wait(), 255);
                         EXPECT_EQ(daemon.Count("ERROR Cemi Failed to open message queue /cemiFromLL"), 1);
                         EXPECT_FALSE(Queue::Exists("/progButton"));
                     });
}

TEST_F(Start, AButtonQueueThatCannotBeOpenedEndsWithStatus255)
{
    auto daemon = Daemon::OnTraceLibrary({"-p", "/good", "-p", "without slash"});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Count("DEBUG Buttons Opened message queue /good successfully"), 1);
    EXPECT_EQ(daemon.Count("ERROR Buttons Failed to open message queue without slash"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Transmit(257): 8 1"), 0);
    EXPECT_EQ(daemon.Count("DEBUG Nemt RegisterTopicListener(1)"), 1);
    EXPECT_FALSE(Queue::Exists("/good"));
}

} // namespace
