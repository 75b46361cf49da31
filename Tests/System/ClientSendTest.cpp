// orvelctl send.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/ProcessFiles.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>

using Simulator::Event;
using testing::ElementsAre;

namespace
{

const std::string SwitchOn = "11 00 bc e0 00 00 0a 03 01 00 81";

class ClientSend : public testing::Test
{
protected:
    MadeQueue toLink{"/cemiToLL"};
};

class ClientSendOnBoard : public OnBoard
{
};

TEST_F(ClientSendOnBoard, AFrameReachesTheBus)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(RunClient({"send", "1100bce000000a03010081"}).status, 0);
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(SwitchOn)}));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientSend, TheDigitsMayBeInOneArgumentOrSeveralWithSpacesAndColons)
{
    const std::vector<std::vector<std::string>> spellings{{"29007f"}, {"29 00 7f"}, {"29:00:7F"}, {"29", "00", "7f"}};
    for (std::vector<std::string> arguments : spellings)
    {
        arguments.insert(arguments.begin(), "send");
        const Outcome outcome = RunClient(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.lines.size(), 0);
        EXPECT_EQ(toLink.Take(), "03 29 00 7f");
    }
}

TEST_F(ClientSend, EachLineOfTheInputIsAFrame)
{
    EXPECT_EQ(RunClient({"send"}, "29 01\n\n# a comment\n29 02 # another\n29:03").status, 0);
    EXPECT_EQ(toLink.Take(), "02 29 01");
    EXPECT_EQ(toLink.Take(), "02 29 02");
    EXPECT_EQ(toLink.Take(), "02 29 03");
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientSend, ALineIsSentBeforeTheNextOneCame)
{
    ClientProgram client({"send"});
    client.Type("29 01\n29");
    EXPECT_TRUE(Await([&] { return toLink.Waiting() == 1; }));
    client.Type(" 02\n");
    EXPECT_TRUE(Await([&] { return toLink.Waiting() == 2; }));
    client->Interrupt();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: stopped before the end of the input"));
}

TEST_F(ClientSend, KeepsToTheRateAndSendsTheFirstFrameAtOnce)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunClient({"send", "--rate", "20"}, "29 01\n\n# a comment\n29 02\n29 03\n29 04\n29 05\n").status, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    EXPECT_EQ(toLink.Waiting(), 5);
    ClientProgram client({"send", "--rate", "0.001"});
    client.Type("29 06\n29 07\n");
    EXPECT_TRUE(Await([&] { return toLink.Waiting() == 6; }));
    client->Interrupt();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 8);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: line 2: stopped before it was sent"));
    EXPECT_EQ(toLink.Waiting(), 6);
}

TEST_F(ClientSend, TheLongestFrameHas255Bytes)
{
    std::string hex;
    for (int i = 0; i < 255; ++i)
    {
        hex += "5a";
    }
    EXPECT_EQ(RunClient({"send", hex}).status, 0);
    EXPECT_EQ(toLink.Take().substr(0, 8), "ff 5a 5a");
    const Outcome outcome = RunClient({"send", hex + "5a"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: a frame has at most 255 bytes, and this one 256"));
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientSend, WhatIsNoFrameIsNotSent)
{
    const std::vector<std::tuple<std::string, int, std::string>> wrong{
        {"290", 3, "byte 2 has one digit only"},
        {"29 zz", 3, "'z' at position 4 is no hexadecimal digit"},
        {"", 4, "a frame has at least 1 byte"},
    };
    for (const auto& [digits, status, line] : wrong)
    {
        const Outcome outcome = RunClient({"send", digits});
        EXPECT_EQ(outcome.status, status) << digits;
        EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: " + line));
        EXPECT_EQ(toLink.Take(), "nothing");
    }
}

TEST_F(ClientSend, EndsAtTheFirstLineThatIsNoFrameAndNamesIt)
{
    const Outcome outcome = RunClient({"send"}, "29 01\n29 0\n29 02\n");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: line 2: byte 2 has one digit only"));
    EXPECT_EQ(toLink.Take(), "02 29 01");
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientSend, ALineWithoutAnEndIsRefused)
{
    ClientProgram client({"send"});
    client.Type(std::string(66000, ' '));
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: line 1 does not end"));
}

TEST(ClientSendAlone, WithoutADaemonThereIsNoQueue)
{
    const Outcome outcome = RunClient({"send", "29"});
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: there is no queue /cemiToLL: does the daemon run?"));
}

TEST(ClientSendAlone, AQueueOfAnotherUserIsNotAllowed)
{
    const MadeQueue queue("/cemiToLL", 14, 261, 0400);
    WithoutCapability(CAP_DAC_OVERRIDE,
                      []
                      {
                          const Outcome outcome = RunClient({"send", "29"});
                          EXPECT_EQ(outcome.status, 6);
                          EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: /cemiToLL is not for this user: be root, "
                                                                 "or in the group orvel"));
                      });
}

TEST(ClientSendAlone, AQueueWithMessagesThatAreTooSmallIsAFailure)
{
    const MadeQueue queue("/cemiToLL", 14, 2);
    const Outcome outcome = RunClient({"send", "29 00"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: /cemiToLL: Message too long"));
}

class ClientSendFull : public testing::Test
{
protected:
    ClientSendFull()
    {
        toLink.Put({0x01, 0x29});
    }

    MadeQueue toLink{"/cemiToLL", 1};
};

TEST_F(ClientSendFull, AFullQueueIsNoRoom)
{
    const Outcome outcome = RunClient({"send", "2e"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: /cemiToLL is full; --wait waits for room"));
}

TEST_F(ClientSendFull, AQueueThatStaysFullIsNoRoomAfterTheWait)
{
    const Outcome outcome = RunClient({"send", "--wait", "50", "2e"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: /cemiToLL is full, for 50 ms"));
}

TEST_F(ClientSendFull, SendsWhenThereIsRoom)
{
    ClientProgram client({"send", "--wait", "60000", "2e"});
    EXPECT_EQ(toLink.Take(), "01 29");
    EXPECT_EQ(client.End().status, 0);
    EXPECT_EQ(toLink.Take(), "01 2e");
}

// Whether the program handles signals itself yet.
bool BlocksSignals(pid_t process)
{
    return StatusOf(process, "SigBlk").find_first_of("123456789abcdef") != std::string::npos;
}

TEST_F(ClientSendFull, AStopWhileItWaitsLeavesTheFrameUnsent)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        ClientProgram client({"send", "--wait", "60000", "2e"});
        EXPECT_TRUE(Await([&] { return BlocksSignals(client->Id()); }));
        client->Signal(signal);
        const Outcome outcome = client.End();
        EXPECT_EQ(outcome.status, 8);
        EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: stopped while /cemiToLL was full"));
    }
    EXPECT_EQ(toLink.Take(), "01 29");
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST(ClientSendAlone, FindsTheQueueOfADaemonThatWasStartedAnew)
{
    ClientProgram client({"send"});
    {
        const MadeQueue before("/cemiToLL");
        client.Type("29 01\n");
        EXPECT_TRUE(Await([&] { return before.Waiting() == 1; }));
    }
    const MadeQueue after("/cemiToLL");
    client.Type("29 02\n");
    client.EndInput();
    EXPECT_EQ(client.End().status, 0);
    EXPECT_EQ(after.Take(), "02 29 02");
}

TEST(ClientSendAlone, FindsTheNewQueueAlsoWhileItWaitsForRoomInTheOldOne)
{
    auto queue = std::make_unique<MadeQueue>("/cemiToLL", 1);
    queue->Put({0x01, 0x29});
    ClientProgram client({"send", "--wait", "60000", "2e"});
    EXPECT_TRUE(Await([&] { return BlocksSignals(client->Id()); }));
    client->Signal(SIGSTOP); // or it looks while there is none
    EXPECT_TRUE(Await([&] { return StatusOf(client->Id(), "State").find('T') != std::string::npos; }));
    queue.reset();
    queue = std::make_unique<MadeQueue>("/cemiToLL");
    client->Signal(SIGCONT);
    EXPECT_EQ(client.End().status, 0);
    EXPECT_EQ(queue->Take(), "01 2e");
}

TEST(ClientSendAlone, SaysWhenTheDaemonHasGoneWhileItWaitsForRoom)
{
    auto queue = std::make_unique<MadeQueue>("/cemiToLL", 1);
    queue->Put({0x01, 0x29});
    ClientProgram client({"send", "--wait", "60000", "2e"});
    EXPECT_TRUE(Await([&] { return BlocksSignals(client->Id()); }));
    queue.reset();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: there is no queue /cemiToLL: does the daemon run?"));
}

TEST(ClientSendAlone, SaysWhenTheDaemonHasGone)
{
    ClientProgram client({"send"});
    {
        const MadeQueue before("/cemiToLL");
        client.Type("29 01\n");
        EXPECT_TRUE(Await([&] { return before.Waiting() == 1; }));
    }
    client.Type("29 02\n");
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: line 2: there is no queue /cemiToLL: does the daemon run?"));
}

} // namespace
