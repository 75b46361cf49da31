// orvelctl top, in a terminal.

#include "BenchKit/Await.h"
#include "BenchKit/ClientProgram.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ScriptedGateway.h"
#include "BenchKit/TerminalWindow.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <string>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

const std::string Ceiling = "29 00 bc e0 11 01 09 01 01 00 81";
const std::string Temperature = "29 00 bc e0 11 01 11 01 03 00 80 0c 33";
const std::string Unknown = "29 00 bc e0 11 01 0a 09 01 00 81";

// A window in which it runs, and the queue that it reads. The settings of the terminal are compared before and after.
class ClientTop : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!TerminalWindow::CanBeMade())
        {
            GTEST_SKIP() << "tmux is not installed";
        }
    }

    void Start(const std::string& options = "", int rows = 24, int columns = 80)
    {
        window = std::make_unique<TerminalWindow>(
            R"(echo before; stty -g >"$WINDOW/settings"; sh -c 'echo $$ >"$WINDOW/id"; exec "$0" "$@"' )" +
                Paths::Client() + " top --direct --names " + Paths::InSourceTree("Examples/House/group-addresses.xml") +
                " " + options +
                R"(; echo "status $?"; stty -g | cmp - "$WINDOW/settings" && echo "settings as before"; cat)",
            rows, columns);
        Await(" orvelctl top: /cemiFromLL");
    }

    void Await(const std::string& text) const
    {
        EXPECT_TRUE(window->AwaitText(text));
    }

    // Waits until the groups on the screen are these, from the top.
    template<typename... Begin>
    void AwaitGroups(const Begin&... begins) const
    {
        const auto matches = testing::ElementsAre(StartsWith(begins)...);
        EXPECT_TRUE(::Await([&] { return testing::Matches(matches)(Groups()); }))
            << testing::PrintToString(window->Rows());
    }

    // The rows between the heading and the keys that have something in them.
    std::vector<std::string> Groups() const
    {
        std::vector<std::string> groups;
        const auto rows = window->Rows();
        for (std::size_t row = 3; row + 1 < rows.size(); ++row)
        {
            if (!rows[row].empty())
            {
                groups.push_back(rows[row]);
            }
        }
        return groups;
    }

    pid_t Guard() const
    {
        pid_t id = -1;
        std::ifstream(window->Directory() + "/id") >> id;
        return id;
    }

    void ExpectTerminalAsBefore(int status) const
    {
        Await("status " + std::to_string(status));
        Await("settings as before");
        EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
        EXPECT_TRUE(window->AwaitValue("cursor_flag", "1"));
        EXPECT_THAT(window->Rows(), Contains("before"));
    }

    std::unique_ptr<MadeQueue> fromLink = std::make_unique<MadeQueue>("/cemiFromLL");
    std::unique_ptr<TerminalWindow> window;
};

TEST_F(ClientTop, ShowsTheLastValueOfEachGroupWithItsName)
{
    Start();
    fromLink->PutFrame("b9 00 01");
    Await(" orvelctl top: /cemiFromLL, link usable");
    fromLink->PutFrame(Temperature);
    fromLink->PutFrame(Ceiling);
    fromLink->PutFrame(Ceiling);
    Await("telegrams 3, ");
    AwaitGroups(" 1/1/1 ", " 2/1/1 ");
    EXPECT_THAT(Groups().at(0), HasSubstr("  2        2  On "));
    EXPECT_THAT(Groups().at(0), HasSubstr(" Lights/Living room/Ceiling"));
    EXPECT_THAT(Groups().at(1), HasSubstr("  1        1  21.5 "));
    fromLink->PutFrame("29 00 bc e0 11 01 09 01 01 00 80");
    Await(" s       3        3  Off ");
}

TEST_F(ClientTop, TheAgeGoesOn)
{
    Start();
    fromLink->PutFrame(Ceiling);
    Await(" 1/1/1        0 s ");
    Await(" 1/1/1        1 s ");
    Await(" 1/1/1        2 s ");
}

TEST_F(ClientTop, KeysSort)
{
    Start("--sort group");
    for (const auto& frame : {Unknown, Temperature, Temperature, Ceiling, Ceiling, Ceiling})
    {
        fromLink->PutFrame(frame);
    }
    AwaitGroups(" 1/1/1 ", " 1/2/9 ", " 2/1/1 ");
    window->Press("a");
    AwaitGroups(" 2/1/1 ", " 1/2/9 ", " 1/1/1 ");
    window->Press("c");
    AwaitGroups(" 1/1/1 ", " 2/1/1 ", " 1/2/9 ");
    window->Press("c");
    AwaitGroups(" 1/2/9 ", " 2/1/1 ", " 1/1/1 ");
    window->Press("n");
    AwaitGroups(" 2/1/1 ", " 1/1/1 ", " 1/2/9 ");
    window->Press("m");
    AwaitGroups(" 1/1/1 ", " 2/1/1 ", " 1/2/9 ");
}

TEST_F(ClientTop, KeysScroll)
{
    Start("--sort group", 6);
    for (const char* const frame : {"29 00 bc e0 11 01 0a 01 01 00 81", "29 00 bc e0 11 01 0a 02 01 00 81",
                                    "29 00 bc e0 11 01 0a 03 01 00 81", "29 00 bc e0 11 01 0a 04 01 00 81"})
    {
        fromLink->PutFrame(frame);
    }
    AwaitGroups(" 1/2/1 ", " 1/2/2 ");
    window->Press("Down");
    AwaitGroups(" 1/2/2 ", " 1/2/3 ");
    window->Press("End");
    AwaitGroups(" 1/2/3 ", " 1/2/4 ");
    window->Press("Up");
    AwaitGroups(" 1/2/2 ", " 1/2/3 ");
    window->Press("Home");
    AwaitGroups(" 1/2/1 ", " 1/2/2 ");
    window->Press("NPage");
    AwaitGroups(" 1/2/3 ", " 1/2/4 ");
    window->Press("PPage");
    AwaitGroups(" 1/2/1 ", " 1/2/2 ");
}

TEST_F(ClientTop, ShowsOnlyTheGroupsThatAreChosen)
{
    Start("--group '1/1/*'");
    fromLink->PutFrame(Temperature);
    fromLink->PutFrame(Ceiling);
    Await("telegrams 1, ");
    AwaitGroups(" 1/1/1 ");
}

TEST_F(ClientTop, FollowsTheSizeOfTheTerminal)
{
    Start();
    fromLink->PutFrame(Ceiling);
    AwaitGroups(" 1/1/1 ");
    window->Resize(40, 120);
    EXPECT_TRUE(::Await(
        [&] { return window->Rows().size() == 40 && window->Rows().back().find("q quit") != std::string::npos; }));
    for (const int size : {1, 2, 4, 10})
    {
        window->Resize(size, size);
    }
    window->Resize(8, 30);
    EXPECT_TRUE(::Await([&] { return window->Rows().at(2).find('>') != std::string::npos; }));
    window->Resize(24, 80);
    AwaitGroups(" 1/1/1 ");
    window->Press("q");
    ExpectTerminalAsBefore(0);
}

TEST_F(ClientTop, GoesOverToTheQueueOfADaemonThatWasStartedAnew)
{
    Start();
    fromLink->PutFrame("b9 00 01");
    Await(" orvelctl top: /cemiFromLL, link usable");
    fromLink.reset();
    Await("; /cemiFromLL was removed");
    EXPECT_THAT(window->Rows().at(0), Not(HasSubstr("link"))); // nobody knows
    fromLink = std::make_unique<MadeQueue>("/cemiFromLL");
    Await("; /cemiFromLL is there again");
    fromLink->PutFrame(Ceiling);
    AwaitGroups(" 1/1/1 ");
}

TEST_F(ClientTop, LeavesTheTerminalAsItWasHoweverItIsStopped)
{
    for (const char* const key : {"q", "C-c"})
    {
        Start();
        window->Press(key);
        ExpectTerminalAsBefore(0);
    }
    Start();
    ASSERT_GT(Guard(), 0);
    EXPECT_EQ(kill(Guard(), SIGTERM), 0);
    ExpectTerminalAsBefore(0);
}

TEST_F(ClientTop, CanBeStoppedAndContinuedByAShell)
{
    window = std::make_unique<TerminalWindow>("PS1='shell: ' ENV= exec sh -i");
    Await("shell:");
    window->Press(Paths::Client() + " top --direct --names ''");
    window->Press("Enter");
    Await(" orvelctl top: ");
    window->Press("C-z");
    Await("Stopped");
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
    window->Press("fg");
    window->Press("Enter");
    EXPECT_TRUE(window->AwaitValue("alternate_on", "1"));
    fromLink->PutFrame(Ceiling);
    Await(" 1/1/1 ");
    window->Press("q");
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
}

TEST(ClientTopAlone, NeedsATerminal)
{
    const Outcome outcome = RunClient({"top", "--direct"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: top needs a terminal that it has for itself; 'monitor --stats' "
                                           "writes lines"));
    EXPECT_EQ(RunClient({"top", "--sort", "size"}).status, 2);
}

TEST(ClientTopAlone, ShowsWhatComesThroughTheGatewayAndHowMuchWasLost)
{
    if (!TerminalWindow::CanBeMade())
    {
        GTEST_SKIP() << "tmux is not installed";
    }
    const ScriptedGateway gateway;
    const TerminalWindow window(Paths::Client() + " top --names '' --socket " + gateway.Path() + "; cat");
    const auto program = gateway.Greet();
    EXPECT_TRUE(window.AwaitText(" orvelctl top: the gateway, link usable"));
    program.Send(Ceiling);
    program.Send("bb 00 05");
    EXPECT_TRUE(window.AwaitText(" 1/1/1 "));
    EXPECT_TRUE(window.AwaitText("groups 1, dropped 5"));
}

TEST(ClientTopAlone, SaysOnATerminalAsItWasThatThereIsNoQueue)
{
    if (!TerminalWindow::CanBeMade())
    {
        GTEST_SKIP() << "tmux is not installed";
    }
    const TerminalWindow window(Paths::Client() + " top --direct --names ''; echo \"status $?\"; cat");
    EXPECT_TRUE(window.AwaitText("status 5"));
    EXPECT_TRUE(window.AwaitText("orvelctl: there is no queue /cemiFromLL: does the daemon run?"));
    EXPECT_TRUE(window.AwaitValue("alternate_on", "0"));
}

} // namespace
