// The program that uses root's rights for what the daemon's user cannot do, on the simulated board.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"
#include "Overlay.h"

#include "Orvel/Protocol.h"
#include "System/MessageQueue.h"

#include <gmock/gmock.h>

#include <mqueue.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sysexits.h>

#include <csignal>
#include <filesystem>
#include <sstream>

namespace
{

using Simulator::Event;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uid_t DaemonUser = 4711;
constexpr gid_t ApplicationGroup = 4712;
constexpr uid_t Stranger = 4713;

const std::vector<std::string> QueueNames{ORVEL_CEMI_TO_LL_QUEUE, ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_PROG_BUTTON_QUEUE};
constexpr const char* ToLink = "4711:4712 0620, 14 of 261";
constexpr const char* FromLink = "4711:4712 0640, 14 of 261";
constexpr const char* Button = "4711:4712 0640, 6 of 1";

std::string OwnerAndMode(const struct stat& status)
{
    std::ostringstream text;
    text << status.st_uid << ':' << status.st_gid << " 0" << std::oct << (status.st_mode & 07777U);
    return text.str();
}

// Owner and mode as "0:0 0644", or "nothing".
std::string File(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? OwnerAndMode(status) : "nothing";
}

// Owner, mode and sizes as "4711:4712 0640, 6 of 1", or "nothing".
std::string QueueIs(const std::string& name)
{
    const auto queue = System::MessageQueue::TryOpen(name, Queue::For::Reading);
    struct stat status = {};
    if (!queue || fstat(queue->Descriptor(), &status) == -1)
    {
        return "nothing";
    }
    return OwnerAndMode(status) + ", " + std::to_string(queue->Capacity()) + " of " +
           std::to_string(queue->MessageSize());
}

std::vector<std::string> QueuesAre()
{
    return {QueueIs(QueueNames[0]), QueueIs(QueueNames[1]), QueueIs(QueueNames[2])};
}

ino_t IdentityOf(const std::string& queue)
{
    struct stat status = {};
    EXPECT_EQ(stat(("/dev/mqueue" + queue).c_str(), &status), 0);
    return status.st_ino;
}

bool IsMapped(uid_t user)
{
    std::ifstream map("/proc/self/uid_map");
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    while (map >> inside >> outside >> count)
    {
        if (user >= inside && user - inside < count)
        {
            return true;
        }
    }
    return false;
}

// A process of another user that makes the daemon's queues, open to everybody, as often as it can.
class MakesQueues
{
public:
    explicit MakesQueues(bool removes = false)
        : process(fork())
    {
        if (process == 0)
        {
            Run(removes);
        }
    }

    ~MakesQueues()
    {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

    MakesQueues(const MakesQueues&) = delete;
    MakesQueues& operator=(const MakesQueues&) = delete;

private:
    [[noreturn]] static void Run(bool removes)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        syscall(SYS_setresuid, Stranger, Stranger, Stranger);
        umask(0);
        for (;;)
        {
            for (const std::string& name : QueueNames)
            {
                close(mq_open(name.c_str(), O_RDWR | O_CREAT, 0666, nullptr));
                if (removes)
                {
                    mq_unlink(name.c_str());
                }
            }
        }
    }

    pid_t process;
};

class Prepare : public OnBoard
{
protected:
    void SetUp() override
    {
        if (!IsMapped(DaemonUser) || !IsMapped(Stranger))
        {
            GTEST_SKIP() << "there is no other user in a namespace that was not made by root";
        }
        Add("/etc/passwd", "orvel:x:4711:4712::/:/usr/sbin/nologin");
        Add("/etc/group", "orvel:x:4712:");
    }

    void TearDown() override
    {
        for (const std::string& file : added)
        {
            Simulator::Unmount(file);
        }
        for (const std::string& queue : QueueNames)
        {
            mq_unlink(queue.c_str());
        }
        OnBoard::TearDown();
    }

    static Outcome Run(std::vector<std::string> options = {}, const Daemon::Environment& environment = {})
    {
        options.insert(options.begin(), Paths::Prepare());
        Daemon program(std::move(options), environment);
        const int status = program.Wait();
        return {status, program.Lines()};
    }

    void RemoveUser()
    {
        Simulator::Unmount(added.back());
        added.pop_back();
    }

    // A copy for another user. Other users may be unable to reach the build tree, as in root's home, or to read its files.
    std::string CopyForAll(const std::filesystem::path& file) const
    {
        const std::filesystem::path copy = directory.Path() / file.filename();
        std::filesystem::copy_file(file, copy);
        std::filesystem::permissions(copy, std::filesystem::perms{0755});
        return copy;
    }

    // The environment in which another user runs such a copy.
    Daemon::Environment ForAll() const
    {
        std::filesystem::permissions(directory.Path(), std::filesystem::perms{0711});
        CopyForAll(Paths::StandInLibrary() + "/libNemt.so");
        Daemon::Environment environment{{"LD_LIBRARY_PATH", directory.Path()}};
#ifdef __SANITIZE_THREAD__
        const std::string suppressions = CopyForAll(Paths::InSourceTree("Tests/Suppressions/tsan.txt"));
        environment.emplace_back("TSAN_OPTIONS", "suppressions=" + suppressions);
        environment.emplace_back("LD_PRELOAD", CopyForAll(Paths::LateThreads()));
#endif
        return environment;
    }

    TemporaryDirectory directory;

private:
    void Add(const std::string& file, const std::string& line)
    {
        const std::string copy = directory.File(std::filesystem::path(file).filename());
        std::filesystem::copy_file(file, copy);
        std::ofstream(copy, std::ios_base::app) << line << '\n';
        Simulator::BindMount(copy, file);
        added.push_back(file);
    }

    std::vector<std::string> added;
};

TEST_F(Prepare, MakesTheQueuesForTheDaemonAndItsGroup)
{
    const Outcome outcome = Run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, IsEmpty());
    EXPECT_THAT(QueuesAre(), ElementsAre(ToLink, FromLink, Button));
}

TEST_F(Prepare, MakesTheButtonQueuesThatTheOptionsName)
{
    const std::string longest = "/" + std::string(NAME_MAX, 'k');
    EXPECT_EQ(Run({"-p", "/knob", "--prog_button_message_queue=" + longest, "-p", "/knob"}).status, 0);
    EXPECT_EQ(QueueIs("/knob"), Button);
    EXPECT_EQ(QueueIs(longest), Button);
    EXPECT_EQ(QueueIs("/progButton"), "nothing");
    mq_unlink("/knob");
    mq_unlink(longest.c_str());
}

TEST_F(Prepare, LetsTheDaemonRunWithoutAnyRightOfRoots)
{
    const std::string program = CopyForAll(Daemon::Program());
    const Daemon::Environment environment = ForAll();
    bool hasLeds = false;
    for (int starts = 0; starts < MaxStarts && !hasLeds; ++starts) // a busy machine can let a start lose them
    {
        ASSERT_EQ(Run({"--enable_rs485"}).status, 0);
        Daemon daemon({"setpriv", "--reuid=4711", "--regid=4712", "--clear-groups", "--bounding-set=-all", program,
                       "--enable_rs485"},
                      environment);
        ASSERT_TRUE(Await([&] { return HasOpened(daemon); })) << testing::PrintToString(daemon.LogLines());
        EXPECT_TRUE(AwaitEvent(Event::LinkUp));
        EXPECT_THAT(QueuesAre(), ElementsAre(ToLink, FromLink, Button));
        hasLeds = Await([&] { return CountOf(daemon, "DEBUG Leds Created") == 5; }, std::chrono::seconds(2));
        EXPECT_EQ(CountOf(daemon, "ERROR"), 0) << testing::PrintToString(daemon.LogLines());
        EXPECT_EQ(daemon.Stop(), 0);
        EXPECT_THAT(QueuesAre(), ElementsAre("nothing", "nothing", "nothing"));
    }
    EXPECT_TRUE(hasLeds);
}

TEST_F(Prepare, KeepsQueuesThatAreRightWithWhatIsInThem)
{
    ASSERT_EQ(Run().status, 0);
    std::vector<ino_t> made;
    for (const std::string& name : QueueNames)
    {
        made.push_back(IdentityOf(name));
        EXPECT_TRUE(Queue(name, Queue::For::Writing).Send({0x01}));
    }
    const Outcome again = Run();
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.lines, IsEmpty());
    for (const std::string& name : QueueNames)
    {
        EXPECT_EQ(IdentityOf(name), made[0]) << name;
        made.erase(made.begin());
        EXPECT_EQ(Queue(name, Queue::For::Reading).Pending(), 1) << name;
    }
}

struct Wrong
{
    std::string what;
    uid_t user;
    gid_t group;
    mode_t mode;
    long messages;
    long size;
};

std::ostream& operator<<(std::ostream& stream, const Wrong& wrong)
{
    return stream << wrong.what;
}

class PrepareFinds : public Prepare, public testing::WithParamInterface<Wrong>
{
};

TEST_P(PrepareFinds, AQueueThatIsWrongAndMakesItAnew)
{
    const Wrong& wrong = GetParam();
    const std::string name = "/cemiFromLL";
    const std::string path = "/dev/mqueue" + name;
    const MadeQueue queue(name, wrong.messages, wrong.size, 0600);
    ASSERT_EQ(chown(path.c_str(), wrong.user, wrong.group), 0);
    ASSERT_EQ(chmod(path.c_str(), wrong.mode), 0);
    const ino_t before = IdentityOf(name);

    const Outcome outcome = Run();
    EXPECT_EQ(outcome.status, 0);
    ASSERT_EQ(outcome.lines.size(), 1U) << testing::PrintToString(outcome.lines);
    EXPECT_THAT(outcome.lines[0], HasSubstr("orvel-prepare: removed the queue /cemiFromLL of user"));
    EXPECT_THAT(outcome.lines[0], HasSubstr(wrong.what));
    EXPECT_NE(IdentityOf(name), before);
    EXPECT_THAT(QueuesAre(), ElementsAre(ToLink, FromLink, Button));
}

INSTANTIATE_TEST_SUITE_P(InOneRespect, PrepareFinds,
                         testing::Values(Wrong{"user 0 and", 0, ApplicationGroup, 0640, 14, 261},
                                         Wrong{"group 0,", DaemonUser, 0, 0640, 14, 261},
                                         Wrong{"mode 0644,", DaemonUser, ApplicationGroup, 0644, 14, 261},
                                         Wrong{"mode 0600,", DaemonUser, ApplicationGroup, 0600, 14, 261},
                                         Wrong{"mode 1640,", DaemonUser, ApplicationGroup, 01640, 14, 261},
                                         Wrong{"15 messages", DaemonUser, ApplicationGroup, 0640, 15, 261},
                                         Wrong{"of 262 bytes", DaemonUser, ApplicationGroup, 0640, 14, 262}));

TEST_F(Prepare, MakesTheQueuesWhoeverElseMakesThem)
{
    const MakesQueues stranger;
    for (int run = 0; run < 50; ++run)
    {
        for (const std::string& name : QueueNames)
        {
            mq_unlink(name.c_str());
            ASSERT_TRUE(Await([&] { return Queue::Exists(name); }));
        }
        const Outcome outcome = Run();
        ASSERT_EQ(outcome.status, 0) << testing::PrintToString(outcome.lines);
        EXPECT_EQ(outcome.lines.size(), QueueNames.size()) << testing::PrintToString(outcome.lines);
        EXPECT_THAT(QueuesAre(), ElementsAre(ToLink, FromLink, Button)) << "run " << run;
    }
}

TEST_F(Prepare, SaysNothingOfAQueueThatAnotherHasRemovedHimself)
{
    const MakesQueues first(true);
    const MakesQueues second(true);
    const MakesQueues third(true);
    for (int run = 0; run < 100; ++run)
    {
        const Outcome outcome = Run();
        ASSERT_EQ(outcome.status, 0) << testing::PrintToString(outcome.lines);
        EXPECT_THAT(outcome.lines, Each(HasSubstr(" of user 4713 and group 0, mode 0666, "))) << "run " << run;
        EXPECT_THAT(QueuesAre(), ElementsAre(ToLink, FromLink, Button)) << "run " << run;
        for (const std::string& name : QueueNames)
        {
            mq_unlink(name.c_str());
        }
    }
}

TEST_F(Prepare, LeavesNoQueueHalfMadeWhenItIsInterrupted)
{
    std::vector<std::string> command{Paths::Prepare()};
    for (int number = 0; number < 200; ++number)
    {
        command.insert(command.end(), {"-p", "/knob" + std::to_string(number)});
    }
    const auto remove = [&]
    {
        for (std::size_t index = 2; index < command.size(); index += 2)
        {
            mq_unlink(command[index].c_str());
        }
    };
    int interrupted = 0;
    for (int run = 0; run < 20; ++run)
    {
        Daemon program(command, {});
        const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!Queue::Exists(command[2 + 10 * static_cast<std::size_t>(run)]) &&
               std::chrono::steady_clock::now() < limit)
        {
            // The program makes a queue in a few microseconds.
        }
        program.Signal(SIGTERM);
        interrupted += program.Wait() == 128 + SIGTERM ? 1 : 0;
        for (std::size_t index = 2; index < command.size(); index += 2)
        {
            EXPECT_THAT(QueueIs(command[index]), testing::AnyOf("nothing", Button)) << command[index];
        }
        remove();
    }
    EXPECT_GT(interrupted, 0);
    remove();
}

TEST_F(Prepare, NamesAQueueThatCannotBeMade)
{
    const std::string tooLong = "/" + std::string(NAME_MAX + 1, 'k');
    for (const std::string& name : {std::string("knob"), std::string("/a/b"), std::string("/"), std::string("/.."),
                                    tooLong, std::string(ORVEL_CEMI_FROM_LL_QUEUE)})
    {
        const Outcome outcome = Run({"-p", "/first", "-p", name});
        EXPECT_EQ(outcome.status, EX_CONFIG) << name;
        ASSERT_EQ(outcome.lines.size(), 1U) << testing::PrintToString(outcome.lines);
        EXPECT_THAT(outcome.lines[0],
                    HasSubstr("orvel-prepare: cannot make the queue '" + name + "' of --prog_button_message_queue: "));
        EXPECT_FALSE(Queue::Exists("/first"));
    }
}

TEST_F(Prepare, GivesTheUserThePinAndNobodyElse)
{
    EXPECT_EQ(Run({"--reset_gpio", "12"}).status, 0);
    EXPECT_THAT(PinChanges(), IsEmpty());
    EXPECT_EQ(File("/sys/class/gpio/export"), "4711:0 0200");
    EXPECT_EQ(File("/sys/class/gpio/unexport"), "0:0 0200");
    EXPECT_EQ(File("/sys/class/gpio/gpio12/direction"), "4711:0 0644");
    EXPECT_EQ(File("/sys/class/gpio/gpio12/value"), "4711:0 0644");
    EXPECT_EQ(File("/sys/class/gpio/gpio12/edge"), "0:0 0644");
    EXPECT_EQ(File("/sys/class/gpio/gpio3/direction"), "nothing");
    EXPECT_EQ(Run({"--reset_gpio", "12"}).status, 0) << "when it is exported";
}

// A taken-over daemon owns them, and can open them to anybody.
TEST_F(Prepare, TakesThePinBackFromThoseWhomADaemonHasGivenItTo)
{
    ASSERT_EQ(Run({"--reset_gpio", "12"}).status, 0);
    for (const std::string file : {"export", "gpio12/direction", "gpio12/value"})
    {
        const std::string path = "/sys/class/gpio/" + file;
        ASSERT_EQ(chown(path.c_str(), DaemonUser, ApplicationGroup), 0);
        ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    }
    EXPECT_EQ(Run({"--reset_gpio", "12"}).status, 0);
    EXPECT_EQ(File("/sys/class/gpio/export"), "4711:4712 0200");
    EXPECT_EQ(File("/sys/class/gpio/gpio12/direction"), "4711:0 0644");
    EXPECT_EQ(File("/sys/class/gpio/gpio12/value"), "4711:0 0644");
}

TEST_F(Prepare, LeavesTheExportOfPinsToAGroupThatTheBoardHasGivenIt)
{
    ASSERT_EQ(chown("/sys/class/gpio/export", 0, 20), 0);
    ASSERT_EQ(chmod("/sys/class/gpio/export", 0220), 0);
    EXPECT_EQ(Run({"--reset_gpio", "12"}).status, 0);
    EXPECT_EQ(File("/sys/class/gpio/export"), "4711:20 0220");
}

TEST_F(Prepare, NamesAPinThatDoesNotExist)
{
    for (const std::string pin : {"4096", "-1"})
    {
        const Outcome outcome = Run({"--reset_gpio=" + pin});
        EXPECT_EQ(outcome.status, EX_CONFIG);
        EXPECT_THAT(outcome.lines, ElementsAre("orvel-prepare: cannot export pin " + pin +
                                               " of --reset_gpio: Invalid argument; \"orvelctl check\" says more"));
    }
}

TEST_F(Prepare, GivesTheUserAloneTheTwoDevices)
{
    ASSERT_EQ(chown("/dev/ttymxc2", 0, 20), 0);
    ASSERT_EQ(chmod("/dev/ttymxc2", 0660), 0);
    ASSERT_EQ(chmod("/dev/uleds", 0666), 0);
    EXPECT_EQ(Run().status, 0);
    EXPECT_EQ(File("/dev/uleds"), "4711:0 0600");
    EXPECT_EQ(File("/dev/ttymxc2"), "4711:20 0600");
}

TEST_F(Prepare, LeavesAMissingSerialDeviceToTheDaemon)
{
    Simulator::Unmount("/dev/ttymxc2");
    std::filesystem::remove("/dev/ttymxc2");
    const Outcome outcome = Run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, IsEmpty());
}

class PrepareWithoutLedDevice : public Prepare
{
protected:
    void SetUp() override
    {
        Prepare::SetUp();
        Simulator::Unmount("/dev/uleds");
        std::filesystem::remove("/dev/uleds");
    }

    // The program has no child, and waits for something else.
    static bool SleepsAlone(pid_t process)
    {
        std::ifstream children(DirectoryOf(process) / "task" / std::to_string(process) / "children");
        std::string child;
        return !(children >> child) && StateOf(process).state == 'S';
    }

    Daemon::Environment WithModprobe(const std::string& script)
    {
        const std::string program = directory.File("modprobe");
        std::ofstream(program) << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(program, std::filesystem::perms{0755});
        return {{"PATH", directory.File("") + ":/usr/bin:/bin"}};
    }
};

TEST_F(PrepareWithoutLedDevice, LoadsItsModuleAndWaitsForIt)
{
    const std::string loaded = directory.File("loaded");
    Daemon program({Paths::Prepare()}, WithModprobe("[ \"$*\" = '-q uleds' ] && : >" + loaded));
    ASSERT_TRUE(Await([&] { return std::filesystem::exists(loaded) && SleepsAlone(program.Id()); }));
    std::ofstream("/dev/uleds") << ""; // in the place of udev
    EXPECT_EQ(program.Wait(), 0) << testing::PrintToString(program.Lines());
    EXPECT_EQ(File("/dev/uleds"), "4711:0 0600");
    std::filesystem::remove("/dev/uleds");
}

TEST_F(PrepareWithoutLedDevice, SaysThatThereIsNone)
{
    const Outcome outcome = Run({}, WithModprobe("exit 1"));
    EXPECT_EQ(outcome.status, EX_UNAVAILABLE);
    EXPECT_THAT(outcome.lines,
                ElementsAre("orvel-prepare: cannot give the daemon /dev/uleds: No such file or directory; "
                            "\"orvelctl check\" says more"));
}

TEST_F(Prepare, LeavesOptionsThatTheDaemonDoesNotTakeToTheDaemon)
{
    const std::string tooLong(20000, 'x');
    for (const auto& options : std::vector<std::vector<std::string>>{
             {"--nonsense"}, {"--help"}, {"--reset_gpio", "three"}, {"-p"}, {"-l", tooLong}})
    {
        const Outcome outcome = Run(options);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.lines, IsEmpty());
    }
    EXPECT_THAT(QueuesAre(), ElementsAre("nothing", "nothing", "nothing"));
    EXPECT_EQ(File("/dev/uleds").substr(0, 4), "0:0 ");
}

TEST_F(Prepare, DoesItsWorkForADaemonThatPrintsItsVersionAndGoesOn)
{
    const Outcome outcome = Run({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, IsEmpty());
    EXPECT_EQ(QueueIs("/cemiToLL"), ToLink);
}

TEST_F(Prepare, SaysThatThereIsNoUser)
{
    RemoveUser();
    const Outcome outcome = Run();
    EXPECT_EQ(outcome.status, EX_NOUSER);
    EXPECT_THAT(
        outcome.lines,
        ElementsAre("orvel-prepare: there is no user and group 'orvel'; systemd-sysusers makes them, or adduser"));
}

TEST_F(Prepare, SaysWhatItMayNotDoWithoutRoot)
{
    Daemon program({"setpriv", "--reuid=4713", "--regid=4713", "--clear-groups", CopyForAll(Paths::Prepare())},
                   ForAll());
    EXPECT_EQ(program.Wait(), EX_UNAVAILABLE);
    EXPECT_THAT(program.Lines(),
                ElementsAre("orvel-prepare: cannot give the daemon /dev/uleds: Operation not permitted; "
                            "\"orvelctl check\" says more"));
}

TEST_F(Prepare, SaysThatItNeedsRootWhereItMayGiveDevicesAwayButMakeNoQueues)
{
    for (const std::string missing : {"-setuid", "-setgid"})
    {
        Daemon program({"setpriv", "--bounding-set=" + missing, Paths::Prepare()}, {});
        EXPECT_EQ(program.Wait(), EX_NOPERM) << missing;
        EXPECT_THAT(program.Lines(), ElementsAre("orvel-prepare: cannot make anything for another user: needs root"));
        EXPECT_THAT(QueuesAre(), ElementsAre("nothing", "nothing", "nothing"));
    }
}

} // namespace
