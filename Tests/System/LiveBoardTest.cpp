// orvel-board in a terminal.

#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"
#include "BenchKit/TerminalWindow.h"
#include "Event.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using Simulator::Event;
using Simulator::KnxIpCounters;
using Simulator::TextOf;
using testing::Contains;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

namespace
{

std::string Name()
{
    return "live-" + std::to_string(getpid());
}

// Sets an LED that the daemon has registered; false until it has.
bool SwitchOn(const std::string& led)
{
    return Daemon({Paths::Board(), "exec", "--name", Name(), "--", "sh", "-c",
                   "[ -e /sys/class/leds/" + led + " ] && echo 100 >/sys/class/leds/" + led + "/brightness"},
                  {})
               .Wait() == 0;
}

// True even if nobody has asked for the process's exit status yet.
bool IsGone(pid_t process)
{
    const char state = StateOf(process).state;
    return state == 'X' || state == 'Z';
}

pid_t ChildOf(pid_t parent, const std::string& program = "orvel-board")
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc"))
    {
        const std::string name = entry.path().filename();
        const ProcessState found = StateOf(name);
        if (found.parent == parent && parent != -1 && found.program == "(" + program + ")")
        {
            return std::stoi(name);
        }
    }
    return -1;
}

// A process that was not found would have a number that means all processes, or a group of them.
void Kill(pid_t process, int signal)
{
    ASSERT_GT(process, 0);
    ASSERT_EQ(kill(process, signal), 0);
}

// A window in which the board runs. The settings of the terminal are compared before and after.
class LiveBoard : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!TerminalWindow::CanBeMade())
        {
            GTEST_SKIP() << "tmux is not installed";
        }
    }

    void Start(const std::string& options = "", const std::string& environment = "")
    {
        Close();
        window = std::make_unique<TerminalWindow>(
            R"(echo before; stty -g >"$WINDOW/settings"; )" + environment +
            R"( sh -c 'echo $$ >"$WINDOW/id"; exec "$0" "$@"' )" + Paths::Board() + " --name " + Name() + " " +
            options + R"(; echo "status $?"; stty -g | cmp - "$WINDOW/settings" && echo "settings as before"; cat)");
    }

    void TearDown() override
    {
        Close();
    }

    // Waits until the board has ended: the next one has the same name.
    void Close()
    {
        if (window)
        {
            const pid_t guard = Guard();
            const pid_t board = ChildOf(guard);
            window.reset();
            EXPECT_TRUE(::Await([&] { return IsGone(guard) && IsGone(board); }));
        }
    }

    void StartWithLink(const std::string& options = "", const std::string& environment = "")
    {
        Start(options, environment);
        window->AwaitText("link        up");
    }

    // Waits until an LED can be switched on: by then all of the daemon's components exist then.
    void StartWithLeds(const std::string& options = "")
    {
        // On a busy machine the LED worker can come before its table is filled, and then serves no LED.
        for (int starts = 0; starts < 10; ++starts)
        {
            StartWithLink(options);
            if (::Await([] { return SwitchOn("prg1"); }, std::chrono::seconds(3)))
            {
                break;
            }
        }
    }

    void Press(const std::string& key) const
    {
        window->Press(key);
    }

    void Await(const std::string& text) const
    {
        window->AwaitText(text);
    }

    // The process that was started, and its child, which is the board.
    pid_t Guard() const
    {
        pid_t id = -1;
        std::ifstream(window->Directory() + "/id") >> id;
        return id;
    }
    pid_t Board() const
    {
        return ChildOf(Guard());
    }

    void ExpectTerminalAsBefore(int status) const
    {
        EXPECT_TRUE(window->AwaitText("status " + std::to_string(status)));
        EXPECT_TRUE(window->AwaitText("settings as before"));
        EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
        EXPECT_TRUE(window->AwaitValue("cursor_flag", "1"));
        EXPECT_TRUE(window->AwaitValue("keypad_flag", "0"));
        EXPECT_THAT(window->Rows(), Contains("before"));
    }

    std::unique_ptr<TerminalWindow> window;
};

TEST_F(LiveBoard, ShowsTheBoardIn24RowsOf80Columns)
{
    StartWithLeds("-- --enable_rs485");
    EXPECT_TRUE(SwitchOn("knx"));
    Await("(*) red KNX  ( ) yellow KNX  ( ) green device  (*) orange device");
    EXPECT_TRUE(SwitchOn("rs485termination"));
    Await("(*) termination");
    const auto rows = window->Rows();
    ASSERT_THAT(rows, SizeIs(24));
    EXPECT_EQ(rows[0], " orvel-board: " + Name());
    EXPECT_EQ(rows[3], " link        up, serial line plugged in, co-processor running");
    EXPECT_THAT(rows[4], StartsWith(" resets      1, last pulse "));
    EXPECT_EQ(rows[5], " telegrams   0 to KNX, 0 confirmed, 0 not sent; 0 from KNX, 0 lost");
    EXPECT_THAT(rows[6], StartsWith("-- telegrams ---"));
    EXPECT_THAT(rows[14], StartsWith("-- log ---"));
    EXPECT_EQ(rows[23], " b press  u unplug  m mute  t telegram  r restart  k kill  h help  q quit");
}

TEST_F(LiveBoard, ShowsANameAsItIsWhereTheTerminalHasItsCharacters)
{
    const std::string name = "K\u00fcche-" + std::to_string(getpid());
    StartWithLink("--name " + name, "LC_ALL=C.UTF-8");
    Await(" orvel-board: " + name);
    for (const std::string language :
         {"LC_ALL=C", "env --unset=LC_ALL LC_CTYPE=C LANG=", "env --unset=LC_ALL --unset=LC_CTYPE LANG=C"})
    {
        StartWithLink("--name " + name, language);
        Await(" orvel-board: K??che-");
    }
}

TEST_F(LiveBoard, ShowsANameAsItIsWhereNobodySaysWhichCharactersTheTerminalHas)
{
    const std::string name = "K\u00fcche-" + std::to_string(getpid());
    StartWithLink("--name " + name, "env --unset=LC_ALL --unset=LC_CTYPE LANG=");
    Await(" orvel-board: " + name);
}

// As for somebody who comes by ssh, which brings the locale of another machine along.
TEST_F(LiveBoard, ShowsANameAsItIsWhereTheLocaleIsNotInstalled)
{
    const std::string name = "K\u00fcche-" + std::to_string(getpid());
    StartWithLink("--name " + name, "env --unset=LC_ALL --unset=LC_CTYPE LANG=xx_XX.UTF-8");
    Await(" orvel-board: " + name);
}

TEST_F(LiveBoard, NeedsNoColour)
{
    StartWithLink("", "TERM=vt100");
    Press("b");
    Await("button [pressed]");
}

TEST_F(LiveBoard, AKeyPressesTheButtonAndReleasesIt)
{
    StartWithLeds();
    // This is the last LED. No lines about LEDs follow that could push the button's line away.
    EXPECT_TRUE(SwitchOn("knx"));
    Await("Leds: Set brightness of led knx to 100");
    Await("(*) orange device");
    Press("b");
    Await("button [pressed], presses 1");
    Await("Buttons: Programming button state changed to: pressed");
    Press("b");
    Await("button [released], presses 1");
    Await("Buttons: Programming button state changed to: released");
}

TEST_F(LiveBoard, AKeyPullsTheSerialLineAndPlugsItIn)
{
    StartWithLink();
    Press("u");
    Await("link        DOWN, serial line PULLED");
    Press("u");
    Await("serial line plugged in");
}

TEST_F(LiveBoard, AKeyLetsTheCoProcessorHang)
{
    StartWithLink();
    Press("m");
    Await("co-processor hangs");
    Await("ERROR Main: Lost connection to STM32");
    Await("resets      2");
    Await("link        up");
}

TEST_F(LiveBoard, KeysEndTheDaemonAndStartItAgain)
{
    StartWithLink();
    Press("r");
    Await("times the link came up 2");
    Press("k");
    Await("times the link came up 3");
    Press("q");
    ExpectTerminalAsBefore(0);
}

TEST_F(LiveBoard, ANumberBeforeTheKeyIsThePause)
{
    for (const auto& [key, status] : {std::pair("r", 0), std::pair("k", 137)})
    {
        StartWithLink();
        Press("3600");
        Await(" after 3600 s:  r restart  k kill");
        Press(key);
        Await(TextOf({Event::DaemonEnded, status}));
        Await(TextOf({Event::DaemonStartsLater, 3600}));
        Await("q quit");
        Press("q");
        ExpectTerminalAsBefore(status);
    }
}

TEST_F(LiveBoard, ADigitThatMakesThePauseTooLongIsLeftOut)
{
    StartWithLink();
    Press("3601");
    Await(" after 360 s:  r restart  k kill");
}

TEST_F(LiveBoard, ATelegramIsTypedAndShownInWords)
{
    StartWithLink();
    Press("t");
    Await("telegram (Enter, Esc): 29 00 bc e0 11 01 0a 03 01 00 81_");
    Press("Enter");
    Await("from KNX  1.1.1 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x01");
    Await("0 not sent; 1 from KNX, 0 lost");
    Press("t");
    Press("BSpace");
    Press("0");
    Press("Enter");
    Await("value=0x00");
}

TEST_F(LiveBoard, ATelegramIsTypedAndShownAsAValueOfAGroupWithItsName)
{
    StartWithLink("--names " + Paths::InSourceTree("Examples/House/group-addresses.xml"));
    for (const char* const typed : {"2/1/1 21.5", "read Living room/Temperature", "1/2/9 50 5.001"})
    {
        Press("t");
        Press("C-u");
        Press(typed);
        Press("Enter");
        Await(" b press  u unplug");
    }
    Await("from KNX  1.1.1 -> 2/1/1 A_GroupValue_Write 21.5 ");
    Await("from KNX  1.1.1 -> 2/1/1 A_GroupValue_Read  Heating/Living room");
    Await("from KNX  1.1.1 -> 1/2/9 low hops=6 A_GroupValue_Write data=80");
}

TEST_F(LiveBoard, AWrongTelegramIsAnsweredAndStaysToBeCorrectedOrGivenUp)
{
    StartWithLeds(); // the daemon then logs no more, which would scroll the answer away
    Press("t");
    Press("x");
    Press("Enter");
    Await("'telegram' takes 1 to 1024 bytes");
    Await("telegram (Enter, Esc): 29 00 bc e0 11 01 0a 03 01 00 81x_");
    Press("BSpace");
    Press("Enter");
    Await("1 from KNX, 0 lost");
    Press("t");
    Press("C-u");
    Press("Enter");
    Await("telegram (Enter, Esc): _");
    Press("Escape");
    Await(" b press  u unplug");
    Press("q");
    ExpectTerminalAsBefore(0);
}

TEST_F(LiveBoard, HelpComesAndGoes)
{
    StartWithLink();
    Press("h");
    Await(" b  press the programming button, or let it go");
    Await("'orvel-board shell --name " + Name() + "'");
    Press("h");
    Await("-- telegrams");
}

TEST_F(LiveBoard, FollowsTheSizeOfTheTerminal)
{
    StartWithLink();
    window->Resize(40, 120);
    Await("co-processor running");
    EXPECT_TRUE(::Await(
        [&] {
            return window->Rows().back() == " b press  u unplug  m mute  t telegram  r restart  k kill  h help  q quit";
        }));
    EXPECT_THAT(window->Rows(), SizeIs(40));
    for (const int size : {1, 2, 5, 7, 10})
    {
        window->Resize(size, size);
    }
    window->Resize(8, 30);
    Await(" link        up, serial line >");
    EXPECT_TRUE(::Await([&] { return window->Rows().back() == " b press  u unplug  m mute  t>"; }));
    window->Resize(24, 80);
    Await("-- telegrams");
    Press("q");
    ExpectTerminalAsBefore(0);
}

TEST_F(LiveBoard, LeavesTheTerminalAsItWasHoweverItIsStopped)
{
    for (const char* const key : {"q", "C-c"})
    {
        StartWithLink();
        Press(key);
        ExpectTerminalAsBefore(0);
    }
    StartWithLink();
    Kill(Guard(), SIGTERM);
    ExpectTerminalAsBefore(0);
}

TEST_F(LiveBoard, LeavesTheTerminalAsItWasWhenItCrashes)
{
    for (const int signal : {SIGKILL, SIGABRT})
    {
        StartWithLink();
        Kill(Board(), signal);
        ExpectTerminalAsBefore(128 + signal);
        EXPECT_THAT(window->Rows(), Contains(StartsWith("orvel-board: the board was killed: ")));
    }
}

TEST_F(LiveBoard, EndsWhenTheProcessThatGuardsTheTerminalIsKilled)
{
    StartWithLink();
    const pid_t board = Board();
    Kill(Guard(), SIGKILL);
    EXPECT_TRUE(::Await([&] { return IsGone(board); }));
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
    EXPECT_TRUE(window->AwaitValue("cursor_flag", "1"));
}

TEST_F(LiveBoard, LeavesTheTerminalAsItWasWhenItsGuardIsKilledUnderAShell)
{
    window = std::make_unique<TerminalWindow>("PS1='shell: ' ENV= exec sh -i");
    Await("shell:");
    Press(R"(stty -g >"$WINDOW/settings"; sh -c 'echo $$ >"$WINDOW/id"; exec "$0" "$@"' )" + Paths::Board() +
          " --name " + Name());
    Press("Enter");
    Await("link        up");
    const pid_t board = Board();
    Kill(Guard(), SIGKILL);
    EXPECT_TRUE(::Await([&] { return IsGone(board); }));
    Press(R"(stty -g | cmp - "$WINDOW/settings" && echo settings "as before")");
    Press("Enter");
    Await("settings as before");
}

TEST_F(LiveBoard, EndsWithTheDaemonAndSaysWhatItSaidLast)
{
    Start("-- --reset_gpio 40");
    ExpectTerminalAsBefore(255);
    EXPECT_THAT(window->Rows(), Contains(HasSubstr("ERROR Reset: Cannot set direction of STM32 reset GPIO 40")));
    EXPECT_THAT(window->Rows(), Contains(TextOf({Event::DaemonEnded, 255})));

    StartWithLink();
    Kill(ChildOf(Board(), "orvel"), SIGKILL);
    ExpectTerminalAsBefore(128 + SIGKILL);
    EXPECT_THAT(window->Rows(), Contains(TextOf({Event::DaemonEnded, 128 + SIGKILL})));
}

TEST_F(LiveBoard, SaysWhyThereIsNoBoardOnATerminalAsItWas)
{
    Start("--driver /no/driver");
    ExpectTerminalAsBefore(1);
    EXPECT_THAT(window->Rows(), Contains("orvel-board: there is no /no/driver; say where it is with --driver"));
}

TEST_F(LiveBoard, CanBeStoppedAndContinuedByAShell)
{
    window = std::make_unique<TerminalWindow>("PS1='shell: ' ENV= exec sh -i");
    Await("shell:");
    Press(R"(sh -c 'echo $$ >"$WINDOW/id"; exec "$0" "$@"' )" + Paths::Board() + " --name " + Name());
    Press("Enter");
    Await("link        up");
    Press("C-z");
    Await("Stopped");
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
    Press("fg");
    Press("Enter");
    Await("link        ");
    Press("b");
    Await("button [pressed]");
    Press("q");
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
    Await("shell: fg");
    Press("stty -g | cut -c 1-4; echo ended with $?");
    Press("Enter");
    Await("ended with 0");
}

TEST_F(LiveBoard, WritesLinesInTheBackgroundOfAShellAndLeavesItsInputAlone)
{
    window = std::make_unique<TerminalWindow>("PS1='shell: ' ENV= exec sh -i");
    Await("shell:");
    Press(R"(sh -c 'echo $$ >"$WINDOW/id"; exec "$0" "$@"' )" + Paths::Board() + " --name " + Name() + " &");
    Press("Enter");
    Await("s  " + TextOf(Event::LinkUp));
    Press("echo 1 2 3 | tr -d ' '");
    Press("Enter");
    Await("123");
    Press("kill %1; wait %1; echo ended with $?");
    Press("Enter");
    Await("ended with 0");
}

TEST_F(LiveBoard, TellsAtTheEndWhatWasCounted)
{
    StartWithLink("--knxip");
    Press("q");
    ExpectTerminalAsBefore(0);
    Await(TextOf({Event::KnxIpCounted, KnxIpCounters{}}));
}

TEST_F(LiveBoard, DuringTheDemonstrationKeysOnlyQuitAndHelp)
{
    // This daemon waits for a link that it never brings up.
    Start("--demo --driver /bin/sleep -- 1000");
    Await(TextOf(Event::DaemonStarted));
    Press("5");
    Press("b");
    Await("wait until the demonstration is over");
    EXPECT_THAT(window->Rows().back(), HasSubstr("q quit"));
    Press("h");
    Await(" b  press the programming button");
    Press("q");
    ExpectTerminalAsBefore(128 + SIGINT);
}

TEST_F(LiveBoard, WritesLinesWhenItIsToldTo)
{
    Start("--plain");
    Await("s  " + TextOf(Event::LinkUp));
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
    Press("press");
    Press("Enter");
    Await("s  " + TextOf(Event::ButtonPressed));
    Press("quit");
    Press("Enter");
    Await("status 0");
    Await("settings as before"); // the daemon may have the same status, and ends first
}

TEST_F(LiveBoard, WritesJsonWhenItIsToldTo)
{
    Start("--json");
    Await(R"("kind":"linkUp"})");
    EXPECT_TRUE(window->AwaitValue("alternate_on", "0"));
    Press("quit");
    Press("Enter");
    Await("status 0");
}

TEST_F(LiveBoard, WritesLinesWhereTheTerminalCannotShowMore)
{
    for (const char* const terminal : {"TERM=dumb", "TERM=", "TERM=nobody-knows-it"})
    {
        Start("", terminal);
        Await("s  " + TextOf(Event::LinkUp));
        Press("quit");
        Press("Enter");
        Await("status 0");
        Await("settings as before"); // the daemon may have the same status, and ends first
    }
}

TEST_F(LiveBoard, ShowsWhoIsConnectedToTheGateway)
{
    StartWithLink("--gateway");
    Await("gateway     0 programs");
    Daemon monitor({Paths::Board(), "exec", "--name", Name(), "--", Paths::Client(), "monitor"}, {});
    Await("gateway     1 program: " + std::to_string(monitor.Id()) + " orvelctl");
    monitor.Stop();
    Await("gateway     0 programs");
}

TEST_F(LiveBoard, AShellOnTheBoardSeesItsQueues)
{
    StartWithLink();
    const TerminalWindow other("SHELL=/bin/sh exec " + Paths::Board() + " shell --name " + Name());
    other.Press("ls /dev/mqueue; tty | cut -c 1-5");
    other.Press("Enter");
    EXPECT_TRUE(other.AwaitText("progButton"));
    EXPECT_TRUE(other.AwaitText("/dev/"));
}

} // namespace
