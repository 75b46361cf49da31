// The start script of boards without systemd, on a board that has BusyBox and nothing else.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"

#include <gmock/gmock.h>

#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <csignal>
#include <sstream>

namespace
{

using Simulator::Event;
using testing::ElementsAre;

class InitScript : public OnBoard
{
protected:
    void SetUp() override
    {
        // This stands in the place of init, which adopts the daemon when the script has ended.
        ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
        std::string pattern = (std::filesystem::temp_directory_path() / "orvel-root-XXXXXX").string();
        root = mkdtemp(pattern.data());
        Daemon made({Paths::InSourceTree("Tests/System/BusyBoxRoot"), root, Paths::Driver(), Paths::StandInLibrary(),
                     Paths::InSourceTree("Packaging/Init/orvel"), Paths::Prepare()},
                    {});
        const int status = made.Wait();
        if (status == 77)
        {
            GTEST_SKIP() << "a script is in the place of the daemon here";
        }
        ASSERT_EQ(status, 0) << testing::PrintToString(made.Lines());
        if (HasOtherUsers())
        {
            Write("/etc/passwd", "orvel:x:4711:4712::/:/bin/false\n");
            Write("/etc/group", "orvel:x:4712:\n");
        }
        log = std::make_unique<Daemon>(
            std::vector<std::string>{"chroot", root, "/bin/busybox", "syslogd", "-n", "-O", "/tmp/messages"},
            Daemon::Environment{});
        ASSERT_TRUE(Await([&] { return std::filesystem::exists(File("/dev/log")); }));
    }

    void TearDown() override
    {
        if (HasFailure())
        {
            std::cout << "logged:\n" << Logged();
        }
        if (Script("status").status == 0)
        {
            kill(DaemonId(), SIGKILL);
        }
        log.reset();
        umount2(root.c_str(), MNT_DETACH);
        std::filesystem::remove(root);
        OnBoard::TearDown();
    }

    static bool HasOtherUsers()
    {
        return Daemon({"chroot", "--userspec=4711:4712", "/", "true"}, {}).Wait() == 0;
    }

    // What the script says of a start, after what it says if root is the only user.
    std::vector<std::string> Says(std::vector<std::string> lines) const
    {
        if (!std::filesystem::exists(File("/etc/passwd")))
        {
            lines.insert(lines.end() - 1, AsRoot);
        }
        return lines;
    }

    std::vector<std::string> StartedAs() const
    {
        return Says({"orvel: started, as process " + std::to_string(DaemonId())});
    }

    Outcome Script(const std::string& action)
    {
        return InRoot({"/etc/init.d/orvel", action});
    }

    Outcome InRoot(const std::vector<std::string>& command, const std::vector<std::string>& options = {})
    {
        std::vector<std::string> inRoot{"chroot"};
        inRoot.insert(inRoot.end(), options.begin(), options.end());
        inRoot.push_back(root);
        inRoot.insert(inRoot.end(), command.begin(), command.end());
        // The root has no list of suppressions for the thread sanitizer. This tests the script, which takes
        // a daemon that ends slowly for one that runs.
        Daemon program(inRoot, {{"PATH", "/usr/sbin:/sbin:/bin"}, {"TSAN_OPTIONS", "report_bugs=0:atexit_sleep_ms=0"}});
        const int status = program.Wait();
        return {status, program.Lines()};
    }

    void Write(const std::string& file, const std::string& text) const
    {
        std::ofstream(File(file)) << text;
    }

    std::string Read(const std::string& file) const
    {
        std::stringstream text;
        text << std::ifstream(File(file)).rdbuf();
        return text.str();
    }

    std::string File(const std::string& name) const
    {
        return root + name;
    }

    std::string Logged() const
    {
        return Read("/tmp/messages");
    }

    static std::string NameOf(pid_t process)
    {
        std::stringstream name;
        name << std::ifstream("/proc/" + std::to_string(process) + "/comm").rdbuf();
        return name.str();
    }

    pid_t DaemonId() const
    {
        return std::stoi(Read("/run/orvel.pid"));
    }

    static constexpr const char* AsRoot = "orvel: as root: there is no user orvel (addgroup -S orvel; "
                                          "adduser -S -D -H -G orvel orvel) or no start-stop-daemon";

private:
    std::string root;
    std::unique_ptr<Daemon> log;
};

TEST_F(InitScript, StartsTheDaemonOnceAndStopsItInOrder)
{
    const Outcome start = Script("start");
    EXPECT_EQ(start.status, 0);
    EXPECT_EQ(start.lines, StartedAs());
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_TRUE(Await([&] { return Queue::Exists("/cemiToLL"); }));

    const Outcome again = Script("start");
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.lines, ElementsAre("orvel: runs already, as process " + std::to_string(DaemonId())));
    const Outcome running = Script("status");
    EXPECT_EQ(running.status, 0);
    EXPECT_THAT(running.lines, ElementsAre("orvel: runs, as process " + std::to_string(DaemonId())));

    const Outcome stop = Script("stop");
    EXPECT_EQ(stop.status, 0);
    EXPECT_THAT(stop.lines, ElementsAre("orvel: stopped"));
    EXPECT_FALSE(Queue::Exists("/cemiToLL"));
    const Outcome stopped = Script("status");
    EXPECT_EQ(stopped.status, 3);
    EXPECT_THAT(stopped.lines, ElementsAre("orvel: does not run"));
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, RestartsTheDaemon)
{
    ASSERT_EQ(Script("start").status, 0);
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    const pid_t first = DaemonId();
    const Outcome restart = Script("restart");
    EXPECT_EQ(restart.status, 0);
    EXPECT_EQ(restart.lines, Says({"orvel: stopped", "orvel: started, as process " + std::to_string(DaemonId())}));
    EXPECT_NE(DaemonId(), first);
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, StartsTheDaemonAsItsOwnUser)
{
    if (!HasOtherUsers())
    {
        GTEST_SKIP() << "there is no other user in a namespace that was not made by root";
    }
    ASSERT_EQ(Script("start").status, 0);
    EXPECT_EQ(StatusOf(DaemonId(), "Uid"), "4711\t4711\t4711\t4711");
    EXPECT_EQ(StatusOf(DaemonId(), "Gid"), "4712\t4712\t4712\t4712");
    EXPECT_THAT(StatusOf(DaemonId(), "Groups"), testing::AnyOf("4712 ", ""));
    EXPECT_EQ(StatusOf(DaemonId(), "CapEff"), "0000000000000000");
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    struct stat queue = {};
    EXPECT_EQ(stat("/dev/mqueue/cemiToLL", &queue), 0);
    EXPECT_EQ(queue.st_mode & 07777U, 0620U);
    EXPECT_EQ(queue.st_gid, 4712U);
    EXPECT_EQ(Script("restart").status, 0);
    EXPECT_EQ(Script("stop").status, 0);
    EXPECT_FALSE(Queue::Exists("/cemiToLL"));
}

TEST_F(InitScript, StartsTheDaemonAsRootWhereTheBoardHasNoUserForIt)
{
    std::filesystem::remove(File("/etc/passwd"));
    const Outcome start = Script("start");
    EXPECT_EQ(start.status, 0);
    EXPECT_THAT(start.lines, ElementsAre(AsRoot, "orvel: started, as process " + std::to_string(DaemonId())));
    EXPECT_EQ(StatusOf(DaemonId(), "Uid"), "0\t0\t0\t0");
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, SaysWhatTheDaemonLacks)
{
    if (!HasOtherUsers())
    {
        GTEST_SKIP() << "there is no other user in a namespace that was not made by root";
    }
    Write("/etc/default/orvel", "ORVEL_OPTIONS=\"--reset_gpio 4096\"\n");
    const Outcome start = Script("start");
    EXPECT_EQ(start.status, 1);
    EXPECT_THAT(start.lines, ElementsAre(testing::StartsWith("orvel-prepare: cannot export pin 4096 of --reset_gpio"),
                                         "orvel: has not started"));
    EXPECT_EQ(Script("status").status, 3);
}

TEST_F(InitScript, GivesTheDaemonItsOptionsAndWhatItWritesToTheLog)
{
    Write("/etc/default/orvel", "ORVEL_OPTIONS=\"--version --prog_button_message_queue /knob\"\n");
    ASSERT_EQ(Script("start").status, 0);
    EXPECT_TRUE(Await([&] { return Queue::Exists("/knob"); }));
    EXPECT_TRUE(Await([&] { return Logged().find("orvel: Version ") != std::string::npos; }));
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, SchedulesTheMainThreadFirstWhereItCan)
{
    std::filesystem::remove(File("/bin/chrt"));
    Write("/bin/chrt", "#!/bin/sh\necho \"$*\" >>/tmp/scheduled\nshift 3\nexec \"$@\"\n");
    std::filesystem::permissions(File("/bin/chrt"), std::filesystem::perms{0755});
    ASSERT_EQ(Script("start").status, 0);
    const std::string asUser = "start-stop-daemon -S -q -p /run/orvel.pid -c orvel:orvel -x /usr/sbin/orvel --";
    EXPECT_EQ(Read("/tmp/scheduled"), "--fifo --reset-on-fork 1 true\n--fifo --reset-on-fork 1 " +
                                          (HasOtherUsers() ? asUser : "/usr/sbin/orvel") + "\n");
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, SaysThatADaemonHasNotStarted)
{
    Write("/etc/default/orvel", "ORVEL_OPTIONS=--nonsense\n");
    const Outcome start = Script("start");
    EXPECT_EQ(start.status, 1);
    EXPECT_EQ(start.lines, Says({"orvel: has not started; the system's log says why"}));
    EXPECT_TRUE(Await([&] { return Logged().find("orvel: Option") != std::string::npos; }));
    const Outcome status = Script("status");
    EXPECT_EQ(status.status, 1);
    EXPECT_THAT(status.lines, ElementsAre("orvel: has ended by itself; the system's log says why"));
}

TEST_F(InitScript, LeavesAProcessAloneThatHasTheNumberOfAnEarlierDaemon)
{
    Daemon other({"sleep", "1000"}, {});
    Write("/run/orvel.pid", std::to_string(other.Id()) + "\n");
    EXPECT_EQ(Script("status").status, 1);
    EXPECT_THAT(Script("stop").lines, ElementsAre("orvel: does not run"));
    EXPECT_EQ(kill(other.Id(), 0), 0);
    other.Signal(SIGTERM);
    EXPECT_EQ(other.Wait(), 128 + SIGTERM);
}

TEST_F(InitScript, StartsNoSecondDaemonBesideOneWhoseNumberItHasNot)
{
    ASSERT_EQ(Script("start").status, 0);
    const std::string number = std::to_string(DaemonId());
    std::filesystem::remove(File("/run/orvel.pid"));
    const Outcome start = Script("start");
    const std::string numberOfSecond = Read("/run/orvel.pid");
    Write("/run/orvel.pid", number + "\n");
    EXPECT_EQ(start.status, 1);
    EXPECT_THAT(start.lines, ElementsAre("orvel: process " + number + " runs, which this script has not started"));
    EXPECT_EQ(numberOfSecond, "");
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, StartsTheDaemonBesideAnotherProgramOfItsName)
{
    std::filesystem::copy_file("/bin/sleep", File("/tmp/orvel"));
    Daemon other({File("/tmp/orvel"), "1000"}, {});
    ASSERT_TRUE(Await([&] { return NameOf(other.Id()) == "orvel\n"; }));
    EXPECT_EQ(Script("start").status, 0);
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, StartsTheDaemonBesideWhatAStrangerMakesOfItsFile)
{
    if (!HasOtherUsers())
    {
        GTEST_SKIP() << "there is no other user in a namespace that was not made by root";
    }
    const std::string file = "/tmp/waits"; // for somebody who writes
    ASSERT_EQ(mkfifo(File(file).c_str(), 0600), 0);
    ASSERT_EQ(chmod(File(file).c_str(), 0644), 0);
    Daemon stranger({"chroot", "--userspec=4713:4713", File("/"), "/usr/sbin/orvel", "--log_config_file", file},
                    {{"LD_LIBRARY_PATH", "/usr/lib"}});
    ASSERT_TRUE(Await([&] { return NameOf(stranger.Id()) == "orvel\n"; }));
    const Outcome start = Script("start");
    EXPECT_EQ(start.status, 0);
    EXPECT_THAT(start.lines, testing::ElementsAreArray(StartedAs()));
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, LetsTheDaemonKeepNoDirectoryOfItsCaller)
{
    ASSERT_EQ(InRoot({"/bin/sh", "-c", "cd /tmp && /etc/init.d/orvel start"}).status, 0);
    EXPECT_TRUE(std::filesystem::equivalent(DirectoryOf(DaemonId()) / "cwd", File("/")));
    EXPECT_EQ(Script("stop").status, 0);
}

TEST_F(InitScript, NeedsRootForAllButTheStatus)
{
    const std::string asUser = "--userspec=1000:1000";
    if (Daemon({"chroot", asUser, "/", "true"}, {}).Wait() != 0)
    {
        GTEST_SKIP() << "there is no other user in a namespace that was not made by root";
    }
    for (const std::string action : {"start", "stop", "restart"})
    {
        const Outcome outcome = InRoot({"/etc/init.d/orvel", action}, {asUser});
        EXPECT_EQ(outcome.status, 4) << action;
        EXPECT_THAT(outcome.lines, ElementsAre("orvel: needs root")) << action;
    }
    EXPECT_EQ(InRoot({"/etc/init.d/orvel", "status"}, {asUser}).status, 3);
}

TEST_F(InitScript, SaysWhatItTakes)
{
    const Outcome outcome = Script("reload");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.lines, ElementsAre("usage: /etc/init.d/orvel {start|stop|restart|status}"));
}

} // namespace
