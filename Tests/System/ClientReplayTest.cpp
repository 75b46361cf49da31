// orvelctl replay and generate.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fstream>

using namespace std::chrono_literals;
using Knx::Bytes;
using Simulator::Event;
using testing::ElementsAre;
using testing::MatchesRegex;

namespace
{

std::chrono::steady_clock::duration TimeOf(const std::function<void()>& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::steady_clock::now() - start;
}

class ClientReplay : public testing::Test
{
protected:
    std::string File(const std::string& content) const
    {
        std::string name = directory.File("file");
        std::ofstream(name, std::ios::binary) << content;
        return name;
    }

    MadeQueue toLink{"/cemiToLL", 10};
    TemporaryDirectory directory;
};

class ClientReplayOnBoard : public OnBoard
{
};

TEST_F(ClientReplayOnBoard, SendsWhatTheMonitorHasRecorded)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const TemporaryDirectory directory;
    EXPECT_EQ(RunClient({"monitor", "-n", "1"}).status, 0); // the state of the link
    const std::string file = directory.File("recorded");
    for (std::string command : {"$ORVELCTL monitor -n 1 >", "$ORVELCTL monitor -n 1 --pcap - >"})
    {
        command += file;
        TheCoProcessor().InjectTelegram({0x29, 0x00, 0xbc, 0xe0, 0x11, 0x01, 0x0a, 0x04, 0x01, 0x00, 0x81});
        EXPECT_EQ(ClientProgram::InShell(command).End().status, 0);
        EXPECT_EQ(RunClient({"replay", file}).status, 0);
        EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 11 01 0a 04 01 00 81")}));
        EXPECT_EQ(RunClient({"monitor", "-n", "1"}).status, 0); // the confirmation
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientReplay, ReadsStandardInput)
{
    EXPECT_EQ(RunClient({"replay", "-"}, "(0.000000) rx b9 00 01  # link usable\n(0.000000) rx f1\n").status, 0);
    EXPECT_EQ(toLink.Take(), "01 f1");
    EXPECT_EQ(toLink.Take(), "nothing");
    EXPECT_EQ(RunClient({"replay", "-"}, "").status, 0);
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientReplay, TakesTheTimeThatPassedBetweenTheMessages)
{
    const std::string log = File("(100.000000) rx f1\n(100.300000) rx f1\n");
    EXPECT_GE(TimeOf([&] { EXPECT_EQ(RunClient({"replay", log}).status, 0); }), 300ms);
    EXPECT_GE(TimeOf([&] { EXPECT_EQ(RunClient({"replay", "--speed", "0.5", log}).status, 0); }), 600ms);
    EXPECT_EQ(toLink.Waiting(), 4);
}

TEST_F(ClientReplay, CanBeFasterOrNotWaitAtAll)
{
    const std::string log = File("(0.000000) rx f1\n(99.000000) rx f1\n");
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(RunClient({"replay", "--speed", "1000", log}).status, 0); }), 60s);
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(RunClient({"replay", "--speed", "max", log}).status, 0); }), 60s);
    EXPECT_EQ(toLink.Waiting(), 4);
}

TEST_F(ClientReplay, SendsNothingUnlessAllIsUnderstood)
{
    const std::string header("\xd4\xc3\xb2\xa1\2\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\xfc\0\0\0", 24);
    const std::vector<std::pair<std::string, std::string>> wrong{
        {"(0.000000) rx f1\n(0.000000) rx f\n", "line 2: byte 1 has one digit only"},
        {"f1\nDear all,\n", "line 2: is no line of a recording: no log, JSON or hexadecimal digits"},
        {header + std::string(8, '\0') + std::string("\0\0\0\0\1\0\0\0", 8), "packet 1 is not complete"},
        {header.substr(0, 20), "ends within the header of the capture"},
        {"\n\r\r\n", "ends within the header of the capture"},
        {"<html/>", "is XML, but no CommunicationLog"},
    };
    for (const auto& [content, line] : wrong)
    {
        const std::string file = File(content);
        const Outcome outcome = RunClient({"replay", file});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.lines, ElementsAre(std::string("orvelctl: ").append(file).append(": ").append(line)));
        EXPECT_EQ(toLink.Take(), "nothing");
    }
    EXPECT_THAT(
        RunClient({"replay", "-"}, "x1").lines,
        ElementsAre("orvelctl: standard input: line 1: is no line of a recording: no log, JSON or hexadecimal digits"));
}

TEST_F(ClientReplay, ReadsWhatDecodeReads)
{
    EXPECT_EQ(RunClient({"replay", File("f1\n")}).status, 0);
    EXPECT_EQ(toLink.Take(), "01 f1");
    EXPECT_EQ(RunClient({"replay", File("{\"hex\":\"f1\"}\n")}).status, 0);
    EXPECT_EQ(toLink.Take(), "01 f1");
    EXPECT_EQ(RunClient({"replay", File("<CommunicationLog><Telegram Timestamp='2026-11-21T14:05:09Z' "
                                        "FrameFormat='CommonEmi' RawData='F1'/></CommunicationLog>")})
                  .status,
              0);
    EXPECT_EQ(toLink.Take(), "01 f1");
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientReplay, SendsWhatTheDaemonHasSentOnce)
{
    const std::string begin = "22.11.2026 14:05:09.042 [14] DEBUG Nemt <> - ";
    const std::string log = begin + "Received on topic 256: 2e 0 bc e0 11 1 a 3 1 0 81\n" + begin +
                            "Sent on topic 256: 11 0 bc e0 0 0 a 3 1 0 80\n" + begin +
                            "Received on topic 256: 2e 0 bc e0 11 1 a 3 1 0 80\n";
    EXPECT_EQ(RunClient({"replay", File(log)}).status, 0);
    EXPECT_EQ(toLink.Take(), "0b 11 00 bc e0 11 01 0a 03 01 00 81"); // nothing says that the log has its request
    EXPECT_EQ(toLink.Take(), "0b 11 00 bc e0 00 00 0a 03 01 00 80");
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientReplay, SendsWhatComesBeforeAnEndThatIsCutOffAndSaysSo)
{
    const std::string file = File("(0.000000) rx f1\n(0.00");
    const Outcome outcome = RunClient({"replay", file});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: " + file + ": line 2 is cut off; used is what comes before it"));
    EXPECT_EQ(toLink.Take(), "01 f1");
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientReplay, AFileThatCannotBeReadIsAFailure)
{
    Outcome outcome = RunClient({"replay", "/no/such/file"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: cannot read /no/such/file: No such file or directory"));
    outcome = RunClient({"replay", "/"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: cannot read /: Is a directory"));
}

TEST_F(ClientReplay, SaysHowFarItCameWhenItIsStopped)
{
    ClientProgram client({"replay", File("(0.000000) rx f1\n(99999.000000) rx f1\n")});
    EXPECT_TRUE(Await([&] { return toLink.Waiting() == 1; }));
    client->Interrupt();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: stopped after 1 of 2 frames"));
}

TEST_F(ClientReplay, SaysHowFarItCameWhenTheQueueStaysFull)
{
    std::string log;
    for (int i = 0; i < 12; ++i)
    {
        log += "(0.000000) rx f1\n";
    }
    const Outcome outcome = RunClient({"replay", "--wait", "10", File(log)});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: after 10 of 12 frames: /cemiToLL is full, for 10 ms"));
}

TEST(ClientReplayAlone, WithoutADaemonThereIsNoQueue)
{
    const Outcome outcome = RunClient({"replay", "-"}, "(0.000000) rx f1\n");
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines,
                ElementsAre("orvelctl: after 0 of 1 frames: there is no queue /cemiToLL: does the daemon run?"));
}

TEST_F(ClientReplay, SaysAtATerminalHowManyItSent)
{
    const std::string log = File("(0.000000) rx f1\n(0.000000) rx b9 00 01\n");
    EXPECT_EQ(OnTerminal("$ORVELCTL replay " + log),
              "orvelctl: sent 1 of 2 messages; the others are no frames for the bus\r\n");
    EXPECT_EQ(OnTerminal("$ORVELCTL replay " + File("(0.000000) rx f1\n")), "orvelctl: sent 1 of 1 messages\r\n");
}

class ClientGenerate : public ClientReplay
{
};

class ClientGenerateOnBoard : public OnBoard
{
};

TEST_F(ClientGenerateOnBoard, TelegramsReachTheBus)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(RunClient({"generate", "--group", "31/7/*", "-n", "50", "--rate", "500"}).status, 0);
    for (int i = 0; i < 50; ++i)
    {
        EXPECT_TRUE(AwaitEvent(Event::TelegramToKnx)) << i;
    }
    for (const Bytes& telegram : ToKnx())
    {
        EXPECT_EQ(Bytes(telegram.begin(), telegram.begin() + 2), Knx::FromHex("11 00"));
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientGenerate, SendsWhatItWouldPrint)
{
    const auto printed =
        RunClient({"generate", "--group", "31/7/*", "--print", "--seed", "5", "-n", "5", "--rate", "1000"}).lines;
    ASSERT_EQ(printed.size(), 5);
    EXPECT_EQ(RunClient({"generate", "--group", "31/7/*", "--seed", "5", "-n", "5", "--rate", "1000"}).status, 0);
    EXPECT_EQ(
        ClientProgram::InShell("$ORVELCTL generate --group '31/7/*' --print --seed 5 -n 5 --rate 1000 | $ORVELCTL send")
            .End()
            .status,
        0);
    for (int times = 0; times < 2; ++times)
    {
        for (const std::string& line : printed)
        {
            EXPECT_EQ(toLink.Take().substr(3), line);
        }
    }
}

TEST_F(ClientGenerate, KeepsToTheRate)
{
    EXPECT_GE(TimeOf(
                  [&] {
                      EXPECT_EQ(RunClient({"generate", "--group", "31/7/*", "-n", "5", "--rate", "20"}).status, 0);
                  }),
              200ms);
    EXPECT_EQ(toLink.Waiting(), 5);
}

TEST_F(ClientGenerate, GoesOnUntilItIsStopped)
{
    ClientProgram client({"generate", "--group", "31/7/*", "--print", "--rate", "1000"});
    EXPECT_TRUE(Await([&] { return client->Lines().size() > 20; }));
    EXPECT_EQ(client->Stop(), 0);
}

TEST_F(ClientGenerate, AStopBeforeAllWereSentIsNoSuccess)
{
    ClientProgram client({"generate", "--group", "31/7/*", "--rate", "0.001", "-n", "2"});
    EXPECT_TRUE(Await([&] { return toLink.Waiting() == 1; }));
    client->Interrupt();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: stopped after 1 of 2 telegrams"));
}

TEST_F(ClientGenerate, WithoutRoomItEnds)
{
    const Outcome outcome = RunClient({"generate", "--group", "31/7/*", "--rate", "10000", "--wait", "10"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: /cemiToLL is full, for 10 ms"));
}

TEST_F(ClientGenerate, SaysItsSeedAtATerminal)
{
    EXPECT_THAT(OnTerminal("$ORVELCTL generate --group '31/7/*' -n 1"),
                MatchesRegex("orvelctl: seed [0-9]+; Ctrl-C ends\r\n"));
}

} // namespace
