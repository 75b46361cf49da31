// The ways out of the supervision loop.

#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"
#include "BenchKit/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using Simulator::Operation;
using testing::ElementsAre;

namespace
{

using Stop = OnBoard;

// Waits until the main thread has reached its loop.
bool AwaitSupervising(Daemon& daemon)
{
    return daemon.AwaitLine("IsConnected()");
}

// Whether the main thread sleeps. The kernel shows the number of the call in which it waits.
bool IsAsleep(pid_t process)
{
    std::ifstream file(DirectoryOf(process) / "syscall");
    long call = -1;
    file >> call;
    return call == SYS_clock_nanosleep || call == SYS_nanosleep;
}

// The signals up to 31 in one of the masks that the kernel shows of a process, without those by which sanitizers
// notice a crash.
std::vector<int> SignalsIn(const std::string& mask, pid_t process)
{
    const auto bits = std::stoull(StatusOf(process, mask), nullptr, 16);
    std::vector<int> signals;
    for (int signal = 1; signal <= 31; ++signal)
    {
        const bool ofACrash = signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE;
        if ((bits >> (signal - 1) & 1U) != 0 && !ofACrash)
        {
            signals.push_back(signal);
        }
    }
    return signals;
}

// Whether another program (an emulator, valgrind) runs the daemon, and catches signals for it.
bool IsInOtherHands(const Daemon& daemon)
{
    return !std::filesystem::equivalent(DirectoryOf(daemon.Id()) / "exe", Paths::Driver());
}

// While it exists, the tests ignore none of the signals that they may have inherited as ignored.
class DefaultSignals
{
public:
    DefaultSignals()
    {
        for (std::size_t index = 0; index < Numbers.size(); ++index)
        {
            handlers[index] = std::signal(Numbers[index], SIG_DFL);
        }
    }

    ~DefaultSignals()
    {
        for (std::size_t index = 0; index < Numbers.size(); ++index)
        {
            static_cast<void>(std::signal(Numbers[index], handlers[index]));
        }
    }

    DefaultSignals(const DefaultSignals&) = delete;
    DefaultSignals& operator=(const DefaultSignals&) = delete;

private:
    static constexpr std::array Numbers{SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};
    std::array<sighandler_t, Numbers.size()> handlers{};
};

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

TEST_F(Stop, ASigintDuringThePeriodLetsTheLostLinkBeAnsweredFirst)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CONNECTED", "0"}});
    ASSERT_TRUE(AwaitSupervising(daemon));
    ASSERT_TRUE(Await([&] { return IsAsleep(daemon.Id()); }));
    EXPECT_EQ(daemon.Stop(), 0);
    auto lines = Behind(daemon.MainThreadLines(), "DEBUG Nemt IsConnected()");
    lines.resize(3);
    EXPECT_THAT(lines, ElementsAre("ERROR Main Lost connection to STM32, resetting and trying to reconnect.",
                                   "DEBUG Reset Resetting STM32 using GPIO 3", "DEBUG Nemt Reconnect()"));
}

TEST_F(Stop, ASigintDuringThePeriodInWhichAComponentFailedIsAFailure)
{
    auto daemon = Daemon::OnTraceLibrary({"-p", "without slash"});
    ASSERT_TRUE(AwaitSupervising(daemon));
    ASSERT_TRUE(Await([&] { return IsAsleep(daemon.Id()) || daemon.Count("DEBUG Nemt Close()") == 1; }));
    EXPECT_EQ(daemon.Stop(), 255);
}

TEST_F(Stop, ASecondSigintChangesNothing)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_CLOSE_DELAY", "1000"}});
    ASSERT_TRUE(AwaitSupervising(daemon));
    daemon.Interrupt();
    ASSERT_TRUE(daemon.AwaitLine("Close()")); // the first was handled; two that come at once would be one
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 1);
    EXPECT_EQ(daemon.Count("DEBUG Nemt UnregisterTopicListener(1)"), 1);
}

TEST_F(Stop, NoOtherSignalIsCaughtOrIgnored)
{
    const DefaultSignals inherited;
    auto daemon = Daemon::OnTraceLibrary();
    ASSERT_TRUE(AwaitSupervising(daemon));
    if (IsInOtherHands(daemon))
    {
        GTEST_SKIP() << "the signals that are caught are those of the program that runs the daemon";
    }
    EXPECT_THAT(SignalsIn("SigCgt", daemon.Id()), ElementsAre(SIGINT));
    EXPECT_EQ(SignalsIn("SigIgn", daemon.Id()), SignalsIn("SigIgn", getpid())); // it inherits what is ignored
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Stop, OtherSignalsEndTheProcessAtOnce)
{
    const DefaultSignals inherited;
    for (const int signal : {SIGTERM, SIGHUP, SIGPIPE})
    {
        auto daemon = Daemon::OnTraceLibrary();
        ASSERT_TRUE(AwaitSupervising(daemon));
        daemon.Signal(signal);
        EXPECT_EQ(daemon.Wait(), 128 + signal);
        EXPECT_EQ(daemon.Count("DEBUG Nemt Close()"), 0);
    }
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

TEST_F(Stop, ASigintWhileTheLogIsBeingConfiguredKills)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("log.properties");
    EXPECT_EQ(mkfifo(file.c_str(), 0600), 0);
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", file});
    System::Descriptor writingEnd; // can be opened only while there is a reader, who then waits for a text
    EXPECT_TRUE(Await(
        [&]
        {
            writingEnd = System::Descriptor(open(file.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
            return writingEnd.IsOpen();
        }));
    daemon.Interrupt();
    writingEnd.Close();
    EXPECT_EQ(daemon.Wait(), 128 + SIGINT);
    EXPECT_THAT(daemon.Lines(), ElementsAre());
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
