// orvelctl and the examples with the gateway, the daemon and the board.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/GatewayProgram.h"
#include "BenchKit/GatewayUser.h"
#include "BenchKit/Messages.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "Orvel/Gateway.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

using Simulator::Event;
using Simulator::RedKnxLed;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

namespace
{

const std::string SwitchOn = "11 00 bc e0 00 00 0a 03 01 00 81";
const std::string Read = "11 00 bc e0 00 00 0a 04 01 00 00";
const std::string Answer = "11 00 bc e0 00 00 0a 04 03 00 40 0c 1a";
const std::string ReadByADevice = "29 00 bc e0 11 02 0a 04 01 00 00";
const std::string AnswerOfADevice = "29 00 bc e0 11 02 0a 04 03 00 40 0c 1a";

class ThroughGateway : public OnBoard
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(running);
        ASSERT_TRUE(gateway->AwaitLine("The link is usable"));
    }

    void TearDown() override
    {
        EXPECT_EQ(gateway->Stop(), 0);
        EXPECT_EQ(daemon.Stop(), 0);
        OnBoard::TearDown();
    }

    // The command with the socket of this gateway.
    std::vector<std::string> Through(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin() + 1, {"--socket", gateway.Socket()});
        return arguments;
    }

    void Telegram(const std::string& hex)
    {
        TheCoProcessor().InjectTelegram(Knx::FromHex(hex));
    }

    Daemon daemon;
    testing::AssertionResult running = AwaitRunning(daemon); // before the gateway: a restart would lose it the link
    GatewayProgram gateway;
};

TEST_F(ThroughGateway, TheMonitorAndTheApplicationBesideItBothHaveAll)
{
    const GatewayUser application(gateway.Socket());
    EXPECT_EQ(application.Receive(), "03 b9 00 01");
    ClientProgram monitor(Through({"monitor"}));
    EXPECT_TRUE(monitor->AwaitLine("link usable"));
    for (int number = 0; number < 20; ++number)
    {
        const std::string frame = "29 00 bc e0 11 01 0a 03 02 00 80 " + Knx::ToHex({static_cast<uint8_t>(number)});
        Telegram(frame);
        EXPECT_EQ(application.Receive(), AsMessage(frame));
        EXPECT_TRUE(monitor->AwaitLine(" rx " + frame));
    }
    EXPECT_EQ(monitor->Stop(), 0);
}

TEST_F(ThroughGateway, WhatOneProgramSendsReachesTheBusAndTheOthers)
{
    ClientProgram monitor(Through({"monitor"}));
    EXPECT_TRUE(monitor->AwaitLine("link usable"));
    EXPECT_EQ(RunClient(Through({"send", SwitchOn})).status, 0);
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(SwitchOn)}));
    EXPECT_TRUE(monitor->AwaitLine("L_Data.ind"));
    EXPECT_EQ(monitor->Stop(), 0);
}

TEST_F(ThroughGateway, AllFramesOfAProgramThatHasEndedReachTheBus)
{
    std::string lines;
    for (int number = 0; number < 200; ++number)
    {
        lines += "11 00 bc e0 00 00 0a 03 02 00 80 " + Knx::ToHex({static_cast<uint8_t>(number)}) + "\n";
    }
    EXPECT_EQ(RunClient(Through({"send", "--wait", "60000"}), lines).status, 0);
    EXPECT_TRUE(Await([&] { return ToKnx().size() == 200; }));
}

TEST_F(ThroughGateway, WriteEndsWithTheConfirmationAndTheOthersHearIt)
{
    const GatewayUser application(gateway.Socket());
    EXPECT_EQ(application.Receive(), "03 b9 00 01");
    const Outcome outcome = RunClient(Through({"write", "1/2/3", "on", "--dpt", "1.001"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.lines.size(), 0);
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(SwitchOn)}));
    EXPECT_EQ(application.Receive(), AsMessage("29 00 bc e0 ff ff 0a 03 01 00 81"));
}

TEST_F(ThroughGateway, WriteSaysThatTheBusHasNotTakenIt)
{
    const std::vector<std::vector<std::string>> commands{{"write", "1/2/3", "on", "--dpt", "1.001"},
                                                         {"send", "--confirm", SwitchOn}};
    for (const auto& command : commands)
    {
        Simulator::CoProcessor::Confirm confirm;
        TheCoProcessor().ConnectBus([&confirm](const Simulator::Bytes&, const auto& later) { confirm = later; });
        ClientProgram client(Through(command));
        ASSERT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(SwitchOn)}));
        TheCoProcessor().ConnectBus({}); // waits for the call of the bus
        confirm(false);
        const Outcome outcome = client.End();
        EXPECT_EQ(outcome.status, 9) << command.front();
        EXPECT_THAT(outcome.lines,
                    ElementsAre("orvelctl: not sent: the bus has not taken it, or nobody has confirmed it in time"));
    }
}

TEST_F(ThroughGateway, ReadIsAnsweredByADeviceAndNotByItsOwnConfirmation)
{
    ClientProgram client(Through({"read", "1/2/4", "--dpt", "9.001", "--timeout", "60000"}));
    EXPECT_TRUE(AwaitEvent({Event::TelegramConfirmed, Knx::FromHex("2e 00 bc e0 00 00 0a 04 01 00 00")}));
    Telegram("29 00 bc e0 11 02 0a 04 03 00 80 0c 1b"); // written, not answered
    Telegram(AnswerOfADevice);
    const Outcome outcome = client.End();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("21 °C"));
}

TEST_F(ThroughGateway, ReadWithoutAnAnswerHasAStatusOfItsOwn)
{
    const Outcome outcome = RunClient(Through({"read", "1/2/4", "--timeout", "20"}));
    EXPECT_EQ(outcome.status, 10);
    EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: nobody has answered for 20 ms"));
}

TEST_F(ThroughGateway, ReadThatFollowsShowsWhatOthersWriteAndReadsAgainWhenTheGatewayWasStartedAnew)
{
    ClientProgram client(Through({"read", "1/2/4", "--dpt", "9.001", "--follow", "--timeout", "60000"}));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(Read)}));
    Telegram(AnswerOfADevice);
    EXPECT_TRUE(client->AwaitLine("21 °C"));
    EXPECT_EQ(RunClient(Through({"write", "1/2/4", "22", "--dpt", "9.001"})).status, 0);
    EXPECT_TRUE(client->AwaitLine("22 °C"));
    gateway->Restart();
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(Read)}));
    Telegram("29 00 bc e0 11 02 0a 04 03 00 40 0c 1b");
    EXPECT_TRUE(client->AwaitLine("21.02 °C"));
    EXPECT_EQ(client->Stop(), 0);
    EXPECT_THAT(client->Lines(), ElementsAre("21 °C", "22 °C", "21.02 °C"));
}

TEST_F(ThroughGateway, OneProgramReadsWhatAnotherAnswers)
{
    ClientProgram answering(Through({"answer", "1/2/4", "21", "--dpt", "9.001"}));
    const auto ask = [&] // the first program does not say when it is connected
    {
        return RunClient(Through({"read", "1/2/4", "--dpt", "9.001", "--timeout", "1000"})).lines;
    };
    EXPECT_TRUE(Await([&] { return ask() == std::vector<std::string>{"21 °C"}; }));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(Read)}));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex(Answer)}));
    EXPECT_EQ(answering->Stop(), 0);
}

TEST_F(ThroughGateway, AnswerGoesOnWhenTheGatewayWasStartedAnew)
{
    ClientProgram client(Through({"answer", "1/2/4", "21", "--dpt", "9.001"}));
    const auto isAnswered = [&]
    {
        const std::size_t before = ToKnx().size();
        return Await(
            [&]
            {
                Telegram(ReadByADevice); // nobody hears it while the program connects
                return Await([&] { return ToKnx().size() > before; }, std::chrono::milliseconds(250));
            });
    };
    EXPECT_TRUE(isAnswered());
    gateway->Restart();
    EXPECT_TRUE(gateway->AwaitLine("The link is usable"));
    EXPECT_TRUE(isAnswered());
    EXPECT_THAT(ToKnx(), testing::Each(Knx::FromHex(Answer)));
    EXPECT_EQ(client->Stop(), 0);
}

TEST_F(ThroughGateway, EachProgramIsToldOfTheButton)
{
    ClientProgram one(Through({"button"}));
    ClientProgram two(Through({"monitor"}));
    EXPECT_TRUE(two->AwaitLine("link usable"));
    const auto pressUntilSeen = [&] // the first program does not say when it is connected
    {
        TheCoProcessor().SetButton(true);
        TheCoProcessor().SetButton(false);
        return !one->Lines().empty();
    };
    EXPECT_TRUE(Await(pressUntilSeen));
    EXPECT_TRUE(one->AwaitLine(") released"));
    EXPECT_TRUE(two->AwaitLine("# button pressed"));
    EXPECT_TRUE(two->AwaitLine("# button released"));
    EXPECT_EQ(one->Stop(), 0);
    EXPECT_EQ(two->Stop(), 0);
}

// As systemd takes them out of the file.
std::vector<std::string> OptionsOfTheService()
{
    const std::string name = R"(ORVEL_GATEWAY_OPTIONS=")";
    std::ifstream file(Paths::InBuildTree("Packaging/orvel-gateway.default"));
    std::vector<std::string> options;
    for (std::string line; std::getline(file, line);)
    {
        if (line.rfind(name, 0) == 0 && line.back() == '"')
        {
            std::istringstream words(line.substr(name.size(), line.size() - name.size() - 1));
            options.assign(std::istream_iterator<std::string>(words), {});
        }
    }
    return options;
}

class GatewayOfTheService : public OnBoard
{
};

TEST_F(GatewayOfTheService, TellsTheStatusItsCounters)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    auto command = OptionsOfTheService();
    command.insert(command.begin(), Paths::Gateway());
    Daemon gateway(command, {});
    const GatewayUser application(ORVEL_GATEWAY_SOCKET);
    EXPECT_EQ(application.Receive(), "03 b9 00 01");
    application.Send(SwitchOn);
    EXPECT_EQ(application.Receive(), "0b 2e 00 bc e0 00 00 0a 03 01 00 81");
    Outcome outcome;
    const std::string requests =
        "ok    requests               1 confirmed, 0 refused, 0 refused without a link, 0 timed out";
    EXPECT_TRUE(Await(
        [&]
        {
            outcome = RunClient({"status"});
            return std::find(outcome.lines.begin(), outcome.lines.end(), requests) != outcome.lines.end();
        }))
        << testing::PrintToString(outcome.lines);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, Contains("ok    frames                 1 from the bus, 1 to it"));
    EXPECT_THAT(outcome.lines, Contains(MatchesRegex("ok    programs               [12] connected, 0 refused, "
                                                     "0 invalid packets, 0 lost messages")));
    EXPECT_THAT(outcome.lines, Contains(EndsWith("% load, 0 times without a link")));
    EXPECT_EQ(gateway.Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(ThroughGateway, TheStatusIsWell)
{
    const Outcome outcome = RunClient(Through({"status"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, Contains("ok    gateway                answers at " + gateway.Socket()));
    EXPECT_THAT(outcome.lines, Contains("ok    link                   is usable"));
    EXPECT_THAT(outcome.lines, Contains("ok    /cemiFromLL            0 of 14 messages wait"));
}

TEST_F(ThroughGateway, TheSwitchTogglesAndShowsTheStatus)
{
    Daemon example({Paths::ExampleGateway(), gateway.Socket()}, {});
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 04 01 00 00")}));
    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(example.AwaitLine("switched on"));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 81")}));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
}

TEST_F(ThroughGateway, TheThermostatGoesOnWhenDaemonAndGatewayWereStartedAnew)
{
    const TemporaryDirectory directory;
    std::ofstream(directory.File("sensor")) << "20000\n";
    Daemon example(
        {"python3", Paths::InSourceTree("Examples/Thermostat.py"), directory.File("sensor"), gateway.Socket()}, {});
    const auto tellsAll = [&]
    {
        EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 0a 03 00 80 07 d0")}));
        EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 0c 01 00 81")}));
    };
    tellsAll();
    Telegram("29 00 bc e0 11 01 0a 0a 01 00 00");
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 0a 03 00 40 07 d0")}));
    daemon.Restart();
    board->StartPinsAnew();
    tellsAll();
    gateway->Restart();
    tellsAll();
}

} // namespace
