// orvelctl write, read and answer, and send --confirm.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

using Simulator::Event;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

// A house of two groups, for the tests of names.
class House
{
public:
    House()
    {
        std::ofstream(File()) << R"(<?xml version="1.0" encoding="utf-8"?>
<GroupAddress-Export xmlns="http://knx.org/xml/ga-export/01">
  <GroupRange Name="Lights" RangeStart="2048" RangeEnd="4095">
    <GroupRange Name="Living room" RangeStart="2560" RangeEnd="2815">
      <GroupAddress Name="Ceiling" Address="1/2/3" DPTs="DPST-1-1"/>
      <GroupAddress Name="Temperature" Address="1/2/4" DPTs="DPST-9-1"/>
      <GroupAddress Name="No type" Address="1/2/5"/>
      <GroupAddress Name="New type" Address="1/2/6" DPTs="DPST-9-999"/>
    </GroupRange>
  </GroupRange>
</GroupAddress-Export>
)";
    }

    std::string File() const
    {
        return directory.File("house.xml");
    }

private:
    TemporaryDirectory directory;
};

const std::string On = "11 00 bc e0 00 00 0a 03 01 00 81";
const std::string OnConfirmed = "2e 00 bc e0 11 01 0a 03 01 00 81";
const std::string OnNotSent = "2e 00 bd e0 11 01 0a 03 01 00 81";
const std::string Read = "11 00 bc e0 00 00 0a 04 01 00 00";
const std::string ReadConfirmed = "2e 00 bc e0 11 01 0a 04 01 00 00";

class ClientGroup : public testing::Test
{
protected:
    // Waits for what the client sends, and then answers.
    void Answer(const std::string& request, const std::vector<std::string>& answers)
    {
        std::string sent;
        EXPECT_TRUE(Await([&] { return (sent = toLink.Take()) != "nothing"; }));
        EXPECT_EQ(sent, Knx::ToHex({static_cast<uint8_t>(Knx::FromHex(request).size())}) + " " + request);
        for (const std::string& answer : answers)
        {
            fromLink.PutFrame(answer);
        }
    }

    MadeQueue toLink{"/cemiToLL", 10};
    MadeQueue fromLink{"/cemiFromLL", 10};
    House house;
};

class ClientGroupOnBoard : public OnBoard
{
};

TEST_F(ClientGroup, WriteShowsTheFrameWithPrint)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> writes{
        {{"1/2/3", "on", "--dpt", "1.001"}, "11 00 bc e0 00 00 0a 03 01 00 81"},
        {{"1/2/3", "Off", "--dpt", "DPST-1-1"}, "11 00 bc e0 00 00 0a 03 01 00 80"},
        {{"1/515", "1", "--dpt", "1.001"}, "11 00 bc e0 00 00 0a 03 01 00 81"},
        {{"1/2/4", "21", "--dpt", "9.001"}, "11 00 bc e0 00 00 0a 04 03 00 80 0c 1a"},
        {{"1/2/4", "-5", "--dpt", "9.001"}, "11 00 bc e0 00 00 0a 04 03 00 80 86 0c"},
        {{"1/2/4", "-inf", "--dpt", "14.001"}, "11 00 bc e0 00 00 0a 04 05 00 80 ff 80 00 00"},
        {{"--dpt", "6.010", "1/2/4", "-5"}, "11 00 bc e0 00 00 0a 04 02 00 80 fb"},
        {{"1/2/5", "red=255", "green=0", "blue=1", "--dpt", "232.600"}, "11 00 bc e0 00 00 0a 05 04 00 80 ff 00 01"},
        {{"1/2/4", "21 °C", "--names", house.File()}, "11 00 bc e0 00 00 0a 04 03 00 80 0c 1a"},
        {{"Living room/Ceiling", "on", "--names", house.File()}, "11 00 bc e0 00 00 0a 03 01 00 81"},
    };
    for (const auto& [arguments, frame] : writes)
    {
        std::vector<std::string> command{"write", "--print"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const Outcome outcome = RunClient(command);
        EXPECT_EQ(outcome.status, 0) << frame;
        EXPECT_THAT(outcome.lines, ElementsAre(frame));
    }
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientGroup, ReadAndAnswerShowTheFrameWithPrint)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> commands{
        {{"read", "1/2/4", "--print"}, Read},
        {{"answer", "1/2/4", "21", "--dpt", "9.001", "--print"}, "11 00 bc e0 00 00 0a 04 03 00 40 0c 1a"},
    };
    for (const auto& [command, frame] : commands)
    {
        const Outcome outcome = RunClient(command);
        EXPECT_EQ(outcome.status, 0) << frame;
        EXPECT_THAT(outcome.lines, ElementsAre(frame));
    }
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientGroup, WriteSaysWhatIsAllowedAndSendsNothing)
{
    const std::vector<std::tuple<std::vector<std::string>, int, std::string>> wrong{
        {{"write", "1/2/4", "-300", "--dpt", "9.001"}, 3, "9.001: -273 to 670433.28 °C"},
        {{"write", "1/2/4", "21", "--dpt", "9.999"}, 3, "no datapoint type '9.999'; there are 9.001"},
        {{"write", "1/2/4", "123456789012345", "--dpt", "16.000"}, 3, "16.000: up to 14 characters of ASCII"},
        {{"write", "1/2/4", "21"}, 3, "the type of 1/2/4 is not known: --dpt names one, such as --dpt 9.001"},
        {{"write", "1/2/5", "21", "--names", house.File()},
         3,
         "the type of 1/2/5 is not known: --dpt names one, such as --dpt 9.001"},
        {{"write", "1/2/6", "21", "--names", house.File()},
         3,
         "the type 9.999 of 1/2/6 is not known: --dpt names one, such as --dpt 9.001"},
        {{"write", "1/2/300", "on", "--dpt", "1.001"}, 3, "'1/2/300' is no group address: 300 should be 0 to 255"},
        {{"write"}, 2, "GROUP is required"},
        {{"write", "1/2/3"}, 2, "VALUE is required"},
        {{"read"}, 2, "GROUP is required"},
        {{"read", "1/2/3", "on"}, 2, "'on' is not understood"},
        {{"read", "1/2/3", "--follow", "--print"}, 2, "--follow excludes --print"},
        {{"read", "1/2/3", "--timeout", "0"}, 2, "--timeout takes 1 to 3600000, not '0'"},
        {{"answer", "1/2/3"}, 2, "VALUE is required"},
    };
    for (const auto& [arguments, status, line] : wrong)
    {
        const Outcome outcome = RunClient(arguments);
        EXPECT_EQ(outcome.status, status) << line;
        ASSERT_EQ(outcome.lines.size(), 1) << line;
        EXPECT_THAT(outcome.lines[0], HasSubstr(line));
    }
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientGroup, WriteEndsWithTheConfirmation)
{
    fromLink.PutFrame(OnNotSent); // of an earlier request
    ClientProgram client({"write", "1/2/3", "on", "--dpt", "1.001"});
    Answer(On, {"29 00 bc e0 11 02 0a 03 01 00 81", OnConfirmed});
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.lines.size(), 0);
}

TEST_F(ClientGroup, WriteSaysWhyItIsNotConfirmed)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> answers{
        {{OnNotSent}, "orvelctl: not sent: the bus has not taken it"},
        {{"b9 ff ff"}, "orvelctl: not sent: the link is lost"},
        {{"2e 00 bc e0 11 01 0a 04 01 00 81"}, "orvelctl: not confirmed for 3000 ms: the link may be down"},
    };
    for (const auto& [frames, line] : answers)
    {
        ClientProgram client({"write", "1/2/3", "on", "--dpt", "1.001"});
        Answer(On, frames);
        const Outcome outcome = client.End();
        EXPECT_EQ(outcome.status, 9) << line;
        EXPECT_THAT(outcome.lines, ElementsAre(line));
    }
}

TEST_F(ClientGroup, SendCanWaitForTheConfirmationToo)
{
    ClientProgram client({"send", "--confirm", On});
    Answer(On, {OnConfirmed});
    EXPECT_EQ(client.End().status, 0);
    ClientProgram failing({"send", "--confirm", On});
    Answer(On, {OnNotSent});
    EXPECT_EQ(failing.End().status, 9);
    const Outcome outcome = RunClient({"send", "--confirm", "f1"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: --confirm is for L_Data.req: nothing confirms another frame"));
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientGroup, ReadShowsTheAnswer)
{
    ClientProgram client({"read", "Temperature", "--names", house.File()});
    Answer(Read, {ReadConfirmed, "29 00 bc e0 11 02 0a 03 01 00 41", "29 00 bc e0 11 02 0a 04 03 00 80 0c 1b",
                  "29 00 bc e0 11 02 0a 04 03 00 40 0c 1a"});
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("21 °C"));
}

TEST_F(ClientGroup, AnAnswerNeedsNoConfirmationOfTheRead)
{
    ClientProgram client({"read", "1/2/4", "--dpt", "9.001"});
    Answer(Read, {"29 00 bc e0 11 02 0a 04 03 00 40 0c 1a"});
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("21 °C"));
}

TEST_F(ClientGroup, ReadShowsDigitsWhereTheTypeIsNotKnown)
{
    ClientProgram client({"read", "1/2/4"});
    Answer(Read, {ReadConfirmed, "29 00 bc e0 11 02 0a 04 03 00 40 0c 1a"});
    EXPECT_THAT(client.End().lines, ElementsAre("0c1a"));
}

TEST_F(ClientGroup, ReadWithoutAnAnswerHasAStatusOfItsOwn)
{
    ClientProgram client({"read", "1/2/4", "--timeout", "20"});
    Answer(Read, {ReadConfirmed});
    Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 10);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: nobody has answered for 20 ms"));
    ClientProgram another({"read", "1/2/4", "--dpt", "1.001"});
    Answer(Read, {ReadConfirmed, "29 00 bc e0 11 02 0a 04 03 00 40 0c 1a"});
    outcome = another.End();
    EXPECT_EQ(outcome.status, 3);
    ASSERT_EQ(outcome.lines.size(), 1);
    EXPECT_THAT(outcome.lines[0], HasSubstr("the answer 0c1a is none: 1.001"));
}

TEST_F(ClientGroup, ReadGoesOnWithEachValueThatTheGroupGets)
{
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 03 00 80 0c 00"); // from before
    ClientProgram client({"read", "Temperature", "--names", house.File(), "--follow"});
    Answer(Read, {ReadConfirmed, "29 00 bc e0 11 02 0a 04 03 00 40 0c 1a"});
    EXPECT_TRUE(client->AwaitLine("21 °C"));
    for (const char* const frame : {"29 00 bc e0 11 02 0a 04 03 00 80 0c 1b",  // a device writes
                                    "29 00 bc e0 11 02 0a 03 03 00 80 0c 1c",  // to another group
                                    "29 00 bc 60 11 02 0a 04 03 00 80 0c 1c",  // to a device
                                    "29 00 bc e0 11 02 0a 04 01 00 00",        // somebody reads
                                    "2e 00 bd e0 11 01 0a 04 03 00 80 0c 1c",  // not sent
                                    "2e 00 bc e0 11 01 0a 04 03 00 80 0c 32",  // another application writes
                                    "29 00 bc e0 11 02 0a 04 01 00 81",        // no value of the type
                                    "29 00 bc e0 11 02 0a 04 03 00 40 0c 32"}) // answers somebody else
    {
        EXPECT_TRUE(Await([&] { return fromLink.Waiting() < 10; }));
        fromLink.PutFrame(frame);
    }
    EXPECT_TRUE(Await([&] { return client->Lines().size() == 5; }));
    EXPECT_EQ(client->Stop(), 0);
    const std::vector<std::string> lines = client->Lines();
    EXPECT_THAT(lines, ElementsAre("21 °C", "21.02 °C", "21.48 °C",
                                   HasSubstr("orvelctl: the value 0x01 is none: 9.001"), "21.48 °C"));
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ClientGroup, ReadThatFollowsGoesOnWithoutAnAnswer)
{
    ClientProgram client({"read", "1/2/4", "--follow", "--timeout", "20"});
    Answer(Read, {ReadConfirmed});
    EXPECT_TRUE(client->AwaitLine("orvelctl: nobody has answered for 20 ms"));
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 03 00 80 0c 1b");
    EXPECT_TRUE(client->AwaitLine("0c1b"));
    EXPECT_EQ(client->Stop(), 0);
    EXPECT_EQ(toLink.Take(), "nothing");
    EXPECT_EQ(client->Lines().size(), 2);
}

TEST_F(ClientGroup, ReadThatFollowsReadsAgainWhenTheLinkIsUsableAgain)
{
    ClientProgram client({"read", "1/2/4", "--follow", "--timeout", "60000"});
    Answer(Read, {"b9 ff ff"});
    EXPECT_TRUE(client->AwaitLine("orvelctl: not sent: the link is lost"));
    for (const std::string value : {"1a", "1b"})
    {
        fromLink.PutFrame("b9 00 01");
        Answer(Read, {ReadConfirmed, "29 00 bc e0 11 02 0a 04 03 00 40 0c " + value});
        EXPECT_TRUE(client->AwaitLine("0c" + value));
        fromLink.PutFrame("b9 ff ff");
    }
    EXPECT_EQ(client->Stop(), 0);
    EXPECT_EQ(toLink.Take(), "nothing");
    EXPECT_THAT(client->Lines(), ElementsAre("orvelctl: not sent: the link is lost", "0c1a", "0c1b"));
}

TEST_F(ClientGroup, AnswerAnswersWhoeverAsks)
{
    ClientProgram client({"answer", "1/2/4", "21", "--dpt", "9.001"});
    for (const char* const other :
         {"29 00 bc e0 11 02 0a 03 01 00 00", "29 00 bc 60 11 02 0a 04 01 00 00", "2e 00 bc e0 11 02 0a 04 01 00 00",
          "29 00 bc e0 11 02 0a 04 01 00 81", "29 00 bc e0 11 02 0a 04 01 44 00"})
    {
        fromLink.PutFrame(other);
    }
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 01 00 00");
    EXPECT_TRUE(client->AwaitLine("1.1.2 -> 1/2/4 low hops=6 T_Data_Group A_GroupValue_Read"));
    Answer("11 00 bc e0 00 00 0a 04 03 00 40 0c 1a", {});
    EXPECT_EQ(toLink.Take(), "nothing");
    EXPECT_EQ(client->Stop(), 0);
}

TEST_F(ClientGroup, AnswerGoesOnWhenThereWasNoRoomForAnAnswer)
{
    while (toLink.Waiting() < 10)
    {
        toLink.PutFrame("f1");
    }
    ClientProgram client({"answer", "1/2/4", "21", "--dpt", "9.001", "--wait", "0"});
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 01 00 00");
    EXPECT_TRUE(client->AwaitLine("orvelctl: not answered: /cemiToLL is full"));
    while (toLink.Waiting() > 0)
    {
        toLink.Take();
    }
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 01 00 00");
    Answer("11 00 bc e0 00 00 0a 04 03 00 40 0c 1a", {});
    EXPECT_EQ(client->Stop(), 0);
}

TEST_F(ClientGroup, AnswerDoesNotWaitForWhoeverReadsItsOutput)
{
    const TemporaryDirectory directory;
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const System::Descriptor reader(open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    while (write(reader.Number(), "x", 1) == 1)
    {
    }
    ClientProgram client = ClientProgram::InShell("exec $ORVELCTL answer 1/2/4 21 --dpt 9.001 -n 1 >" + pipe);
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 01 00 00");
    Answer("11 00 bc e0 00 00 0a 04 03 00 40 0c 1a", {});
    std::array<char, 65536> buffer{};
    while (read(reader.Number(), buffer.data(), buffer.size()) > 0)
    {
    }
    EXPECT_EQ(client->Wait(), 0);
}

TEST_F(ClientGroup, AnswerEndsAfterANumberOfAnswers)
{
    fromLink.PutFrame("29 00 bc e0 11 02 0a 04 01 00 00");
    EXPECT_EQ(RunClient({"answer", "1/2/4", "21", "--dpt", "9.001", "-n", "1"}).status, 0);
    EXPECT_EQ(toLink.Waiting(), 1);
}

TEST_F(ClientGroupOnBoard, WriteReachesTheBusAndReadIsAnsweredByADevice)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(RunClient({"write", "1/2/3", "on", "--dpt", "1.001"}).status, 0);
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(On)}));
    ClientProgram client({"read", "1/2/4", "--dpt", "9.001", "--timeout", "60000"});
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(Read)}));
    TheCoProcessor().InjectTelegram(Knx::FromHex("29 00 bc e0 11 02 0a 04 03 00 40 0c 1a"));
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("21 °C"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientGroupOnBoard, ReadThatFollowsReadsAgainWhenTheDaemonWasStartedAnew)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ClientProgram client({"read", "1/2/4", "--dpt", "9.001", "--follow", "--timeout", "60000"});
    const auto answer = [&](const std::string& value)
    {
        EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(Read)}));
        TheCoProcessor().InjectTelegram(Knx::FromHex("29 00 bc e0 11 02 0a 04 03 00 40 0c " + value));
    };
    answer("1a");
    EXPECT_TRUE(client->AwaitLine("21 °C"));
    EXPECT_EQ(daemon.Stop(), 0);
    board->StartPinsAnew();
    Daemon another;
    ASSERT_TRUE(AwaitRunning(another));
    answer("1b");
    EXPECT_TRUE(client->AwaitLine("21.02 °C"));
    EXPECT_EQ(client->Stop(), 0);
    EXPECT_EQ(another.Stop(), 0);
}

TEST_F(ClientGroupOnBoard, AnswerGoesOnWhenTheDaemonWasStartedAnew)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    ClientProgram client({"answer", "1/2/4", "21", "--dpt", "9.001"});
    const auto ask = [&]
    {
        TheCoProcessor().InjectTelegram(Knx::FromHex("29 00 bc e0 11 02 0a 04 01 00 00"));
        EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 04 03 00 40 0c 1a")}));
    };
    ask();
    EXPECT_EQ(daemon.Stop(), 0);
    board->StartPinsAnew();
    Daemon another;
    ASSERT_TRUE(AwaitRunning(another));
    ask();
    EXPECT_EQ(client->Stop(), 0);
    EXPECT_EQ(another.Stop(), 0);
}

} // namespace
