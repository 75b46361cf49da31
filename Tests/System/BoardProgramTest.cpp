// orvel-board as a person uses it.

#include "Await.h"
#include "Daemon.h"
#include "MulticastSocket.h"
#include "OwnNetwork.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <memory>
#include <string>

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

// Each test has a board of its own name, because several run at once.
std::string Name()
{
    return "test-" + std::to_string(getpid());
}

// The program with a pipe to type into.
class BoardProgram
{
public:
    explicit BoardProgram(std::vector<std::string> options = {})
        : BoardProgram(MakePipe(), std::move(options))
    {
    }

    ~BoardProgram()
    {
        close(input);
    }

    BoardProgram(const BoardProgram&) = delete;
    BoardProgram& operator=(const BoardProgram&) = delete;

    void Type(const std::string& line) const
    {
        TypeRaw(line + "\n");
    }

    void TypeRaw(const std::string& text) const
    {
        EXPECT_EQ(write(input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void EndInput()
    {
        close(input);
        input = -1;
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
    static std::array<int, 2> MakePipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        return ends;
    }

    static std::vector<std::string> Command(std::vector<std::string> options)
    {
        options.insert(options.begin(), {BOARD, "--name", Name()});
        return options;
    }

    BoardProgram(std::array<int, 2> ends, std::vector<std::string> options)
        : input(ends[1])
        , program(Command(std::move(options)), {}, ends[0])
    {
        close(ends[0]);
    }

    int input;
    Daemon program;
};

// A running board whose daemon has registered its LEDs. On a busy machine the LED worker can come before its table is
// filled, and then serves no LED; such a start is of no use here.
std::unique_ptr<BoardProgram> StartWithLeds(const std::vector<std::string>& options = {})
{
    constexpr std::chrono::seconds enough{3};
    for (int restarts = 0;; ++restarts)
    {
        auto board = std::make_unique<BoardProgram>(options);
        const auto registered = [&] { return (*board)->Count("DEBUG Leds Created virtual led device knx") == 1; };
        if (Await(registered, enough) || restarts == 10)
        {
            return board;
        }
        (*board)->Stop();
    }
}

int RunOnce(const std::vector<std::string>& arguments, std::vector<std::string>& lines)
{
    std::vector<std::string> command{BOARD};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Daemon program(command, {});
    const int status = program.Wait();
    lines = program.Lines();
    return status;
}

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
    EXPECT_TRUE(board->AwaitLine("telegram to KNX: 11 00 bc e0"));
    EXPECT_TRUE(board->AwaitLine("an application reads 0b 2e 00 bc e0"));
    EXPECT_TRUE(board->AwaitLine("an application reads 0b 29 00 bc e0"));
    EXPECT_TRUE(board->AwaitLine("LED red KNX on"));
    EXPECT_TRUE(board->AwaitLine("an application reads 00 (pressed)"));
    EXPECT_TRUE(board->AwaitLine("an application reads 01 (released)"));
    EXPECT_TRUE(board->AwaitLine("reset line low"));
    EXPECT_TRUE(board->AwaitLine("an application reads 03 b9 00 01 (the link is usable again)"));
    EXPECT_TRUE(board->AwaitLine("that was all"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TakesEachCommand)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("link up"));
    ASSERT_TRUE(board->AwaitLine("Sended cemi message with size 4")); // the daemon has told that it runs
    board.Type("press");
    EXPECT_TRUE(board->AwaitLine("Programming button state changed to: pressed"));
    board.Type("release");
    EXPECT_TRUE(board->AwaitLine("Programming button state changed to: released"));
    board.Type("telegram 29:00 bc");
    EXPECT_TRUE(board->AwaitLine("Sended cemi message with size 4 from LL to user message queue"));
    board.Type("unplug");
    EXPECT_TRUE(board->AwaitLine("serial line pulled"));
    board.Type("plug");
    EXPECT_TRUE(board->AwaitLine("serial line plugged in"));
    board.Type("mute");
    EXPECT_TRUE(board->AwaitLine("co-processor hangs"));
    EXPECT_TRUE(board->AwaitLine("link up"));
    board.Type("help");
    EXPECT_TRUE(board->AwaitLine("press the programming button"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, AWrongCommandGetsOneLineAndChangesNothing)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("link up"));
    for (const char* const wrong : {"jump", "press hard", "telegram", "telegram 1", "telegram 2x", "quit now"})
    {
        board.Type(wrong);
        EXPECT_TRUE(board->AwaitLine("'" + std::string(wrong).substr(0, std::string(wrong).find(' ')) + "'")) << wrong;
    }
    board.Type("");
    board.Type("press");
    EXPECT_TRUE(board->AwaitLine("button pressed"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, ACommandThatChangesNothingSaysSo)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("link up"));
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
    EXPECT_TRUE(board->AwaitLine("telegram lost: no link to the driver"));
    board.Type("quit");
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TakesALastCommandWithoutItsNewline)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("link up"));
    board.TypeRaw("quit");
    board.EndInput();
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, TwoStopsAtOnceAreOne)
{
    BoardProgram board;
    ASSERT_TRUE(board->AwaitLine("link up"));
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
    EXPECT_TRUE(board->AwaitLine("link up"));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, EndsWithTheStatusOfTheDaemon)
{
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name(), "--", "--foo"}, lines), 255);
    EXPECT_THAT(lines, Contains(EndsWith("daemon ended with status 255")));
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
    EXPECT_TRUE(board->AwaitLine("reset line low"));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, JoinsKnxIpOnAnInterface)
{
    EnterOwnNetwork();
    BoardProgram board({"--knxip", "--knxip-interface", "lo", "--bus-speed", "unlimited"});
    EXPECT_TRUE(board->AwaitLine("KNXnet/IP: joined 224.0.23.12 on lo"));
    const Simulator::MulticastSocket other("lo");
    ASSERT_TRUE(board->AwaitLine("link up"));
    other.Send(Simulator::FromHex("06 10 05 30 00 11 29 00 bc e0 11 01 0a 03 01 00 81").value());
    EXPECT_TRUE(board->AwaitLine("telegram from KNX: 29 00 bc e0 11 01 0a 03 01 00 81"));
    board.Type("quit");
    EXPECT_TRUE(board->AwaitLine("KNXnet/IP: 0 sent, 1 received, 0 refused"));
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, SigtermStopsTheDaemonInOrder)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitLine("link up"));
    board->Signal(SIGTERM);
    EXPECT_EQ(board->Wait(), 0);
}

TEST(BoardProgram, KilledItTakesTheDaemonWithIt)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitLine("link up"));
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
    EXPECT_TRUE(board->AwaitLine("LED red KNX on"));
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "ls", "/dev/mqueue", "/dev/ttymxc2"}, lines), 0);
    EXPECT_THAT(lines, Contains("progButton"));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, ExecPassesTheWorkingDirectoryOn)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitLine("link up"));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"exec", "--name", Name(), "--", "pwd"}, lines), 0);
    std::array<char, 4096> here{};
    EXPECT_THAT(lines, testing::ElementsAre(getcwd(here.data(), here.size())));
    EXPECT_EQ(board->Stop(), 0);
}

TEST(BoardProgram, TwoBoardsOfOneNameAreRefusedAndOfTwoNamesRunBesideEachOther)
{
    BoardProgram board;
    EXPECT_TRUE(board->AwaitLine("link up"));
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--name", Name()}, lines), 1);
    EXPECT_THAT(lines, testing::ElementsAre(HasSubstr("is running already")));
    BoardProgram other({"--name", Name() + "-other"});
    EXPECT_TRUE(other->AwaitLine("link up"));
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
                                                      {"--name=" + std::string(100'000, 'x')}};
    for (const auto& options : wrong)
    {
        std::vector<std::string> lines;
        EXPECT_EQ(RunOnce(options, lines), 2) << options.front();
        EXPECT_THAT(lines, testing::ElementsAre(StartsWith("orvel-board: "))) << options.front();
    }
}

TEST(BoardProgram, MissingProgramsAndBoardsGetOneLineAndStatus1)
{
    const std::vector<std::vector<std::string>> missing{{"--driver", "/no/driver"},
                                                        {"--library", "/no/library"},
                                                        {"exec", "--name", "nobody", "--", "true"},
                                                        {"--knxip", "--knxip-interface", "none"}};
    for (const auto& options : missing)
    {
        std::vector<std::string> lines;
        EXPECT_EQ(RunOnce(options, lines), 1) << options[1];
        EXPECT_THAT(lines, testing::ElementsAre(StartsWith("orvel-board: "))) << options[1];
    }
}

TEST(BoardProgram, HelpListsOptionsAndCommands)
{
    std::vector<std::string> lines;
    EXPECT_EQ(RunOnce({"--help"}, lines), 0);
    EXPECT_THAT(lines, Contains(HasSubstr("--demo")));
    EXPECT_THAT(lines, Contains(StartsWith("unplug ")));
}

} // namespace
