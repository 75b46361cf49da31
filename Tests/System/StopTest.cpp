// The ways out of the supervision loop.

#include "OnBoard.h"

#include <gmock/gmock.h>

#include <poll.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

using Simulator::Operation;
using testing::ElementsAre;

namespace
{

using Stop = OnBoard;

// Waits until the main thread is in its loop.
bool AwaitSupervising(Daemon& daemon)
{
    return daemon.AwaitLine("IsConnected()");
}

// Whether its main thread is in a sleep. The kernel shows the number of the call that it waits in.
bool IsAsleep(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/syscall");
    long call = -1;
    file >> call;
    return call == SYS_clock_nanosleep || call == SYS_nanosleep;
}

std::vector<std::string> Behind(const std::vector<std::string>& lines, const std::string& line)
{
    const auto found = std::find(lines.begin(), lines.end(), line);
    return found == lines.end() ? std::vector<std::string>{"missing: " + line}
                                : std::vector<std::string>(found + 1, lines.end());
}

TEST_F(Stop, OnSigintTheHubIsClosedFirstAndTheListenersAreUnregisteredInReverseOrder)
{
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(Behind(daemon.MainThreadLines(), "DEBUG Nemt IsConnected()"),
                ElementsAre("DEBUG Nemt Instance()", "DEBUG Nemt Close()", "DEBUG Nemt UnregisterConnectionListener(1)",
                            "DEBUG Nemt UnregisterTopicListener(2)",   // the bridge
                            "DEBUG Nemt UnregisterTopicListener(1)")); // the button
}

TEST_F(Stop, OnSigintTheQueuesAndLedsAreGoneAndThePinStaysExported)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_TRUE(Queue::Exists("/cemiFromLL") && Queue::Exists("/progButton"));
    EXPECT_TRUE(std::filesystem::exists("/sys/class/leds/prg1"));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_FALSE(Queue::Exists("/cemiFromLL") || Queue::Exists("/cemiToLL") || Queue::Exists("/progButton"));
    EXPECT_TRUE(Await([] { return std::filesystem::is_empty("/sys/class/leds"); }));
    EXPECT_TRUE(std::filesystem::exists("/sys/class/gpio/gpio3"));
}

TEST_F(Stop, TheLedsStayUntilTheProcessIsGone)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_EXIT_DELAY", "2000"}});
    ASSERT_TRUE(AwaitRunning(daemon));
    daemon.Interrupt();
    ASSERT_TRUE(daemon.AwaitLine("UnregisterTopicListener(1)"));
    ASSERT_TRUE(Await([&] { return IsAsleep(daemon.Id()); })); // the worker has ended, and the components are gone
    EXPECT_TRUE(std::filesystem::exists("/sys/class/leds/prg1"));
    EXPECT_EQ(daemon.Wait(), 0);
    EXPECT_TRUE(Await([] { return std::filesystem::is_empty("/sys/class/leds"); }));
}

TEST_F(Stop, ASigintDuringThePeriodDoesNotShortenIt)
{
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitSupervising(daemon));
    ASSERT_TRUE(Await([&] { return IsAsleep(daemon.Id()); }));
    EXPECT_EQ(daemon.Stop(), 0);
    const auto supervising = daemon.TimeOf("DEBUG Nemt IsConnected()");
    const auto closed = daemon.TimeOf("DEBUG Nemt Close()");
    ASSERT_TRUE(supervising && closed);
    EXPECT_GE((*closed - *supervising).count(), 249); // the period of 250 ms, in a log of whole milliseconds
}

TEST_F(Stop, IsLookedForEvery250Milliseconds)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer's own nanosleep stands in front of the one that tells of the period";
#endif
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_SLEEP", "1"}});
    ASSERT_TRUE(AwaitSupervising(daemon));
    ASSERT_TRUE(daemon.AwaitLine("nanosleep("));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(Behind(daemon.MainThreadLines(), "DEBUG Nemt IsConnected()").at(0), "DEBUG Nemt nanosleep(0, 250000000)");
}

TEST_F(Stop, ASecondSigintChangesNothing)
{
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitSupervising(daemon));
    daemon.Interrupt();
    daemon.Interrupt();
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 1);
}

TEST_F(Stop, SigtermIsNotCaught)
{
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitSupervising(daemon));
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.Wait(), 128 + SIGTERM);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 0);
}

TEST_F(Stop, ASigintInTheMiddleOfAPassLetsItsRemainingStepsRun)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}, {"TRACE_RECONNECT_DELAY", "300"}});
    ASSERT_TRUE(daemon.AwaitLine("Reconnect()"));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(Behind(daemon.MainThreadLines(), "DEBUG Nemt Reconnect()"),
                ElementsAre("DEBUG Cemi Sended cemi message with size 4 from LL to user message queue",
                            "DEBUG Nemt Instance()", "DEBUG Nemt Close()", "DEBUG Nemt UnregisterConnectionListener(1)",
                            "DEBUG Nemt UnregisterTopicListener(2)", "DEBUG Nemt UnregisterTopicListener(1)"));
}

TEST_F(Stop, ASigintDuringTheFirstUseOfTheResetLineEndsTheDaemonOnceItIsBuilt)
{
    NEEDS_FAILURE("the direction file that answers late");
    Simulator::Fault late;
    late.delay = std::chrono::milliseconds(300);
    late.calls = 1;
    board->Faults()->Set(Operation::DirectionWrite, late);
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(Await([&] { return board->Faults()->Calls(Operation::DirectionWrite) == 1; }));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 1);
}

TEST_F(Stop, ASigintDuringTheStartEndsTheDaemonOnceItIsBuilt)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_OPEN_DELAY", "300"}});
    ASSERT_TRUE(daemon.AwaitLine("Open("));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(Behind(daemon.MainThreadLines(), "DEBUG Nemt RegisterConnectionListener(1)"),
                ElementsAre("DEBUG Nemt IsConnected()", "DEBUG Nemt Instance()", "DEBUG Nemt Close()",
                            "DEBUG Nemt UnregisterConnectionListener(1)", "DEBUG Nemt UnregisterTopicListener(2)",
                            "DEBUG Nemt UnregisterTopicListener(1)"));
}

TEST_F(Stop, AnExceptionOfTheLinkLibraryEndsTheProcess)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}, {"TRACE_RECONNECT", "throw"}});
    EXPECT_EQ(daemon.Wait(), 128 + SIGABRT);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 0);
}

TEST_F(Stop, AFailedComponentEndsTheDaemonInOrderAndWithoutALineOfTheMainProgram)
{
    NEEDS_FAILURE("the poll of an LED that reports an error");
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitRunning(daemon));
    FailPoll(POLLERR);
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_GE(daemon.Count("ERROR Leds Return events in poll signalled virtual led error, aborting."), 1);
    EXPECT_THAT(Behind(daemon.MainThreadLines(), "DEBUG Nemt IsConnected()"),
                ElementsAre("DEBUG Nemt Instance()", "DEBUG Nemt Close()", "DEBUG Nemt UnregisterConnectionListener(1)",
                            "DEBUG Nemt UnregisterTopicListener(2)", "DEBUG Nemt UnregisterTopicListener(1)"));
}

TEST_F(Stop, AResetLineThatFailsWhileRunningEndsTheDaemonAfterThePass)
{
    NEEDS_FAILURE("the value file that goes while its pin stays");
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}});
    ASSERT_TRUE(daemon.AwaitLine("Reconnect()"));
    Fail(Operation::ValueOpen, ENOENT);
    EXPECT_EQ(daemon.Wait(), 255);
    const auto lines = daemon.MainThreadLines();
    EXPECT_THAT(Behind(lines, "ERROR Reset Cannot set value of STM32 reset GPIO 3: No such file or directory"),
                ElementsAre("DEBUG Nemt Reconnect()",
                            "DEBUG Cemi Sended cemi message with size 4 from LL to user message queue",
                            "DEBUG Nemt Instance()", "DEBUG Nemt Close()", "DEBUG Nemt UnregisterConnectionListener(1)",
                            "DEBUG Nemt UnregisterTopicListener(2)", "DEBUG Nemt UnregisterTopicListener(1)"));
}

TEST_F(Stop, TheLineCannotBeReleasedAfterAPulse)
{
    NEEDS_FAILURE("the direction file that cannot be opened");
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}});
    ASSERT_TRUE(daemon.AwaitLine("Reconnect()"));
    Fail(Operation::DirectionOpen, EACCES);
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_GE(daemon.Count("ERROR Reset Cannot set direction of STM32 reset GPIO 3: Permission denied"), 2);
}

} // namespace
