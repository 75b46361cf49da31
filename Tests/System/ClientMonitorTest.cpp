// orvelctl monitor.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{

const std::string SwitchOn = "29 00 bc e0 11 01 0a 03 01 00 81";

class ClientMonitor : public testing::Test
{
protected:
    MadeQueue fromLink{"/cemiFromLL"};
};

class ClientMonitorOnBoard : public OnBoard
{
};

TEST_F(ClientMonitorOnBoard, ShowsTheStateOfTheLinkAndTelegramsFromTheBus)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ClientProgram monitor({"monitor"});
    EXPECT_TRUE(monitor->AwaitLine("rx b9 00 01  # link usable"));
    TheCoProcessor().InjectTelegram(Knx::FromHex(SwitchOn));
    EXPECT_TRUE(monitor->AwaitLine("rx " + SwitchOn +
                                   "  # L_Data.ind 1.1.1 -> 1/2/3 low hops=6 T_Data_Group "
                                   "A_GroupValue_Write value=0x01"));
    EXPECT_EQ(RunClient({"send", "1100bce000000a03010081"}).status, 0);
    EXPECT_TRUE(monitor->AwaitLine("L_Data.con"));
    EXPECT_EQ(monitor->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientMonitorOnBoard, GoesOverToTheQueueOfADaemonThatWasStartedAnew)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ClientProgram monitor({"monitor"});
    EXPECT_TRUE(monitor->AwaitLine("link usable"));
    EXPECT_EQ(daemon.Stop(), 0);
    board->StartPinsAnew();
    Daemon another;
    EXPECT_TRUE(monitor->AwaitLine("link usable"));
    EXPECT_EQ(monitor->Stop(), 0);
    EXPECT_EQ(another.Stop(), 0);
}

TEST_F(ClientMonitor, StampsTheTime)
{
    const auto first = [&](const std::string& kind)
    {
        fromLink.PutFrame("f0");
        fromLink.PutFrame("f0");
        return RunClient({"monitor", "--time", kind, "-n", "2"}).lines;
    };
    EXPECT_THAT(first("absolute"), ElementsAre(MatchesRegex(R"(\([0-9]{10}\.[0-9]{6}\) rx f0  # M_Reset.ind)"),
                                               MatchesRegex(R"(\([0-9]{10}\.[0-9]{6}\) rx f0  # M_Reset.ind)")));
    EXPECT_THAT(first("relative"), ElementsAre("(0.000000) rx f0  # M_Reset.ind", StartsWith("(0.")));
    EXPECT_THAT(first("delta"), ElementsAre("(+0.000000) rx f0  # M_Reset.ind", StartsWith("(+0.")));
}

TEST_F(ClientMonitor, EndsAfterANumberOfMessagesAndLeavesTheOthers)
{
    fromLink.PutFrame("f0");
    fromLink.PutFrame("f1");
    fromLink.PutFrame("f0");
    const Outcome outcome = RunClient({"monitor", "--number", "2"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre(EndsWith("M_Reset.ind"), EndsWith("M_Reset.req")));
    EXPECT_EQ(fromLink.Waiting(), 1);
}

TEST_F(ClientMonitor, CountsTheMessagesOfEachKind)
{
    for (const char* const frame : {"f0", "b9 00 01", "f0", "29 00", "77"})
    {
        fromLink.PutFrame(frame);
    }
    ClientProgram monitor({"monitor", "--count"});
    EXPECT_TRUE(Await([&] { return fromLink.Waiting() == 0; }));
    monitor->Interrupt();
    const Outcome outcome = monitor.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines,
                ElementsAre("         1  L_Data.ind", "         2  M_Reset.ind", "         1  link usable",
                            "         1  message code 0x77", "         5  in all"));
}

TEST_F(ClientMonitor, ShowsEachMessageAsAnObject)
{
    fromLink.PutFrame("f0");
    fromLink.PutFrame("b9 ff ff");
    EXPECT_THAT(
        RunClient({"monitor", "--json", "-n", "2"}).lines,
        ElementsAre(
            MatchesRegex(
                R"(\{"time":[0-9]{10}\.[0-9]{6},"direction":"rx","hex":"f0","kind":"M_Reset.ind","code":240\})"),
            MatchesRegex(R"(\{"time":[0-9]{10}\.[0-9]{6},"direction":"rx","hex":"b9ffff","kind":"link lost"\})")));
}

TEST_F(ClientMonitor, WritesACaptureToAFileOrStandardOutput)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("capture");
    for (const std::string& command : {"--pcap " + file, "--pcap - >" + file})
    {
        fromLink.PutFrame("f0");
        EXPECT_EQ(ClientProgram::InShell("$ORVELCTL monitor -n 1 " + command).End().status, 0);
        std::ifstream stream(file, std::ios::binary);
        std::ostringstream capture;
        capture << stream.rdbuf();
        const std::string text = capture.str();
        EXPECT_EQ(text.size(), 24 + 16 + 12 + 1) << command;
        EXPECT_EQ(text.substr(text.size() - 9), std::string("cemi\0\0\0\0\xf0", 9)) << command;
    }
}

TEST_F(ClientMonitor, TakesTheLengthThatWasReceivedForThatOfTheFrame)
{
    Knx::Bytes longest(261, 0x55);
    longest[0] = 4;
    longest[1] = 0x10;
    fromLink.Put(longest);
    fromLink.Put({0x00});
    fromLink.Put({});
    fromLink.Put({0x07, 0xF0});
    const auto lines = RunClient({"monitor", "-n", "4"}).lines;
    ASSERT_EQ(lines.size(), 4);
    longest.erase(longest.begin());
    EXPECT_THAT(lines[0], HasSubstr("rx " + Knx::ToHex(longest) + "  # L_Raw.req"));
    EXPECT_THAT(lines[1], EndsWith("rx  # ! size byte 0 on a frame of 0; ends before the message code"));
    EXPECT_THAT(lines[2], EndsWith("rx  # ! ends before the message code"));
    EXPECT_THAT(lines[3], EndsWith("rx f0  # M_Reset.ind ! size byte 7 on a frame of 1"));
}

TEST(ClientMonitorAlone, ReadsAQueueThatWasLeftOverWithOtherSizes)
{
    const MadeQueue queue("/cemiFromLL", 2, 8192);
    Knx::Bytes message(8192, 0x55);
    queue.Put(message);
    EXPECT_THAT(RunClient({"monitor", "-n", "1"}).lines,
                ElementsAre(EndsWith("! size byte 85 on a frame of 8191; unknown "
                                     "message code")));
}

TEST_F(ClientMonitor, ASignalEndsIt)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        fromLink.PutFrame("f0");
        ClientProgram monitor({"monitor"});
        EXPECT_TRUE(monitor->AwaitLine("M_Reset.ind"));
        monitor->Signal(signal);
        EXPECT_EQ(monitor.End().status, 0);
    }
}

TEST_F(ClientMonitor, AStopBeforeTheNumberOfMessagesCameIsNoSuccess)
{
    fromLink.PutFrame("f0");
    ClientProgram monitor({"monitor", "-n", "2"});
    EXPECT_TRUE(monitor->AwaitLine("M_Reset.ind"));
    monitor->Interrupt();
    const Outcome outcome = monitor.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.lines, ElementsAre(EndsWith("M_Reset.ind"), "orvelctl: stopped after 1 of 2 messages"));
}

TEST_F(ClientMonitor, EndsWithTheProgramThatReadsItAndTakesNoMessageMore)
{
    fromLink.PutFrame("f0");
    ClientProgram pipe = ClientProgram::InShell("{ $ORVELCTL monitor; echo \"ended with $?\" >&2; } | head -n 1");
    EXPECT_TRUE(pipe->AwaitLine("ended with 0"));
    fromLink.PutFrame("f1");
    EXPECT_EQ(pipe.End().status, 0);
    EXPECT_EQ(fromLink.Waiting(), 1);
}

TEST_F(ClientMonitor, AnOutputThatCannotBeWrittenIsAFailure)
{
    fromLink.PutFrame("f0");
    Outcome outcome = ClientProgram::InShell("$ORVELCTL monitor >/dev/full").End();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: cannot write standard output: No space left on device"));

    outcome = RunClient({"monitor", "--pcap", "/no/such/file"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: cannot write /no/such/file: No such file or directory"));
}

TEST(ClientMonitorAlone, WithoutADaemonThereIsNoQueue)
{
    const Outcome outcome = RunClient({"monitor"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: there is no queue /cemiFromLL: does the daemon run?"));
}

TEST(ClientMonitorAlone, WithoutADaemonAnOlderCaptureStaysAsItIs)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("capture");
    std::ofstream(file) << "older";
    EXPECT_EQ(RunClient({"monitor", "--pcap", file}).status, 5);
    EXPECT_EQ(std::filesystem::file_size(file), 5);
}

TEST_F(ClientMonitor, SaysAtATerminalOnlyThatItTakesTheMessagesAway)
{
    const std::string notice =
        "orvelctl: what is read here from /cemiFromLL does not reach other readers; Ctrl-C ends\r\n";
    fromLink.PutFrame("f0");
    EXPECT_THAT(OnTerminal("NO_COLOR=1 $ORVELCTL monitor -n 1"), StartsWith(notice + "("));
    fromLink.PutFrame("f0");
    EXPECT_THAT(OnTerminal("$ORVELCTL monitor -n 1 | cat"), StartsWith("("));
}

TEST_F(ClientMonitor, DoesNotWriteACaptureToATerminal)
{
    EXPECT_EQ(OnTerminal("$ORVELCTL monitor --pcap -; echo $?"),
              "orvelctl: a capture is nothing for a terminal: let a file or a program take it\r\n2\r\n");
}

TEST(ClientMonitorAlone, SaysAtATerminalThatTheDaemonHasGoneAndIsBack)
{
    auto queue = std::make_unique<MadeQueue>("/cemiFromLL");
    queue->PutFrame("f0");
    std::string text;
    std::thread terminal([&] { text = OnTerminal("$ORVELCTL monitor -n 2"); });
    EXPECT_TRUE(Await([&] { return queue->Waiting() == 0; }));
    queue.reset();
    queue = std::make_unique<MadeQueue>("/cemiFromLL");
    queue->PutFrame("f0");
    terminal.join();
    EXPECT_THAT(text, ContainsRegex("orvelctl: /cemiFromLL was removed; waiting for the daemon\r\n"
                                    "orvelctl: /cemiFromLL is there again\r\n"));
}

TEST_F(ClientMonitor, ShowsAndCountsOnlyWhatTheFilterChooses)
{
    for (const char* const frame : {"29 00 bc e0 11 01 0a 03 01 00 81", "f0", "29 00 bc e0 11 01 0b 03 01 00 81",
                                    "29 00 bc e0 11 01 0a 04 01 00 80", "f0"})
    {
        fromLink.PutFrame(frame);
    }
    EXPECT_THAT(RunClient({"monitor", "-n", "2", "--group", "1/2/*"}).lines,
                ElementsAre(HasSubstr("1.1.1 -> 1/2/3"), HasSubstr("1.1.1 -> 1/2/4")));
    EXPECT_EQ(fromLink.Waiting(), 1);
}

TEST_F(ClientMonitor, LinesFitTheTerminalUnlessTheyAreToBeWhole)
{
    const std::string size = "stty cols 40; export NO_COLOR=1; ";
    const auto lastLine = [](const std::string& text)
    { return text.substr(text.find('('), text.size() - text.find('(') - 2); };
    fromLink.PutFrame(SwitchOn);
    EXPECT_EQ(lastLine(OnTerminal(size + "$ORVELCTL monitor -n 1 -t relative")),
              "(0.000000) 1.1.1 -> 1/2/3 A_GroupValue_>");
    fromLink.PutFrame(SwitchOn);
    EXPECT_THAT(OnTerminal(size + "$ORVELCTL monitor -n 1 -t relative --wide"),
                HasSubstr("rx " + SwitchOn + "  # L_Data.ind"));
    fromLink.PutFrame(SwitchOn);
    EXPECT_THAT(OnTerminal(size + "$ORVELCTL monitor -n 1 -t relative | cat"),
                HasSubstr("rx " + SwitchOn + "  # L_Data.ind"));
}

TEST_F(ClientMonitor, HasColoursOnATerminalOrWhereTheyAreWanted)
{
    const std::string red = "\x1b[31m";
    const std::vector<std::pair<std::string, bool>> commands{
        {"TERM=xterm $ORVELCTL monitor -n 1", true},
        {"TERM=xterm NO_COLOR=1 $ORVELCTL monitor -n 1", false},
        {"TERM=dumb $ORVELCTL monitor -n 1", false},
        {"TERM=xterm $ORVELCTL monitor -n 1 --color never", false},
        {"TERM=xterm $ORVELCTL monitor -n 1 | cat", false},
        {"TERM=xterm NO_COLOR=1 $ORVELCTL monitor -n 1 --color always | cat", true},
    };
    for (const auto& [command, hasColors] : commands)
    {
        fromLink.PutFrame("b9 ff ff");
        EXPECT_EQ(OnTerminal("unset NO_COLOR; " + command).find(red) != std::string::npos, hasColors) << command;
    }
}

TEST_F(ClientMonitor, ASlowOutputLosesNothing)
{
    const TemporaryDirectory directory;
    const std::string go = directory.File("go");
    ClientProgram client =
        ClientProgram::InShell("$ORVELCTL monitor -n 500 | { until [ -e " + go + " ]; do sleep 0.01; done; wc -l; }");
    const std::string longest = "29 00" + std::string(500, '5');
    for (int i = 0; i < 500; ++i) // in all, five times what a pipe takes
    {
        ASSERT_TRUE(Await([&] { return fromLink.Waiting() < 14; })) << i;
        fromLink.PutFrame(longest);
    }
    EXPECT_TRUE(Await([&] { return fromLink.Waiting() == 0; }));
    std::ofstream(go) << "\n";
    EXPECT_THAT(client.End().lines, ElementsAre("500"));
}

// The number behind "29 00" of each frame in the file.
std::vector<int> NumbersIn(const std::string& file)
{
    std::vector<int> numbers;
    for (const std::string& line : RunClient({"decode", "--to", "json", file}).lines)
    {
        const std::string begin = R"("hex":"2900)";
        const std::size_t place = line.find(begin);
        EXPECT_NE(place, std::string::npos) << line;
        numbers.push_back(std::stoi(line.substr(place + begin.size(), 2)));
    }
    return numbers;
}

TEST_F(ClientMonitor, WritesFilesOfALimitedSizeAndLosesNothingBetweenThem)
{
    const TemporaryDirectory directory;
    for (const char* const option : {"--write", "--pcap"})
    {
        const std::string file = directory.File(option);
        for (int number = 10; number < 20; ++number)
        {
            const std::size_t digits = option == std::string("--write") ? 110 : 500;
            fromLink.PutFrame("29 00" + std::to_string(number) + std::string(digits, '5'));
        }
        const Outcome outcome = RunClient({"monitor", option, file, "--rotate", "1k,3", "-n", "10"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.lines.size(), 0);
        std::vector<int> kept;
        for (const char* const ending : {".3", ".2", ".1", ""})
        {
            EXPECT_LE(std::filesystem::file_size(file + ending), 1024) << ending;
            const std::vector<int> numbers = NumbersIn(file + ending);
            EXPECT_GE(numbers.size(), 1) << option << ending;
            kept.insert(kept.end(), numbers.begin(), numbers.end());
        }
        EXPECT_FALSE(std::filesystem::exists(file + ".4"));
        ASSERT_GE(kept.size(), 6) << option; // of the last ones, not one is missing
        for (std::size_t i = 0; i < kept.size(); ++i)
        {
            EXPECT_EQ(kept[i], 20 - static_cast<int>(kept.size() - i)) << option;
        }
    }
}

TEST_F(ClientMonitor, GoesOnToWriteAFileWhenNobodyReadsItsOutput)
{
    const TemporaryDirectory directory;
    const std::string gone = directory.File("gone");
    const auto monitor = [&gone](const std::string& option, const std::string& file)
    {
        return ClientProgram::InShell("{ until [ -e " + gone + " ]; do sleep 0.01; done; $ORVELCTL monitor " + option +
                                      " " + file + " -n 1; } | touch " + gone);
    };
    for (const char* const option : {"--write", "--pcap"})
    {
        const std::string file = directory.File(option);
        std::filesystem::remove(gone);
        fromLink.PutFrame(SwitchOn);
        ClientProgram client = monitor(option, file);
        EXPECT_EQ(client.End().status, 0);
        EXPECT_EQ(RunClient({"decode", file}).lines.size(), 1) << option;
    }
}

TEST_F(ClientMonitor, CanBeStoppedWhileItReadsTheNames)
{
    const TemporaryDirectory directory;
    const std::string names = directory.File("names");
    ASSERT_EQ(mkfifo(names.c_str(), 0600), 0);
    for (const char* const command : {"monitor", "decode"})
    {
        ClientProgram client({command, "--names", names});
        const System::Descriptor writer(open(names.c_str(), O_WRONLY | O_CLOEXEC)); // waits for the reader
        client->Signal(SIGTERM);
        EXPECT_EQ(client->Wait(), 128 + SIGTERM) << command;
    }
}

TEST_F(ClientMonitor, TellsFromTimeToTimeWhatWasOnTheBus)
{
    fromLink.PutFrame(SwitchOn);
    ClientProgram monitor({"monitor", "--stats", "0.1"});
    EXPECT_TRUE(monitor->AwaitLine(" 1 telegrams, "));
    EXPECT_TRUE(monitor->AwaitLine("  groups    1/2/3 1"));
    EXPECT_TRUE(monitor->AwaitLine(" 0 telegrams, 0.0/s, bus load 0.0 %"));
    fromLink.PutFrame(SwitchOn);
    EXPECT_TRUE(monitor->AwaitLine(" 1 telegrams, "));
    EXPECT_EQ(monitor->Stop(), 0);
}

TEST_F(ClientMonitor, StampsTheDateOfTheDaemonsLines)
{
    fromLink.PutFrame("f0");
    EXPECT_THAT(
        RunClient({"monitor", "-n", "1", "--time", "date"}).lines,
        ElementsAre(MatchesRegex("[0-9]{2}\\.[0-9]{2}\\.[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} rx f0  # "
                                 "M_Reset.ind")));
}

} // namespace
