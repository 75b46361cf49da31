// orvel-board as a person uses it.

#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/OwnNetwork.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"
#include "BenchKit/ScriptedGateway.h"
#include "BenchKit/TemporaryDirectory.h"
#include "Knx/MulticastSocket.h"

#include "System/Descriptor.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using Simulator::Event;
using Simulator::KnxIpCounters;
using Simulator::RedKnxLed;
using Simulator::TextOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{

// Each test's board has its own name, because several run at once.
std::string Name()
{
    return "test-" + std::to_string(getpid());
}

// The program with a pipe to type into.
class BoardProgram
{
public:
    explicit BoardProgram(std::vector<std::string> options = {})
        : BoardProgram(System::Pipe(), std::move(options))
    {
    }

    void Type(const std::string& line) const
    {
        TypeRaw(line + "\n");
    }

    void TypeRaw(const std::string& text) const
    {
        EXPECT_EQ(write(input.Number(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void EndInput()
    {
        input.Close();
    }

    Daemon& operator*()
    {
        return program;
    }

    Daemon* operator->()
    {
        return &program;
    }

private:
    static std::vector<std::string> Command(std::vector<std::string> options)
    {
        options.insert(options.begin(), {Paths::Board(), "--name", Name()});
        return options;
    }

    BoardProgram(System::Pipe pipe, std::vector<std::string> options)
        : input(std::move(pipe.writing))
        , program(Command(std::move(options)), {}, pipe.reading.Number())
    {
        pipe.reading.Close();
    }

    System::Descriptor input;
    Daemon program;
};

int RunCommand(const std::vector<std::string>& command, std::vector<std::string>& lines)
{
    Daemon program(command, {});
    const int status = program.Wait();
    lines = program.Lines();
    return status;
}

int RunOnce(const std::vector<std::string>& arguments, std::vector<std::string>& lines)
{
    std::vector<std::string> command{Paths::Board()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunCommand(command, lines);
}

// Whether an LED bears its built-in name, because the worker came in the moment before it got the other one.
bool HasBuiltInName()
{
    std::vector<std::string> lines;
    const std::string look = "cd /sys/class/leds && for led in knx1 knx2 pow tel; do [ ! -e $led ] || exit 1; done";
    return RunOnce({"exec", "--name", Name(), "--", "sh", "-c", look}, lines) == 1;
}

// A running board whose daemon has registered its LEDs. On a busy machine the LED worker can come before its table
// is filled, and then serves no LED, or before an LED has its name; these tests cannot use such a start.
std::unique_ptr<BoardProgram> StartWithLeds(const std::vector<std::string>& options = {})
{
    constexpr std::chrono::seconds enough{3};
    for (int restarts = 0;; ++restarts)
    {
        auto board = std::make_unique<BoardProgram>(options);
        const auto registered = [&] { return (*board)->Count("DEBUG Leds Created virtual led device knx") == 1; };
        if ((Await(registered, enough) && !HasBuiltInName()) || restarts == 10)
        {
            return board;
        }
        (*board)->Stop();
    }
}

// The daemon's process as "list" prints it; 0 if it does not.
pid_t DaemonOf(const std::string& board)
{
    std::vector<std::string> lines;
    RunOnce({"list"}, lines);
    const std::string start = board + "  daemon ";
    const auto found = std::find_if(lines.begin(), lines.end(),
                                    [&](const auto& line) { return line.compare(0, start.size(), start) == 0; });
    return found == lines.end() ? 0 : std::stoi(found->substr(start.size()));
}

bool Holds(const std::vector<std::string>& lines, const std::string& text)
{
    return std::any_of(lines.begin(), lines.end(),
                       [&](const auto& line) { return line.find(text) != std::string::npos; });
}

// Also if the link came up before what was awaited last. The daemon has its handler for SIGINT by then.
bool AwaitLinkAtAnyTime(const Daemon& board)
{
    return Await([&] { return Holds(board.Lines(), TextOf(Event::LinkUp)); });
}

// The boards of this program's tests are kept in a directory of their own. It is removed with everything that killed
// boards leave in it.
class OwnRuntimeDirectory : public testing::Environment
{
public:
    void SetUp() override
    {
        directory = std::make_unique<TemporaryDirectory>();
        setenv("XDG_RUNTIME_DIR", directory->Path().c_str(), 1);
    }

    void TearDown() override
    {
        directory.reset();
    }

private:
    std::unique_ptr<TemporaryDirectory> directory;
};

// The framework owns it.
const testing::Environment* const ownRuntimeDirectory = testing::AddGlobalTestEnvironment(new OwnRuntimeDirectory);

// A script in the place of the daemon, or of the gateway.
class OwnDriver
{
public:
    explicit OwnDriver(const std::string& script)
    {
        std::ofstream(File()) << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(File(), std::filesystem::perms::owner_all);
    }

    std::string File() const
    {
        return directory.File("orvel");
    }

private:
    TemporaryDirectory directory;
};

// The daemon with an LED worker that comes too early: at its first start, or at every start.
class LosingDriver
{
public:
    explicit LosingDriver(const std::string& when)
    {
        const std::ofstream loses(directory.Path() / "loses");
        std::ofstream(File()) << "#!/bin/sh\n"
                              << "[ '" << when << "' = '*' ] || rm '" << (directory.Path() / "loses").string()
                              << "' 2>/dev/null || exec " << Paths::Driver() << " \"$@\"\n"
                              << "ASAN_OPTIONS=$ASAN_OPTIONS:verify_asan_link_order=0 LD_PRELOAD="
                              << Paths::EarlyThreads() << " exec " << Paths::Driver() << " \"$@\"\n";
        std::filesystem::permissions(File(), std::filesystem::perms::owner_all);
    }

    std::string File() const
    {
        return directory.File("orvel");
    }

private:
    TemporaryDirectory directory;
};

TEST(BoardProgram, ProgramsOnTheBoardHearSigintAlsoInTheBackgroundOfAShell)
{
    std::signal(SIGINT, SIG_IGN);
    {
        Daemon program({"sleep", "1000"}, {});
        EXPECT_EQ(program.Stop(), 128 + SIGINT);
    }
    std::signal(SIGINT, SIG_DFL);
}

TEST(BoardProgram, ShowsATelegramEachWayAnLedTheButtonAndARecoveredLink)
{
    const auto program = StartWithLeds({"--demo"});
    BoardProgram& board = *program;
    EXPECT_TRUE(board->AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0")}));
    EXPECT_TRUE(board->AwaitLine("an application reads 0b 2e 00 bc e0"));
    EXPECT_TRUE(board->AwaitLine("an application reads 0b 29 00 bc e0"));
    EXPECT_TRUE(board->AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_TRUE(board->AwaitLine("an application reads 00 (pressed)"));
    EXPECT_TRUE(board->AwaitLine("an application reads 01 (released)"));
    EXPECT_TRUE(board->AwaitEvent(Event::ResetLineLow));
    EXPECT_TRUE(board->AwaitLine("an application reads 03 b9 00 01 (the link is usable again)"));
    EXPECT_TRUE(board->AwaitEvent(Event::DemonstrationEnded));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TakesEachCommand)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4")); // the daemon has told that it runs
    board.Type("press");
    EXPECT_TRUE(board->AwaitLine("Programming button state changed to: pressed"));
    board.Type("release");
    EXPECT_TRUE(board->AwaitLine("Programming button state changed to: released"));
    board.Type("telegram 29:00 bc");
    EXPECT_TRUE(board->AwaitLine("Sended cemi message with size 4 from LL to user message queue"));
    board.Type("telegram 1/2/3 21 9.001");
    EXPECT_TRUE(board->AwaitEvent({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 03 03 00 80 0c 1a")}));
    board.Type("read 1/2/3");
    EXPECT_TRUE(board->AwaitEvent({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 03 01 00 00")}));
    board.Type("unplug");
    EXPECT_TRUE(board->AwaitEvent(Event::SerialLinePulled));
    board.Type("plug");
    EXPECT_TRUE(board->AwaitEvent(Event::SerialLinePluggedIn));
    board.Type("mute");
    EXPECT_TRUE(board->AwaitEvent(Event::CoProcessorHangs));
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("help");
    EXPECT_TRUE(board->AwaitLine("press the programming button"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TellsProgramsOfEventsAsJson)
{
    BoardProgram board({"--json"});
    ASSERT_TRUE(board->AwaitLine(R"("kind":"linkUp"})"));
    board.Type("telegram 29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_TRUE(board->AwaitLine(R"("kind":"telegramFromKnx","hex":"2900bce011010a03010081"})"));
    board.Type("quit");
    EXPECT_TRUE(board->AwaitLine(R"("kind":"daemonEnded","status":0})"));
    EXPECT_EQ(board->Wait(), 0);
    const auto isEvent = [](const std::string& line) { return line.find(R"("kind":)") != std::string::npos; };
    for (const std::string& line : board->Lines())
    {
        // What is no event is the daemon's.
        EXPECT_EQ(isEvent(line), line[0] == '{') << line;
        EXPECT_EQ(line.find("board "), std::string::npos) << line;
    }
}

TEST(BoardProgram, APressBeforeARestartArrivesThreeTimes)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4")); // the daemon has told that it runs
    board.Type("press");
    ASSERT_TRUE(board->AwaitLine("Programming button state changed to: pressed"));
    // These lines are of the last daemon: on a busy machine the first one may ask after the press. A daemon may
    // also listen too late for the answer, and asks again only when it is started again.
    const auto isTold = [&]
    {
        int starts = 0;
        bool told = false;
        for (const std::string& line : board->Lines())
        {
            const bool isStart = line.find(TextOf(Event::DaemonStarted)) != std::string::npos;
            starts += isStart ? 1 : 0;
            told = !isStart && (told || line.find("since boot was: pressed") != std::string::npos);
        }
        return starts > 1 && told;
    };
    for (int restarts = 0; restarts < 10 && !isTold(); ++restarts)
    {
        board.Type("restart");
        Await(isTold, std::chrono::seconds(3));
    }
    ASSERT_TRUE(isTold());
    Daemon application({Paths::Board(), "exec", "--name", Name(), "--", Paths::Client(), "button", "--number", "3"},
                       {});
    EXPECT_EQ(application.Wait(), 0);
    EXPECT_THAT(application.Lines(), testing::SizeIs(3));
    EXPECT_THAT(application.Lines(), testing::Each(EndsWith(" pressed")));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, AWrongCommandGetsOneLineAndChangesNothing)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    for (const char* const wrong : {"jump", "press hard", "telegram", "telegram 1", "telegram 2x", "read", "quit now",
                                    "restart x", "kill -1", "restart 3601", "restart 1 2"})
    {
        board.Type(wrong);
        EXPECT_TRUE(board->AwaitLine("'" + std::string(wrong).substr(0, std::string(wrong).find(' ')) + "'")) << wrong;
    }
    board.Type("");
    board.Type("press");
    EXPECT_TRUE(board->AwaitEvent(Event::ButtonPressed));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, ACommandThatChangesNothingSaysSo)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("release");
    EXPECT_TRUE(board->AwaitLine("the button is released already"));
    board.Type("press");
    board.Type("press");
    EXPECT_TRUE(board->AwaitLine("the button is pressed already"));
    board.Type("plug");
    EXPECT_TRUE(board->AwaitLine("the serial line is plugged in already"));
    board.Type("unplug");
    board.Type("unplug");
    EXPECT_TRUE(board->AwaitLine("the serial line is pulled already"));
    board.Type("telegram 29 00");
    EXPECT_TRUE(board->AwaitEvent(Event::TelegramLost));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TakesALastCommandWithoutItsNewline)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.TypeRaw("quit");
    board.EndInput();
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, SpeaksInNamesAndValuesOfAnExport)
{
    BoardProgram board({"--names", Paths::InSourceTree("Examples/House/group-addresses.xml")});
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("telegram \"Living room/Temperature\" 21.5");
    EXPECT_TRUE(board->AwaitLine("telegram from KNX: 29 00 bc e0 11 01 11 01 03 00 80 0c 33"
                                 "  # Heating/Living room/Temperature: 21.5 \u00b0C"));
    board.Type("read Kitchen/Worktop");
    EXPECT_TRUE(board->AwaitLine("  # Lights/Kitchen/Worktop: read"));
    board.Type("telegram Ceiling on");
    EXPECT_TRUE(board->AwaitLine("'Ceiling' is ambiguous: "));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TakesTheNamesFromWhereAllProgramsLookForThem)
{
    std::vector<std::string> lines;
    EXPECT_EQ(RunCommand({"env", "ORVEL_NAMES=/no/names", Paths::Board(), "--name", Name()}, lines), 1);
    EXPECT_THAT(lines, ElementsAre("orvel-board: cannot read /no/names: No such file or directory"));
    EXPECT_EQ(
        RunCommand({"env", "ORVEL_NAMES=/no/names", Paths::Board(), "--name", Name(), "--names", "", "--driver", "/no"},
                   lines),
        1);
    EXPECT_THAT(lines, ElementsAre(StartsWith("orvel-board: there is no /no;")));
}

TEST(BoardProgram, ABrokenExportGetsOneLineAndStatus2)
{
    const std::string file = testing::TempDir() + Name() + ".csv";
    std::ofstream(file) << "Lamp,1/1/1\nDoor,1/8/1\n";
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name(), "--names", file}, lines), 2);
    EXPECT_THAT(lines, ElementsAre("orvel-board: " + file +
                                   ": line 2, column 6: '1/8/1' is no group address: 8 should be 0 to 7"));
    std::filesystem::remove(file);
}

TEST(BoardProgram, PlaysTheDevicesOfAFile)
{
    BoardProgram board({"--devices", Paths::InSourceTree("Examples/Devices/light.ini")});
    EXPECT_TRUE(board->AwaitEvent({Event::Note, "devices on the bus: Ceiling"}));
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4")); // the daemon has told that it runs
    board.Type("read 1/1/2");
    EXPECT_TRUE(board->AwaitLine("telegram from KNX: 29 00 bc e0 11 65 09 02 01 00 40  # Ceiling state: Off"));
    board.Type("telegram 1/1/1 on");
    EXPECT_TRUE(board->AwaitLine("telegram from KNX: 29 00 bc e0 11 65 09 02 01 00 81  # Ceiling state: On"));
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 12 from LL to user message queue"));
    // An application hears the light as any other device.
    Daemon application(
        {Paths::Board(), "exec", "--name", Name(), "--", Paths::Client(), "write", "1/1/1", "off", "--dpt", "1.001"},
        {});
    EXPECT_EQ(application.Wait(), 0);
    EXPECT_TRUE(board->AwaitLine("telegram from KNX: 29 00 bc e0 11 65 09 02 01 00 80  # Ceiling state: Off"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, ADeviceAnswersAnApplicationsRead)
{
    BoardProgram board({"--devices", Paths::InSourceTree("Examples/Devices/thermostat.ini")});
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4")); // the daemon has told that it runs
    Daemon application(
        {Paths::Board(), "exec", "--name", Name(), "--", Paths::Client(), "read", "2/1/2", "--dpt", "9.001"}, {});
    EXPECT_EQ(application.Wait(), 0);
    EXPECT_THAT(application.Lines(), ElementsAre("21 \u00b0C"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, ASensorSendsByItself)
{
    const std::string file = testing::TempDir() + Name() + ".ini";
    std::ofstream(file) << "[sensor Garden]\ngroup = 2/3/1\ntype = 9.001\nvalues = 4.5, 5\nevery = 0.1\n";
    BoardProgram board({"--devices", file});
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4")); // the daemon has told that it runs
    for (const char* const value : {"4.5", "5", "4.5"})
    {
        EXPECT_TRUE(board->AwaitLine("  # Garden: " + std::string(value) + " \u00b0C")) << value;
    }
    EXPECT_EQ(board->Stop(), 0);
    std::filesystem::remove(file);
}

TEST(BoardProgram, ABrokenFileOfDevicesGetsOneLineAndStatus2)
{
    const std::string file = testing::TempDir() + Name() + ".ini";
    std::ofstream(file) << "[light Ceiling]\nswitch = 1/9/1\n";
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name(), "--devices", file}, lines), 2);
    EXPECT_THAT(lines, ElementsAre("orvel-board: " + file + ": line 1: this light lacks 'state'"));
    std::filesystem::remove(file);
    EXPECT_EQ(RunOnce({"--name", Name(), "--devices", file}, lines), 1);
    EXPECT_THAT(lines, ElementsAre("orvel-board: cannot read " + file + ": No such file or directory"));
}

TEST(BoardProgram, TwoStopsAtOnceAreOne)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("quit");
    board.Type("quit");
    board->Signal(SIGTERM);
    board->Signal(SIGINT);
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, GoesOnWhenItsInputEnds)
{
    BoardProgram board;
    board.EndInput();
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, EndsWithTheStatusOfTheDaemon)
{
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name(), "--", "--foo"}, lines), 255);
    EXPECT_THAT(lines, Contains(EndsWith(TextOf({Event::DaemonEnded, 255}))));
}

TEST(BoardProgram, RestartEndsTheDaemonInItsOwnWayWhileApplicationsStay)
{
    const auto program = StartWithLeds();
    BoardProgram& board = *program;
    const std::string script =
        "echo stands; while [ -e /dev/mqueue/progButton ] || [ -e /sys/class/leds/prg1 ]; do sleep 0.01; done; "
        "echo gone; until [ -e /dev/mqueue/progButton ]; do sleep 0.01; done; echo again";
    Daemon application({Paths::Board(), "exec", "--name", Name(), "--", "sh", "-c", script}, {});
    ASSERT_TRUE(application.AwaitLine("stands"));
    board.Type("restart 2");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonEnded, 0}));
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonStartsLater, 2}));
    EXPECT_TRUE(application.AwaitLine("gone"));
    EXPECT_TRUE(board->AwaitEvent(Event::DaemonStarted));
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_TRUE(application.AwaitLine("again"));
    EXPECT_EQ(application.Wait(), 0);
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, KillLeavesTheQueuesBehindAndTakesTheLedsAway)
{
    const auto program = StartWithLeds();
    BoardProgram& board = *program;
    ASSERT_TRUE(Await([&] { return Holds(board->Lines(), "Sended cemi message with size 4"); })); // all queues are made
    board.Type("kill 3600");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonEnded, 137}));
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonStartsLater, 3600}));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "ls", "/dev/mqueue", "/sys/class/leds"}, lines), 0);
    EXPECT_THAT(lines, testing::IsSupersetOf({"cemiFromLL", "cemiToLL", "progButton"}));
    EXPECT_THAT(lines, testing::Not(Contains("prg1")));
    EXPECT_EQ(board->Stop(), 137); // that of the daemon, which is not started again
}

TEST(BoardProgram, KillStartsTheDaemonOverTheQueuesThatWereLeft)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4"));
    board.Type("kill");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonEnded, 137}));
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_TRUE(board->AwaitLine("Sended cemi message with size 4"));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, OneRestartAtATime)
{
    const OwnDriver driver("trap '' INT; echo deaf; exec sleep 1000");
    BoardProgram board({"--driver", driver.File()});
    ASSERT_TRUE(board->AwaitLine("deaf"));
    board.Type("restart");
    board.Type("kill");
    EXPECT_TRUE(board->AwaitLine("the daemon is ending"));
    board.Type("quit");
    board->Wait();
}

TEST(BoardProgram, ARestartDuringAPauseSetsTheStartAnew)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("kill 3600");
    ASSERT_TRUE(board->AwaitEvent({Event::DaemonStartsLater, 3600}));
    board.Type("restart 1800");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonStartsLater, 1800}));
    board.Type("restart");
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_GT(DaemonOf(Name()), 0);
    board.Type("kill 3600");
    ASSERT_TRUE(board->AwaitEvent({Event::DaemonStartsLater, 3600}));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 137);
}

TEST(BoardProgram, ADaemonThatDoesNotEndIsKilledWhichIsTold)
{
    const OwnDriver driver("trap '' INT; echo deaf; exec sleep 1000");
    BoardProgram board({"--driver", driver.File()});
    ASSERT_TRUE(board->AwaitLine("deaf"));
    board.Type("restart");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonKilled, 15}));
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonEnded, 137}));
    EXPECT_TRUE(board->AwaitLine("deaf"));
    const auto lines = board->Lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line) {
                                return line.find(TextOf({Event::DaemonKilled, 15})) != std::string::npos;
                            }),
              1);
    board.Type("kill 3600");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonEnded, 137}));
    EXPECT_EQ(board->Stop(), 137);
}

TEST(BoardProgram, ARestartThatCannotStartTheDaemonKeepsTheBoardForTheNext)
{
    const OwnDriver driver("exec " + Paths::Driver() + " \"$@\"");
    BoardProgram board({"--driver", driver.File()});
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    std::filesystem::rename(driver.File(), driver.File() + ".away");
    board.Type("kill");
    EXPECT_TRUE(
        board->AwaitEvent({Event::DaemonCannotStart, "cannot start " + driver.File() + ": No such file or directory"}));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"list"}, lines), 0);
    EXPECT_THAT(lines, Contains(Name() + "  no daemon"));
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "true"}, lines), 0);
    board.Type("restart");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonCannotStart, ""}));
    std::filesystem::rename(driver.File() + ".away", driver.File());
    board.Type("restart");
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_GT(DaemonOf(Name()), 0);
    std::filesystem::remove(driver.File());
    board.Type("kill");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonCannotStart, ""}));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 137);
}

TEST(BoardProgram, EndsWhereItsFirstDaemonCannotBeStarted)
{
    const TemporaryDirectory directory;
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name(), "--driver", directory.Path()}, lines), 1);
    EXPECT_THAT(lines, Contains("orvel-board: cannot start " + directory.Path().string() + ": Permission denied"));
}

TEST(BoardProgram, EndsWithTheStatusOfADaemonThatEndsByItselfAfterARestart)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("restart");
    ASSERT_TRUE(board->AwaitEvent({Event::DaemonEnded, 0}));
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4"));
    const pid_t daemon = DaemonOf(Name());
    ASSERT_GT(daemon, 0);
    kill(daemon, SIGKILL);
    EXPECT_EQ(board->Wait(), 137);
}

TEST(BoardProgram, ACommandThatCameAfterTheDaemonsEndDoesNotStartItAgain)
{
    const OwnDriver driver("echo runs; exec sleep 1000"); // with no file of the board, which could not end without it
    BoardProgram board({"--driver", driver.File()});
    ASSERT_TRUE(board->AwaitLine("runs"));
    const pid_t daemon = DaemonOf(Name());
    ASSERT_GT(daemon, 0);
    board->Signal(SIGSTOP); // so that it finds both at once
    kill(daemon, SIGKILL);
    EXPECT_TRUE(Await([daemon] { return StateOf(daemon).state == 'Z'; }));
    board.Type("restart");
    board->Signal(SIGCONT);
    EXPECT_EQ(board->Wait(), 137);
    const auto lines = board->Lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line)
                            { return line.find(TextOf(Event::DaemonStarted)) != std::string::npos; }),
              1);
}

TEST(BoardProgram, TellsThatTheLedsDidNotCome)
{
    const LosingDriver driver("*");
    BoardProgram board({"--driver", driver.File()});
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_TRUE(board->AwaitEvent(Event::LedsDidNotCome));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, SaysNothingOfLedsThatCome)
{
    const auto board = StartWithLeds();
    // This is longer than the board takes to notice that LEDs are missing.
    EXPECT_FALSE(
        Await([&] { return Holds((*board)->Lines(), TextOf(Event::LedsDidNotCome)); }, std::chrono::seconds(3)));
    EXPECT_EQ((*board)->Stop(), 0);
}

TEST(BoardProgram, TheDemonstrationStartsADaemonWithoutLedsAnew)
{
    const LosingDriver driver("1");
    BoardProgram board({"--driver", driver.File(), "--demo"});
    EXPECT_TRUE(board->AwaitEvent(Event::LedsDidNotCome));
    EXPECT_TRUE(board->AwaitLine("the daemon is started anew"));
    EXPECT_TRUE(board->AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_TRUE(board->AwaitEvent(Event::DemonstrationEnded));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, TheDemonstrationSwitchesTheLedWhateverItsName)
{
    BoardProgram board({"--demo", "--", "--led_knx_red_name", "hall"});
    EXPECT_TRUE(board->AwaitLine("an application writes 100 to /sys/class/leds/hall/brightness"));
    EXPECT_TRUE(board->AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_TRUE(board->AwaitEvent(Event::DemonstrationEnded));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, SaysOnceWhyItsDaemonStartsAtOrdinaryPriority)
{
    if (Daemon({"chrt", "--fifo", "--reset-on-fork", "1", "true"}, {}).Wait() == 0)
    {
        GTEST_SKIP() << "it starts at real-time priority";
    }
    const Event atOrdinaryPriority{Event::DaemonAtOrdinaryPriority, EPERM};
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(atOrdinaryPriority));
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    board.Type("restart");
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_EQ(board->Stop(), 0);
    const auto lines = board->Lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [&](const auto& line)
                            { return line.find(TextOf(atOrdinaryPriority)) != std::string::npos; }),
              1);
}

TEST(BoardProgram, ListTellsTheRunningBoardsAndTheirDaemons)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    BoardProgram other({"--name", Name() + "-other"});
    ASSERT_TRUE(other->AwaitEvent(Event::LinkUp));
    std::ifstream name(DirectoryOf(DaemonOf(Name())) / "comm");
    std::string program;
    EXPECT_TRUE(std::getline(name, program));
    EXPECT_EQ(program, "orvel");
    EXPECT_GT(DaemonOf(Name() + "-other"), 0);
    board.Type("kill 3600");
    ASSERT_TRUE(board->AwaitEvent({Event::DaemonStartsLater, 3600}));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"list"}, lines), 0);
    EXPECT_THAT(lines, Contains(Name() + "  no daemon"));
    board->Stop();
    EXPECT_EQ(RunOnce({"list"}, lines), 0);
    EXPECT_THAT(lines, testing::Not(Contains(StartsWith(Name() + "  "))));
    EXPECT_EQ(other->Stop(), 0);
}

TEST(BoardProgram, AKilledBoardIsNotListedAndItsNameIsFree)
{
    {
        BoardProgram board;
        ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
        board->Signal(SIGKILL);
        board->Wait();
    }
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"list"}, lines), 0);
    EXPECT_THAT(lines, testing::Not(Contains(StartsWith(Name()))));
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "true"}, lines), 1);
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    EXPECT_GT(DaemonOf(Name()), 0);
    EXPECT_EQ(board->Stop(), 0);
}

// What "exec" says if `runtime` is the directory in which boards are looked for.
std::vector<std::string> LookIn(const std::filesystem::path& runtime)
{
    Daemon program({Paths::Board(), "exec", "--name", Name(), "--", "true"}, {{"XDG_RUNTIME_DIR", runtime}});
    EXPECT_EQ(program.Wait(), 1);
    return program.Lines();
}

TEST(BoardProgram, WhatAnotherUserHasMadeStandsForNoBoard)
{
    const auto refused = ElementsAre(HasSubstr("orvel-board is not a directory of this user alone"));
    const TemporaryDirectory runtime;
    const auto directory = runtime.Path() / "orvel-board";
    ASSERT_TRUE(std::filesystem::create_directory(directory));
    std::filesystem::permissions(directory, std::filesystem::perms::owner_all);
    std::ofstream(directory / Name()) << getpid() << '\n'; // which nobody has locked
    EXPECT_THAT(LookIn(runtime.Path()), ElementsAre(HasSubstr("no board named '" + Name() + "'")));

    // A link would lead to a directory that the link's maker chose.
    const TemporaryDirectory linked;
    std::filesystem::create_directory_symlink(directory, linked.Path() / "orvel-board");
    EXPECT_THAT(LookIn(linked.Path()), refused);

    // Other users could have made the file.
    std::filesystem::permissions(directory, std::filesystem::perms::all);
    EXPECT_THAT(LookIn(runtime.Path()), refused);
    std::filesystem::permissions(directory, std::filesystem::perms::owner_all);
    if (chown(directory.c_str(), 1, 1) != 0)
    {
        GTEST_SKIP() << "an ordinary user cannot give a directory to another";
    }
    EXPECT_THAT(LookIn(runtime.Path()), refused);
}

TEST(BoardProgram, WhoLooksForBoardsMakesNoDirectory)
{
    const TemporaryDirectory runtime;
    EXPECT_THAT(LookIn(runtime.Path()), ElementsAre(HasSubstr("no board named '" + Name() + "'")));
    Daemon list({Paths::Board(), "list"}, {{"XDG_RUNTIME_DIR", runtime.Path()}});
    EXPECT_EQ(list.Wait(), 0);
    EXPECT_THAT(list.Lines(), ElementsAre(HasSubstr("no board is running")));
    EXPECT_TRUE(std::filesystem::is_empty(runtime.Path()));
}

TEST(BoardProgram, ARuntimeDirectoryThatIsNotAbsoluteIsIgnored)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    Daemon list({"sh", "-c", "cd \"$XDG_RUNTIME_DIR\" && XDG_RUNTIME_DIR=. exec " + Paths::Board() + " list"}, {});
    EXPECT_EQ(list.Wait(), 0);
    EXPECT_THAT(list.Lines(), testing::Not(Contains(StartsWith(Name() + "  "))));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, PassesOptionsOnToTheDaemon)
{
    const auto program = StartWithLeds({"--", "--led_knx_red_name", "other"});
    BoardProgram& board = *program;
    EXPECT_TRUE(board->AwaitLine("Created virtual led device other"));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, WiresTheResetToAnotherPin)
{
    BoardProgram board({"--reset_gpio", "7", "--", "--reset_gpio", "7"});
    EXPECT_TRUE(board->AwaitEvent(Event::ResetLineLow));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, JoinsKnxIpOnAnInterface)
{
    EnterOwnNetwork();
    BoardProgram board({"--knxip", "--knxip-interface", "lo", "--bus-speed", "unlimited"});
    EXPECT_TRUE(board->AwaitEvent({Event::KnxIpJoined, "224.0.23.12 on lo"}));
    const Knx::MulticastSocket other("lo");
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    other.Send(Knx::FromHex("06 10 05 30 00 11 29 00 bc e0 11 01 0a 03 01 00 81"));
    EXPECT_TRUE(board->AwaitEvent({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 03 01 00 81")}));
    board.Type("quit");
    EXPECT_TRUE(board->AwaitEvent({Event::KnxIpCounted, KnxIpCounters{0, 1, 0, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, SigtermStopsTheDaemonInOrder)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    board->Signal(SIGTERM);
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, KilledItTakesTheDaemonWithIt)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    board->Signal(SIGKILL);
    EXPECT_EQ(board->Wait(), 128 + SIGKILL); // its output ends only when the daemon is gone too
}

TEST(BoardProgram, ExecRunsAnApplicationOnTheRunningBoard)
{
    const auto program = StartWithLeds();
    BoardProgram& board = *program;
    std::vector<std::string> lines;
    EXPECT_EQ(
        RunOnce({"exec", "--name", Name(), "--", "sh", "-c", "echo 100 > /sys/class/leds/prg1/brightness; exit 7"},
                lines),
        7);
    EXPECT_TRUE(board->AwaitEvent({Event::LedOn, RedKnxLed}));
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "ls", "/dev/mqueue", "/dev/ttymxc2"}, lines), 0);
    EXPECT_THAT(lines, Contains("progButton"));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, ExecRunsAProgramThatNeedsAPseudoTerminal)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    std::vector<std::string> lines;
    const std::string openpty = "import os, pty; print(os.ttyname(pty.openpty()[1]))";
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "python3", "-c", openpty}, lines), 0);
    EXPECT_THAT(lines, testing::ElementsAre(StartsWith("/dev/pts/")));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, AnApplicationDoesNotFindAGatewayOutsideTheBoard)
{
    const ScriptedGateway outside("/run/orvel/gateway");
    BoardProgram board;
    ASSERT_TRUE(board->AwaitEvent(Event::LinkUp));
    std::vector<std::string> lines;
    RunOnce({"exec", "--name", Name(), "--", Paths::Client(), "status"}, lines);
    EXPECT_THAT(lines, Contains(StartsWith("ok    gateway                does not run")));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, RunsTheGatewayBesideTheDaemonAndTellsWhoIsConnected)
{
    BoardProgram board({"--gateway"});
    EXPECT_TRUE(board->AwaitEvent(Event::DaemonStarted));
    EXPECT_TRUE(board->AwaitEvent(Event::GatewayStarted));
    EXPECT_TRUE(board->AwaitLine("INFO Gateway <> - The link is usable"));
    Daemon monitor({Paths::Board(), "exec", "--name", Name(), "--", Paths::Client(), "monitor"}, {});
    const std::string program = std::to_string(monitor.Id()) + " orvelctl";
    EXPECT_TRUE(monitor.AwaitLine("link usable"));
    EXPECT_TRUE(board->AwaitEvent({Event::ProgramConnected, program}));
    board.Type("telegram 29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_TRUE(monitor.AwaitLine("rx 29 00 bc e0 11 01 0a 03 01 00 81"));
    monitor.Stop();
    EXPECT_TRUE(board->AwaitEvent({Event::ProgramLeft, program}));
    board.Type("quit");
    EXPECT_TRUE(board->AwaitEvent({Event::DaemonEnded, 0}));
    EXPECT_TRUE(board->AwaitEvent({Event::GatewayEnded, 0}));
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TheGatewayStaysWhenTheDaemonIsStartedAgain)
{
    BoardProgram board({"--gateway"});
    EXPECT_TRUE(board->AwaitLine("INFO Gateway <> - The link is usable"));
    board.Type("restart 2"); // longer than the gateway needs to notice
    EXPECT_TRUE(board->AwaitLine("WARN Gateway <> - The link is lost"));
    EXPECT_TRUE(board->AwaitLine("INFO Gateway <> - The link is usable"));
    EXPECT_EQ(board->Stop(), 0);
    EXPECT_FALSE(Holds(board->Lines(), TextOf({Event::GatewayEnded, 137})));
}

TEST(BoardProgram, AGatewayThatEndsIsToldAndTheBoardGoesOn)
{
    const OwnDriver gateway("exit 9");
    BoardProgram board({"--gateway", "--gateway-program", gateway.File()});
    EXPECT_TRUE(board->AwaitEvent({Event::GatewayEnded, 9}));
    EXPECT_TRUE(AwaitLinkAtAnyTime(*board));
    board.Type("press");
    EXPECT_TRUE(board->AwaitEvent(Event::ButtonPressed));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, AGatewayThatDoesNotEndWithTheBoardIsKilled)
{
    const OwnDriver gateway("trap '' TERM; echo deaf; while :; do sleep 0.1; done");
    BoardProgram board({"--gateway", "--gateway-program", gateway.File()});
    EXPECT_TRUE(board->AwaitLine("deaf"));
    EXPECT_TRUE(AwaitLinkAtAnyTime(*board));
    board.Type("quit");
    EXPECT_TRUE(board->AwaitEvent({Event::GatewayEnded, 128 + SIGKILL}));
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, AnApplicationCanListTheQueuesAlsoWhenTheDaemonHasEnded)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    System::Pipe pipe;
    Daemon application(
        {Paths::Board(), "exec", "--name", Name(), "--", "sh", "-c", "echo waits; cat; ls /dev/mqueue && echo listed"},
        {}, pipe.reading.Number());
    EXPECT_TRUE(application.AwaitLine("waits"));
    EXPECT_EQ(board->Stop(), 0);
    pipe.writing.Close();
    EXPECT_EQ(application.Wait(), 0);
    EXPECT_THAT(application.Lines(), testing::ElementsAre("waits", "listed"));
}

TEST(BoardProgram, ExecPassesTheWorkingDirectoryOn)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "pwd"}, lines), 0);
    std::array<char, 4096> here{};
    EXPECT_THAT(lines, ElementsAre(getcwd(here.data(), here.size())));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, TwoBoardsOfOneNameAreRefusedAndOfTwoNamesRunBesideEachOther)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitEvent(Event::LinkUp));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name()}, lines), 1);
    EXPECT_THAT(lines, ElementsAre(HasSubstr("is running already")));
    BoardProgram other({"--name", Name() + "-other"});
    EXPECT_TRUE(other->AwaitEvent(Event::LinkUp));
    EXPECT_EQ(other->Stop(), 0);
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, WrongOptionsGetOneLineAndStatus2)
{
    const std::vector<std::vector<std::string>> wrong{{"--foo"},
                                                      {"bar"},
                                                      {"--reset_gpio", "32"},
                                                      {"--reset_gpio", "x"},
                                                      {"exec"},
                                                      {"--knxip", "--bus-speed", "fast"},
                                                      {"--bus-speed", "tp1"},
                                                      {"--knxip-interface", "lo"},
                                                      {"exec", "--demo", "--", "true"},
                                                      {"shell", "--", "true"},
                                                      {"shell", "--plain"},
                                                      {"exec", "--json", "--", "true"},
                                                      {"list", "--plain"},
                                                      {"--demo", "--gateway"},
                                                      {"--gateway-program", "/bin/true"},
                                                      {"--name", "a/b"},
                                                      {"--name", "."},
                                                      {"--name", ""},
                                                      {"--name=" + std::string(100'000, 'x')}};
    for (const auto& options : wrong)
    {
        std::vector<std::string> lines;
        EXPECT_EQ(RunOnce(options, lines), 2) << options.front();
        EXPECT_THAT(lines, ElementsAre(StartsWith("orvel-board: "))) << options.front();
    }
}

TEST(BoardProgram, MissingProgramsAndBoardsGetOneLineAndStatus1)
{
    const std::vector<std::vector<std::string>> missing{{"--driver", "/no/driver"},
                                                        {"--library", "/no/library"},
                                                        {"--gateway", "--gateway-program", "/no/gateway"},
                                                        {"exec", "--name", "nobody", "--", "true"},
                                                        {"--knxip", "--knxip-interface", "none"}};
    for (const auto& options : missing)
    {
        std::vector<std::string> lines;
        EXPECT_EQ(RunOnce(options, lines), 1) << options[1];
        EXPECT_THAT(lines, ElementsAre(StartsWith("orvel-board: "))) << options[1];
    }
}

TEST(BoardProgram, HelpListsOptionsAndCommands)
{
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--help"}, lines), 0);
    EXPECT_THAT(lines, Contains(HasSubstr("--demo")));
    EXPECT_THAT(lines, Contains(StartsWith("unplug ")));
}

TEST(BoardProgram, TellsVersionAndRevision)
{
    for (const char* const option : {"--version", "-v"})
    {
        std::vector<std::string> lines;
        EXPECT_EQ(RunOnce({option}, lines), 0);
        EXPECT_THAT(lines,
                    ElementsAre(MatchesRegex("orvel-board [0-9]+\\.[0-9]+\\.[0-9]+ \\(revision [0-9a-f]{40}\\)")));
    }
}

} // namespace
