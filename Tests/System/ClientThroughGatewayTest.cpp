// orvelctl and the examples with the gateway, the daemon and the board.

#include "ClientProgram.h"
#include "GatewayProgram.h"
#include "OnBoard.h"

#include <gmock/gmock.h>

#include <fstream>

using Simulator::Event;
using Simulator::RedKnxLed;
using testing::Contains;

namespace
{

const std::string SwitchOn = "11 00 bc e0 00 00 0a 03 01 00 81";

class ThroughGateway : public OnBoard
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(AwaitRunning(daemon));
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
        EXPECT_EQ(application.Receive(), GatewayUser::AsMessage(frame));
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
    Daemon example({EXAMPLE_GATEWAY, gateway.Socket()}, {});
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
    Daemon example({"python3", EXAMPLES "/Thermostat.py", directory.File("sensor"), gateway.Socket()}, {});
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
