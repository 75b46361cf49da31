// orvelctl check.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ResourceLimit.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>

using Simulator::Event;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace
{

Outcome Check(std::vector<std::string> options = {}, const std::string& library = Paths::StandInLibrary())
{
    options.insert(options.begin(), {Paths::Client(), "check"});
    Daemon program(options, {{"LD_LIBRARY_PATH", library}});
    const int status = program.Wait();
    return {status, program.Lines()};
}

// The lines that are not "ok". The processes of other tests do not matter here.
std::vector<std::string> Complaints(const Outcome& outcome)
{
    std::vector<std::string> complaints;
    for (const std::string& line : outcome.lines)
    {
        if (line.rfind("ok ", 0) != 0 && line.rfind("warn  running daemon ", 0) != 0)
        {
            complaints.push_back(line);
        }
    }
    return complaints;
}

class ClientCheckOnBoard : public OnBoard
{
protected:
    // The daemon does what the check says.
    int StatusOfDaemon()
    {
        Daemon daemon;
        AwaitLedWorker(daemon);
        EXPECT_TRUE(Await([&] { return HasOpened(daemon) || !IsRunning(daemon); }));
        return daemon.Stop();
    }

    static bool IsRunning(const Daemon& daemon)
    {
        return kill(daemon.Id(), 0) == 0 && !std::ifstream("/proc/" + std::to_string(daemon.Id()) + "/exe").fail();
    }
};

TEST_F(ClientCheckOnBoard, ABoardWithAllThatIsNeededIsOk)
{
    const Outcome outcome = Check();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(
        outcome.lines,
        ElementsAre("ok    daemon                 is " + Paths::Driver(),
                    "ok    libNemt.so             is " + Paths::StandInLibrary() + "/libNemt.so",
                    "ok    reset GPIO 3           can be exported, unless a driver has it",
                    "ok    /dev/ttymxc2           can be opened, if nobody else has it",
                    "ok    /dev/uleds             can be opened",
                    "ok    fs.mqueue.msg_max      is 32, and 14 are needed",
                    "ok    fs.mqueue.msgsize_max  is 8192, and 261 are needed",
                    MatchesRegex("ok    RLIMIT_MSGQUEUE        the queues fit into the [0-9]+ bytes for this user"),
                    "ok    /cemiFromLL            is not there yet", "ok    /cemiToLL              is not there yet",
                    "ok    /progButton            is not there yet", StartsWith("ok    running daemon         ")));
}

TEST_F(ClientCheckOnBoard, LeavesNothingBehind)
{
    EXPECT_EQ(Check().status, 0);
    EXPECT_TRUE(std::filesystem::is_empty("/dev/mqueue"));
    EXPECT_THAT(board->GpioWrites(), IsEmpty());
}

constexpr const char* StartNoSecondOne =
    ": start no second one, which would reset the co-processor under the first, and remove its queues when it ends";

TEST_F(ClientCheckOnBoard, ARunningDaemonIsNoProblemUnlessASecondOneIsStarted)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Outcome outcome = Check();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, Contains("warn  running daemon         is process " + std::to_string(daemon.Id()) +
                                        " (orvel), which has the queues and /dev/ttymxc2 open" + StartNoSecondOne));
    EXPECT_THAT(outcome.lines,
                Contains("ok    /cemiToLL              is there as the daemon makes it: a daemon runs, or was killed"));
    EXPECT_THAT(outcome.lines, Contains("ok    reset GPIO 3           is exported, and can be driven"));
    EXPECT_EQ(daemon.Stop(), 0);
}

// The harm that the warning describes: the second daemon resets the first one's co-processor, and removes its queues
// when it ends.
TEST_F(ClientCheckOnBoard, ASecondDaemonResetsTheCoProcessorUnderTheFirstAndTakesItsQueues)
{
    Daemon first;
    ASSERT_TRUE(AwaitRunning(first));
    seen = events.Count();
    Daemon second;
    EXPECT_TRUE(AwaitEvent(Event::ResetLineLow));
    EXPECT_TRUE(Await([&] { return HasOpened(second); }));
    second.Stop();
    EXPECT_FALSE(Queue::Exists("/cemiToLL"));
    first.Stop();
}

TEST_F(ClientCheckOnBoard, ADaemonThatThisUserMayNotLookIntoIsFoundByItsName)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    // Without this capability nobody may look into a process that has more capabilities.
    WithoutCapability(CAP_SYS_PTRACE,
                      [&]
                      {
                          const Outcome outcome = Check();
                          EXPECT_EQ(outcome.status, 0);
                          EXPECT_THAT(outcome.lines,
                                      Contains("warn  running daemon         may be process " +
                                               std::to_string(daemon.Id()) +
                                               " (orvel), which this user may not look into" + StartNoSecondOne));
                      });
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientCheckOnBoard, AnApplicationThatHasTheQueuesOpenIsNoDaemonAndNeitherIsTheBoard)
{
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue toLink("/cemiToLL"); // in this process, which is the board as well
    ClientProgram application({"monitor"});
    ASSERT_TRUE(Await([&] { return IsRunning(*application.operator->()); }));
    EXPECT_THAT(Check().lines, Not(Contains(HasSubstr("is process"))));
    application->Stop();
}

TEST_F(ClientCheckOnBoard, TheDaemonOfAnotherBoardIsNone)
{
    Daemon other({Paths::Board(), "--name", "check-" + std::to_string(getpid())}, {});
    ASSERT_TRUE(other.AwaitEvent(Event::LinkUp));
    EXPECT_THAT(Check().lines, Not(Contains(HasSubstr("is process"))));
    EXPECT_EQ(other.Stop(), 0);
}

TEST_F(ClientCheckOnBoard, FewerMessagesThanTheQueuesNeedAreNamedAsTheDaemonFails)
{
    WithMessageLimit(13,
                     [&]
                     {
                         const Outcome outcome = Check();
                         EXPECT_EQ(outcome.status, 1);
                         EXPECT_THAT(Complaints(outcome),
                                     ElementsAre("fail  fs.mqueue.msg_max      is 13, and 14 are needed without "
                                                 "CAP_SYS_RESOURCE: sysctl fs.mqueue.msg_max=14"));
                         Daemon daemon;
                         EXPECT_EQ(daemon.Wait(), 255);
                     });
}

TEST_F(ClientCheckOnBoard, ALimitThatTheServiceDoesNotGoOverIsAWarningWhereThisUserDoes)
{
    const MadeQueue fromLink("/cemiFromLL"); // from before
    const MadeQueue toLink("/cemiToLL");
    WithMessageLimit(13,
                     []
                     {
                         const Outcome outcome = Check();
                         EXPECT_EQ(outcome.status, 0);
                         EXPECT_THAT(Complaints(outcome),
                                     ElementsAre("warn  fs.mqueue.msg_max      is 13, and 14 are needed: only "
                                                 "CAP_SYS_RESOURCE goes over it; "
                                                 "better sysctl fs.mqueue.msg_max=14"));
                     });
}

TEST_F(ClientCheckOnBoard, ALinkLibraryThatIsNotFoundIsNamedAsTheDaemonFails)
{
    const Outcome outcome = Check({}, "/none");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        Complaints(outcome),
        ElementsAre("fail  libNemt.so             is not found: install it where the loader looks (ldconfig), or "
                    "set LD_LIBRARY_PATH"));
    Daemon daemon({Paths::Driver()}, {{"LD_LIBRARY_PATH", "/none"}});
    EXPECT_NE(daemon.Wait(), 0);
}

TEST_F(ClientCheckOnBoard, ALinkLibraryThatLacksWhatTheDaemonNeedsIsNamed)
{
    const TemporaryDirectory directory;
    std::filesystem::copy_file(Paths::LateThreads(), directory.File("libNemt.so"));
    Outcome outcome = Check({}, std::filesystem::path(directory.File("x")).parent_path());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(Complaints(outcome),
                ElementsAre(MatchesRegex("fail  libNemt.so             .*/libNemt.so is for another "
                                         "version of the daemon: [0-9]+ undefined symbols, such as "
                                         "_ZN4Nemt.*")));
    std::ofstream(directory.File("libNemt.so"), std::ios::trunc) << "nothing";
    outcome = Check({}, std::filesystem::path(directory.File("x")).parent_path());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        Complaints(outcome),
        ElementsAre(MatchesRegex("fail  libNemt.so             cannot be loaded: .*/libNemt.so: file too short")));
}

TEST_F(ClientCheckOnBoard, ADaemonThatCannotBeRunIsNamed)
{
    EXPECT_THAT(
        Complaints(Check({"--driver", "/no/daemon"})),
        ElementsAre("fail  daemon                 /no/daemon cannot be run: No such file or directory; --driver says "
                    "where the daemon is"));
    const TemporaryDirectory directory;
    const std::string junk = directory.File("junk");
    std::ofstream(junk) << "#!/bin/sh\necho it was run\n";
    std::filesystem::permissions(junk, std::filesystem::perms::owner_all);
    const Outcome outcome = Check({"--driver", junk});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(Complaints(outcome), ElementsAre("fail  daemon                 " + junk +
                                                 " is no dynamically linked program: is it the daemon?"));
    EXPECT_THAT(Complaints(Check({"--driver", Paths::Client()})),
                ElementsAre("fail  libNemt.so             is not what this program asks for: is it the daemon?"));
}

TEST_F(ClientCheckOnBoard, AnLedDeviceThatCannotBeOpenedIsNamedAsTheDaemonFails)
{
    const std::vector<std::pair<int, std::string>> failures{
        {ENODEV, "is not there: modprobe uleds, for which the kernel needs CONFIG_LEDS_USER"},
        {EACCES, "is not for this user: be root, or let udev give the right"},
        {EIO, "cannot be opened: Input/output error"},
    };
    for (const auto& [error, text] : failures)
    {
        Fail(Simulator::Operation::UledsOpen, error);
        const Outcome outcome = Check();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(Complaints(outcome), ElementsAre("fail  /dev/uleds             " + text));
    }
    Daemon daemon;
    AwaitLedWorker(daemon);
    EXPECT_EQ(daemon.Wait(), 255);
}

TEST_F(ClientCheckOnBoard, AQueueThatIsLeftOverWithOtherSizesIsAWarning)
{
    const MadeQueue leftOver("/cemiToLL", 10, 8192);
    const Outcome outcome = Check();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(
        Complaints(outcome),
        ElementsAre("warn  /cemiToLL              is left over with 10 messages of 8192 bytes instead of 14 messages "
                    "of 261 bytes; the service replaces it, a daemon started by hand takes it as it is: "
                    "rm /dev/mqueue/cemiToLL"));
    EXPECT_EQ(StatusOfDaemon(), 0);
}

TEST_F(ClientCheckOnBoard, AQueueOfAnotherUserIsNamedAsTheDaemonFails)
{
    const MadeQueue queue("/cemiFromLL", 14, 261, 0444);
    WithoutCapability(CAP_DAC_OVERRIDE,
                      [&]
                      {
                          const Outcome outcome = Check();
                          EXPECT_EQ(outcome.status, 1);
                          EXPECT_THAT(Complaints(outcome),
                                      ElementsAre("fail  /cemiFromLL            belongs to root, whose daemon may be "
                                                  "running; run this as root"));
                          Daemon daemon;
                          EXPECT_EQ(daemon.Wait(), 255);
                      });
}

TEST_F(ClientCheckOnBoard, TakesTheNamesOfTheButtonsQueues)
{
    EXPECT_THAT(Check({"--prog_button_message_queue", "/a", "--prog_button_message_queue", "/b"}).lines,
                AllOf(Contains("ok    /a                     is not there yet"),
                      Contains("ok    /b                     is not there yet"),
                      Not(Contains(HasSubstr("/progButton")))));
    for (const std::string name : {"button", "/a/b"})
    {
        const Outcome outcome = Check({"--prog_button_message_queue", name});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(Complaints(outcome), ElementsAre("fail  " + name + std::string(23 - name.size(), ' ') +
                                                     "is no name of a queue, which begins with / and has no other"));
        Daemon daemon({"--prog_button_message_queue", name});
        EXPECT_EQ(daemon.Wait(), 255);
    }
}

TEST_F(ClientCheckOnBoard, TooLittleRoomForTheQueuesIsNamed)
{
    const Outcome outcome = []
    {
        const ResourceLimit oneOfTheBigQueues(RLIMIT_MSGQUEUE, 5500);
        return Check();
    }();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        Complaints(outcome),
        ElementsAre("fail  RLIMIT_MSGQUEUE        of the 5500 bytes for this user's queues, too few are left: remove "
                    "some from /dev/mqueue, or raise it (ulimit -q, LimitMSGQUEUE=)"));
}

TEST(ClientCheckAlone, AMachineWithoutABoardLacksItsDevices)
{
    const Outcome outcome = Check();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        Complaints(outcome),
        Contains("fail  /dev/ttymxc2           is not there: the kernel lacks its driver, or the device tree does not "
                 "enable it"));
}

} // namespace
