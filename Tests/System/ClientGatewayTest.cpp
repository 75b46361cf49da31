// orvelctl through a gateway, whose part the tests play.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/ScriptedGateway.h"
#include "Overlay.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace
{

const std::string SwitchOn = "11 00 bc e0 00 00 0a 03 01 00 81";

class ClientGateway : public testing::Test
{
protected:
    // The command with the socket of this gateway.
    std::vector<std::string> Through(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin() + 1, {"--socket", gateway->Path()});
        return arguments;
    }

    std::unique_ptr<ScriptedGateway> gateway = std::make_unique<ScriptedGateway>();
};

TEST_F(ClientGateway, TheMonitorShowsFramesTheButtonAndWhatWasDropped)
{
    ClientProgram monitor(Through({"monitor", "--time", "relative", "-n", "5"}));
    const auto program = gateway->Greet();
    for (const char* const frame : {"29 00 bc e0 11 01 0a 03 01 00 81", "ba 00", "bb 00 05", "b9 ff ff"})
    {
        program.Send(frame);
    }
    const Outcome outcome = monitor.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines,
                ElementsAre("(0.000000) rx b9 00 01  # link usable", HasSubstr(" # L_Data.ind 1.1.1 -> 1/2/3 "),
                            EndsWith(" rx ba 00  # button pressed"), EndsWith(" rx bb 00 05  # dropped 5"),
                            EndsWith(" rx b9 ff ff  # link lost")));
    EXPECT_EQ(program.Receive(), "end"); // and nothing before
}

TEST_F(ClientGateway, TheMonitorTakesNothingFromTheQueueUnlessItIsToGoThere)
{
    const MadeQueue fromLink("/cemiFromLL");
    fromLink.PutFrame("f0");
    ClientProgram monitor(Through({"monitor", "-n", "1"}));
    const auto program = gateway->Greet();
    EXPECT_THAT(monitor.End().lines, ElementsAre(EndsWith("link usable")));
    EXPECT_EQ(fromLink.Waiting(), 1);
    EXPECT_THAT(RunClient({"monitor", "--direct", "-n", "1"}).lines, ElementsAre(EndsWith("M_Reset.ind")));
}

TEST_F(ClientGateway, IsAtItsUsualPlaceWithoutAWordAboutIt)
{
    Simulator::CoverDirectory("/run");
    std::filesystem::create_directories("/run/orvel");
    const MadeQueue fromLink("/cemiFromLL");
    {
        const ScriptedGateway usual("/run/orvel/gateway");
        ClientProgram monitor({"monitor", "-n", "1"});
        const auto program = usual.Greet();
        EXPECT_THAT(monitor.End().lines, ElementsAre(EndsWith("link usable")));
    }
    Simulator::Unmount("/run");
}

TEST_F(ClientGateway, TheMonitorGoesOnWithTheNextGateway)
{
    ClientProgram monitor(Through({"monitor"}));
    auto program = gateway->Greet();
    EXPECT_TRUE(monitor->AwaitLine("link usable"));
    const std::string path = gateway->Path();
    program.Close();
    gateway->Die();
    std::filesystem::remove(path);
    {
        const ScriptedGateway next(path);
        const auto again = next.Greet("b9 ff ff");
        EXPECT_TRUE(monitor->AwaitLine("link lost"));
        EXPECT_EQ(monitor->Stop(), 0);
    }
}

TEST_F(ClientGateway, WaitsForTheNextGatewayWhileTheServiceManagerHasTheSocket)
{
    ClientProgram monitor(Through({"monitor"}));
    gateway->Greet().Close();
    for (int i = 0; i < 3; ++i)
    {
        gateway->Accept().Close(); // one that ends, or has no room yet
    }
    const auto program = gateway->Greet("b9 ff ff");
    EXPECT_TRUE(monitor->AwaitLine("link lost"));
    EXPECT_EQ(monitor->Stop(), 0);
}

TEST_F(ClientGateway, StopsAtOnceWhileItWaitsForTheNextGateway)
{
    ClientProgram monitor(Through({"monitor"}));
    gateway->Greet().Close();
    const auto silent = gateway->Accept();
    EXPECT_EQ(monitor->Stop(), 0);
}

TEST_F(ClientGateway, SaysAtATerminalThatTheGatewayHasEndedAndIsBack)
{
    std::string text;
    std::thread terminal([&] { text = OnTerminal("NO_COLOR=1 $ORVELCTL monitor -n 2 --socket " + gateway->Path()); });
    gateway->Greet().Close();
    const auto program = gateway->Greet();
    terminal.join();
    EXPECT_THAT(text, testing::ContainsRegex("orvelctl: through the gateway; Ctrl-C ends\r\n"
                                             "[^\n]*link usable\r\n"
                                             "orvelctl: the gateway has ended; waiting for it\r\n"
                                             "orvelctl: the gateway is there again\r\n"
                                             "[^\n]*link usable\r\n"));
}

TEST_F(ClientGateway, AFrameIsSentAsAPacket)
{
    ClientProgram client(Through({"send", SwitchOn}));
    const auto program = gateway->Greet();
    EXPECT_EQ(client.End().status, 0);
    EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
    EXPECT_EQ(program.Receive(), "end");
}

TEST_F(ClientGateway, WriteTakesOnlyTheConfirmationOfItsOwnRequest)
{
    ClientProgram client(Through({"write", "1/2/3", "on", "--dpt", "1.001"}));
    const auto program = gateway->Greet();
    EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
    for (const char* const frame : {"2e 00 bd e0 11 01 0a 03 01 00 80", // another value
                                    "2e 00 bd e0 11 01 0a 04 01 00 81", // another group
                                    "29 00 bc e0 11 01 0a 03 01 00 81", // of somebody else
                                    "2e 00 bc e0 11 01 0a 03 01 00 81"})
    {
        program.Send(frame);
    }
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.lines.size(), 0);
    EXPECT_EQ(program.Receive(), "end");
}

TEST_F(ClientGateway, WriteTakesNoConfirmationThatCameBeforeItsRequest)
{
    ClientProgram client(Through({"write", "1/2/3", "on", "--dpt", "1.001"}));
    const auto program = gateway->Greet("2e 00 bd e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
    program.Send("2e 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(client.End().status, 0);
}

TEST_F(ClientGateway, WriteSaysWhyItIsNotConfirmed)
{
    const std::vector<std::pair<std::string, std::string>> answers{
        {"2e 00 bd e0 11 01 0a 03 01 00 81",
         "orvelctl: not sent: the bus has not taken it, or nobody has confirmed it in time"},
        {"b9 ff ff", "orvelctl: not sent: the link is lost"},
    };
    for (const auto& [frame, line] : answers)
    {
        ClientProgram client(Through({"write", "1/2/3", "on", "--dpt", "1.001"}));
        const auto program = gateway->Greet();
        EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
        program.Send(frame);
        const Outcome outcome = client.End();
        EXPECT_EQ(outcome.status, 9) << line;
        EXPECT_THAT(outcome.lines, ElementsAre(line));
    }
}

TEST_F(ClientGateway, AWriteWhoseGatewayEndsIsNotTakenForOneThatWasSent)
{
    ClientProgram client(Through({"write", "1/2/3", "on", "--dpt", "1.001"}));
    auto program = gateway->Greet();
    EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
    program.Close();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: the gateway has ended"));
}

TEST_F(ClientGateway, AnAnswerGoesToTheGatewayThatHasAsked)
{
    ClientProgram client(Through({"answer", "1/2/4", "21", "--dpt", "9.001", "-n", "1"}));
    const auto program = gateway->Greet();
    program.Send("29 00 bc e0 11 02 0a 03 01 00 00"); // another group
    program.Send("29 00 bc e0 11 02 0a 04 01 00 00");
    EXPECT_EQ(program.Receive(), "0d 11 00 bc e0 00 00 0a 04 03 00 40 0c 1a");
    EXPECT_EQ(client.End().status, 0);
}

TEST_F(ClientGateway, ARefusedRequestWasNotTakenOrNotConfirmedInTime)
{
    ClientProgram client(Through({"send", "--confirm", SwitchOn}));
    const auto program = gateway->Greet();
    EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
    program.Send("2e 00 bd e0 11 01 0a 03 01 00 81");
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 9);
    EXPECT_THAT(outcome.lines,
                ElementsAre("orvelctl: not sent: the bus has not taken it, or nobody has confirmed it in time"));
}

TEST_F(ClientGateway, TheGatewayAloneDecidesHowLongAConfirmationMayTake)
{
    ClientProgram client(Through({"send", "--confirm", SwitchOn}));
    const auto program = gateway->Greet();
    EXPECT_EQ(program.Receive(), "0b " + SwitchOn);
    std::this_thread::sleep_for(std::chrono::milliseconds(3500)); // longer than is waited for a queue
    program.Send("2e 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(client.End().status, 0);
}

TEST_F(ClientGateway, EachLineIsSentAtOnceWhateverComesMeanwhile)
{
    ClientProgram client(Through({"send"}));
    client.Type("f1\n");
    const auto program = gateway->Greet();
    EXPECT_EQ(program.Receive(), "01 f1");
    program.Send("29 00 bc e0 11 01 0a 03 01 00 81");
    client.Type("f1\n");
    EXPECT_EQ(program.Receive(), "01 f1");
    client.EndInput();
    EXPECT_EQ(client.End().status, 0);
}

TEST_F(ClientGateway, WithoutALinkNothingIsSent)
{
    ClientProgram client(Through({"send", SwitchOn}));
    const auto program = gateway->Greet("b9 ff ff");
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: the gateway has no link: does the daemon run?"));
    EXPECT_EQ(program.Receive(), "end");
}

TEST_F(ClientGateway, FramesWaitForRoomAsLongAsTheyMay)
{
    std::string manyLines;
    for (int line = 0; line < 2000; ++line)
    {
        manyLines += "f1\n";
    }
    const TemporaryDirectory directory;
    std::ofstream(directory.File("frames")) << manyLines;
    ClientProgram client = ClientProgram::InShell("$ORVELCTL send --wait 50 --socket " + gateway->Path() + " <" +
                                                  directory.File("frames"));
    const auto program = gateway->Greet();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.lines,
                ElementsAre(testing::MatchesRegex("orvelctl: line [0-9]+: the gateway is full, for 50 ms")));
}

TEST_F(ClientGateway, FramesThatFindRoomInTimeAreAllSent)
{
    ClientProgram client(
        Through({"generate", "--group", "31/7/*", "--rate", "100000", "-n", "1000", "--wait", "60000"}));
    const auto program = gateway->Greet();
    int taken = 0;
    while (program.Receive() != "end")
    {
        ++taken;
    }
    EXPECT_EQ(taken, 1000);
    EXPECT_EQ(client.End().status, 0);
}

TEST_F(ClientGateway, ARecordIsReplayedWithoutWhatTheGatewaySaidItself)
{
    ClientProgram client(Through({"replay", "-"}));
    client.Type("(1.000000) rx b9 00 01\n(1.000000) rx ba 00\n(1.000000) rx bb 00 05\n"
                "(1.000000) rx 29 00 bc e0 11 01 0a 03 01 00 81\n");
    client.EndInput();
    const auto program = gateway->Greet();
    EXPECT_EQ(program.Receive(), "0b 11 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(program.Receive(), "end");
    EXPECT_EQ(client.End().status, 0);
}

TEST_F(ClientGateway, TheButtonIsWhatTheGatewayTellsOfIt)
{
    ClientProgram client(Through({"button", "--time", "relative", "-n", "2"}));
    const auto program = gateway->Greet();
    for (const char* const frame : {"29 00 bc e0 11 01 0a 03 01 00 81", "ba 00", "ba 01"})
    {
        program.Send(frame);
    }
    EXPECT_THAT(client.End().lines, ElementsAre("(0.000000) pressed", EndsWith(" released")));
}

TEST_F(ClientGateway, AQueueOfTheButtonThatIsNamedIsRead)
{
    Simulator::CoverDirectory("/run");
    std::filesystem::create_directories("/run/orvel");
    {
        const ScriptedGateway usual("/run/orvel/gateway");
        const MadeQueue queue("/otherButton", 6, 1);
        queue.Put({0x01});
        EXPECT_THAT(RunClient({"button", "--queue", "/otherButton", "-n", "1"}).lines,
                    ElementsAre(EndsWith(" released")));
    }
    Simulator::Unmount("/run");
}

TEST_F(ClientGateway, OneThatIsNamedMustBeThere)
{
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue toLink("/cemiToLL");
    const MadeQueue button("/progButton", 6, 1);
    const std::vector<std::vector<std::string>> commands{
        {"monitor"}, {"button"}, {"send", "f1"}, {"generate", "--group", "31/7/*"}};
    for (auto arguments : commands)
    {
        arguments.insert(arguments.begin() + 1, {"--socket", "/no/gateway"});
        const Outcome outcome = RunClient(arguments);
        EXPECT_EQ(outcome.status, 5);
        EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: no gateway listens at /no/gateway: does orvel-gateway run?"));
    }
}

TEST_F(ClientGateway, OneThatIsNotForThisUserIsNotGoneAround)
{
    const MadeQueue fromLink("/cemiFromLL");
    ASSERT_EQ(chmod(gateway->Path().c_str(), 0), 0);
    WithoutCapability(CAP_DAC_OVERRIDE,
                      [&]
                      {
                          const Outcome outcome = RunClient(Through({"monitor"}));
                          EXPECT_EQ(outcome.status, 6);
                          EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: " + gateway->Path() +
                                                                 " is not for this user: be root, or in the group "
                                                                 "orvel; --direct goes around the gateway"));
                      });
}

TEST_F(ClientGateway, OneThatIsFullTakesNoFurtherProgram)
{
    ClientProgram client(Through({"send", "f1"}));
    gateway->Accept().Close();
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.lines,
                ElementsAre("orvelctl: the gateway has no room for one more program, or has just ended"));
}

} // namespace
