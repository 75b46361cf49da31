// orvelctl status.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/ScriptedGateway.h"

#include <gmock/gmock.h>

#include <fstream>
#include <tuple>

using testing::Contains;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{

class ClientStatusOnBoard : public OnBoard
{
};

TEST_F(ClientStatusOnBoard, ABoardThatRunsIsWellAndNothingIsTakenFromItsQueues)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue fromLink("/cemiFromLL", Queue::For::Reading);
    EXPECT_TRUE(Await([&] { return fromLink.Pending() == 1; })); // the state of the link
    for (int look = 0; look < 2; ++look)
    {
        const Outcome outcome = RunClient({"status"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.lines,
                    ElementsAre("ok    daemon                 is process " + std::to_string(daemon.Id()),
                                "ok    gateway                does not run: applications use the queues, one at a time",
                                "ok    link                   is not known: only a gateway can tell it without taking "
                                "the message",
                                "ok    /cemiFromLL            1 of 14 messages wait",
                                "ok    /cemiToLL              0 of 14 messages wait",
                                "ok    /progButton            0 of 6 messages wait",
                                "ok    LEDs                   prg1, prg2, system, knx are there"));
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientStatusOnBoard, TheNamesAreThoseOfTheDaemonThatRuns)
{
    Daemon daemon({"-r", "lamp", "-e", "-p", "/a", "-p", "/b"});
    ASSERT_TRUE(AwaitRunning(daemon, 5));
    EXPECT_THAT(RunClient({"status"}).lines,
                testing::AllOf(Contains("ok    /a                     0 of 6 messages wait"),
                               Contains("ok    /b                     0 of 6 messages wait"),
                               Contains("ok    LEDs                   lamp, prg2, system, knx, rs485termination are "
                                        "there")));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ClientStatusOnBoard, WithAGatewayItKnowsTheLinkAndTheCounters)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const TemporaryDirectory directory;
    std::ofstream(directory.File("metrics")) << "orvel_gateway_frames_total{direction=\"from_bus\"} 12\n"
                                                "orvel_gateway_frames_total{direction=\"to_bus\"} 5\n# EOF\n";
    const ScriptedGateway gateway;
    const std::vector<std::string> command{"status", "--socket", gateway.Path(), "--metrics",
                                           directory.File("metrics")};
    for (const auto& [state, line, status] : {std::tuple("b9 00 01", "ok    link                   is usable", 0),
                                              std::tuple("b9 ff ff", "fail  link                   is lost", 1)})
    {
        ClientProgram client(command);
        const auto program = gateway.Greet(state);
        const Outcome outcome = client.End();
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.lines, Contains("ok    gateway                answers at " + gateway.Path()));
        EXPECT_THAT(outcome.lines, Contains(line));
        EXPECT_THAT(outcome.lines, Contains("ok    frames                 12 from the bus, 5 to it"));
    }
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST(ClientStatus, WithoutADaemonNothingIsThere)
{
    const Outcome outcome = RunClient({"status"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines,
                ElementsAre(StartsWith("fail  daemon                 "), StartsWith("ok    gateway "),
                            StartsWith("ok    link "), "fail  /cemiFromLL            is not there",
                            "fail  /cemiToLL              is not there", "fail  /progButton            is not there",
                            "fail  LEDs                   prg1, prg2, system, knx are not there"));
    EXPECT_THAT(RunClient({"status", "--json"}).lines,
                ElementsAre(MatchesRegex(R"(\{"well":false,"daemons":\[\],"gateway":null,"link":null,.*\})")));
}

TEST(ClientStatus, AQueueMayBeForWritingOnly)
{
    const MadeQueue toLink("/cemiToLL", 14, 261, 0200);
    const MadeQueue fromLink("/cemiFromLL", 14, 261, 0000);
    toLink.PutFrame("f1");
    const auto look = []
    {
        const auto lines = RunClient({"status"}).lines;
        EXPECT_THAT(lines, Contains("ok    /cemiToLL              1 of 14 messages wait"));
        EXPECT_THAT(lines,
                    Contains("warn  /cemiFromLL            is not for this user: be root, or in the group orvel"));
    };
    WithoutCapability(CAP_DAC_OVERRIDE, [&] { WithoutCapability(CAP_DAC_READ_SEARCH, look); });
}

TEST(ClientStatus, AGatewayThatIsNamedIsMissed)
{
    const Outcome outcome = RunClient({"status", "--socket", "/no/gateway"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, Contains("fail  gateway                no gateway listens at /no/gateway: does "
                                        "orvel-gateway run?"));
}

} // namespace
