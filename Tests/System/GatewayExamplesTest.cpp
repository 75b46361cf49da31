// The examples that use the gateway, whose part the tests play.

#include "BenchKit/Await.h"
#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ScriptedGateway.h"
#include "Overlay.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

using testing::ElementsAre;

namespace
{

long CountOf(const Daemon& example, const std::string& text)
{
    const auto lines = example.Lines();
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

// A request to 1/2/GROUP, as a packet.
std::string Request(const std::string& group, const std::string& service, const std::string& data = "")
{
    return (data.empty() ? "0b" : "0d") + std::string(" 11 00 bc e0 00 00 0a ") + group +
           (data.empty() ? " 01 00 " + service : " 03 00 " + service + " " + data);
}

const std::string AskForStatus = Request("04", "00");

class GatewaySwitch : public testing::Test
{
protected:
    ScriptedGateway gateway;
    Daemon example{{Paths::ExampleGateway(), gateway.Path()}, {}};
};

TEST_F(GatewaySwitch, TheButtonSwitchesAndTheStatusIsShown)
{
    const auto program = gateway.Greet();
    EXPECT_EQ(program.Receive(), AskForStatus);
    program.Send("ba 00");
    EXPECT_EQ(program.Receive(), Request("03", "81"));
    program.Send("ba 01");
    program.Send("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    program.Send("ba 00");
    EXPECT_EQ(program.Receive(), Request("03", "80"));
    program.Send("29 04 03 02 11 22 bc e0 11 01 0a 04 01 00 40"); // the answer to a read counts too
    EXPECT_TRUE(example.AwaitLine("the light is off"));
}

TEST_F(GatewaySwitch, TelegramsForOthersAndBrokenOnesChangeNothing)
{
    const auto program = gateway.Greet();
    for (const char* const frame :
         {"29 00 bc e0 11 01 0a 05 01 00 81", "29 00 bc 60 11 01 0a 04 01 00 81", "29 00 bc e0 11 01 0a 04 01 00 00",
          "2e 00 bc e0 11 01 0a 04 01 00 81", "29 00 bc e0 11 01 0a 04 02 00 80 01", "29 00 bc e0 11 01 0a 04 01 00",
          "29 ff bc e0 11 01 0a 04 01 00 81", "29", "29 00 bc e0 11 01 0a 04 01 03 81", "ba", "bb 00", "bc 00",
          "29 04 03 02 11 22 bc 60 11 01 0a 04 01 00 81", "29 04 03 02 11 22 bc e0 11 01 0a"})
    {
        program.Send(frame);
    }
    program.Send("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_EQ(CountOf(example, "the light is"), 1); // also not for the last one, which the one before would make whole
    EXPECT_EQ(CountOf(example, "not sent"), 0);
    EXPECT_EQ(program.Receive(), AskForStatus);
    program.Send("ba 00");
    EXPECT_EQ(program.Receive(), Request("03", "81")); // and nothing before
}

TEST_F(GatewaySwitch, APressFromBeforeTheDaemonRanIsOne)
{
    const auto program = gateway.Greet("b9 ff ff");
    for (int press = 0; press < 3; ++press)
    {
        program.Send("ba 00");
    }
    program.Send("29 00 bc e0 11 01 0a 04 01 00 81"); // comes when all three are read
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_EQ(CountOf(example, "switched"), 1);
}

TEST_F(GatewaySwitch, AsksForTheStatusOnlyWhenTheLinkIsUsable)
{
    const auto program = gateway.Greet("b9 ff ff");
    EXPECT_TRUE(example.AwaitLine("the link is lost"));
    program.Send("ba 00");
    EXPECT_EQ(program.Receive(), Request("03", "81"));
    program.Send("b9 00 01");
    EXPECT_EQ(program.Receive(), AskForStatus);
}

TEST_F(GatewaySwitch, AsksForTheStatusWhenMessagesWereDropped)
{
    const auto program = gateway.Greet();
    EXPECT_EQ(program.Receive(), AskForStatus);
    program.Send("bb 00 05");
    EXPECT_EQ(program.Receive(), AskForStatus);
}

TEST_F(GatewaySwitch, SaysThatATelegramWasNotSent)
{
    const auto program = gateway.Greet();
    EXPECT_EQ(program.Receive(), AskForStatus);
    program.Send("2e 00 bc e0 00 00 0a 04 01 00 00");
    program.Send("2e 00 bd e0 00 00 0a 04 01 00 00");
    EXPECT_TRUE(example.AwaitLine("a telegram was not sent"));
    EXPECT_EQ(CountOf(example, "not sent"), 1);
}

TEST_F(GatewaySwitch, KnowsWhatItSwitchedAlsoWhenTheGatewayWasStartedAnew)
{
    for (const char* const service : {"81", "80"})
    {
        const auto program = gateway.Greet();
        EXPECT_EQ(program.Receive(), AskForStatus);
        program.Send("ba 00");
        program.Send("ba 01");
        EXPECT_EQ(program.Receive(), Request("03", service));
    }
}

TEST_F(GatewaySwitch, EndsWithOneLineWhereTheGatewayIsNotForIt)
{
    const ScriptedGateway other;
    ASSERT_EQ(chmod(other.Path().c_str(), 0), 0);
    WithoutCapability(CAP_DAC_OVERRIDE,
                      [&]
                      {
                          Daemon refused({Paths::ExampleGateway(), other.Path()}, {});
                          EXPECT_EQ(refused.Wait(), 1);
                          EXPECT_THAT(refused.Lines(), ElementsAre(other.Path() + ": Permission denied"));
                      });
}

TEST(GatewaySwitchSource, HasFewerThan100Lines)
{
    std::ifstream source(Paths::InSourceTree("Examples/GatewaySwitch.c"));
    std::size_t lines = 0;
    for (std::string line; std::getline(source, line);)
    {
        ++lines;
    }
    EXPECT_GT(lines, 0);
    EXPECT_LT(lines, 100);
}

class Thermostat : public testing::Test
{
protected:
    void Measure(const std::string& thousandths) const
    {
        std::ofstream(directory.File("new")) << thousandths << "\n";
        std::filesystem::rename(directory.File("new"), directory.File("sensor")); // never a part of it
    }

    // Starts it at this temperature, until it has told everything to the first gateway.
    void Begin(const std::string& thousandths)
    {
        Measure(thousandths);
        Start();
        program.emplace(gateway.Greet());
        EXPECT_EQ(program->Receive(), AskForSetPoint);
    }

    void Start()
    {
        example =
            std::make_unique<Daemon>(std::vector<std::string>{"python3", Paths::InSourceTree("Examples/Thermostat.py"),
                                                              directory.File("sensor"), gateway.Path()},
                                     Daemon::Environment());
    }

    const std::string AskForSetPoint = Request("0b", "00");
    const TemporaryDirectory directory;
    ScriptedGateway gateway;
    std::unique_ptr<Daemon> example;
    std::optional<PacketConnection> program;
};

TEST_F(Thermostat, TellsTemperatureAndHeatingAndThenWhatChanges)
{
    Begin("19460"); // 19.5 °C, below the 21 °C at its start
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 9e"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    Measure("22000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "0c 4c"));
    EXPECT_EQ(program->Receive(), Request("0c", "80"));
    Measure("22040"); // no change of a tenth
    Measure("-30000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "8a 24"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
}

TEST_F(Thermostat, AnswersReads)
{
    Begin("20000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    const std::vector<std::pair<std::string, std::string>> answers{
        {"0a", Request("0a", "40", "07 d0")}, {"0b", Request("0b", "40", "0c 1a")}, {"0c", Request("0c", "41")}};
    for (const auto& [group, answer] : answers)
    {
        program->Send("29 00 bc e0 11 01 0a " + group + " 01 00 00");
        EXPECT_EQ(program->Receive(), answer);
    }
}

TEST_F(Thermostat, AnswersNoOldTemperatureWhileItsSensorCannotBeRead)
{
    Begin("20000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    std::filesystem::remove(directory.File("sensor"));
    EXPECT_TRUE(example->AwaitLine("No such file"));
    program->Send("29 00 bc e0 11 01 0a 0a 01 00 00");
    program->Send("29 00 bc e0 11 01 0a 0b 01 00 00");
    EXPECT_EQ(program->Receive(), Request("0b", "40", "0c 1a")); // and nothing before
    Measure("20000");
    EXPECT_TRUE(example->AwaitLine("the sensor can be read again"));
    program->Send("29 00 bc e0 11 01 0a 0a 01 00 00");
    EXPECT_EQ(program->Receive(), Request("0a", "40", "07 d0"));
}

TEST_F(Thermostat, HeatsToTheSetPointThatOthersWriteOrAnswer)
{
    Begin("20000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    program->Send("29 00 bc e0 11 01 0a 0b 03 00 80 07 08"); // 18
    EXPECT_EQ(program->Receive(), Request("0c", "80"));
    program->Send("29 04 03 02 11 22 bc e0 11 01 0a 0b 03 00 40 0c 1a"); // 21
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    program->Send("29 00 bc e0 11 01 0a 0b 03 00 80 07 c6"); // 19.9
    Measure("20100");                                        // above that, but too near to switch
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 da"));
    program->Send("29 00 bc e0 11 01 0a 0c 01 00 00");
    EXPECT_EQ(program->Receive(), Request("0c", "41"));
}

TEST_F(Thermostat, TelegramsForOthersAndBrokenOnesChangeNothing)
{
    Begin("20000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    for (const char* const frame :
         {"29 00 bc 60 11 01 0a 0b 03 00 80 07 08", "29 00 bc e0 11 01 0a 0d 03 00 80 07 08",
          "29 00 bc e0 11 01 0a 0b 03 00 80 7f ff", "29 00 bc e0 11 01 0a 0b 02 00 80 07",
          "29 00 bc e0 11 01 0a 0b 03 00 80 07", "29 00 bc e0 11 01 0a 0b 02 00 80 07 08",
          "29 00 bc e0 11 01 0a 0b 03 00 c0 07 08", "29 00 bc e0 11 01 0a 0b 03 03 80 07 08",
          "2e 00 bc e0 00 00 0a 0b 03 00 80 07 08", "29", "29 ff", "29 00 bc e0 11 01 0a 0b 01 00",
          "29 00 bc e0 11 01 0a 0d 01 00 00", "ba 00", "bc 00 00"})
    {
        program->Send(frame);
    }
    program->Send("29 00 bc e0 11 01 0a 0b 01 00 00");
    EXPECT_EQ(program->Receive(), Request("0b", "40", "0c 1a")); // and nothing before
}

TEST_F(Thermostat, TellsAgainWhatWasNotSent)
{
    Begin("20000");
    const std::string temperature = Request("0a", "80", "07 d0");
    EXPECT_EQ(program->Receive(), temperature);
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    program->Send("2e 00 bd e0 00 00 0a 0a 03 00 80 07 d0");
    EXPECT_EQ(program->Receive(), temperature);
    program->Send("2e 00 bc e0 00 00 0a 0a 03 00 80 07 d0");
    // What it tells next; the temperature, if it told that again, would come before.
    program->Send("29 00 bc e0 11 01 0a 0b 03 00 80 07 08");
    EXPECT_EQ(program->Receive(), Request("0c", "80"));
}

TEST_F(Thermostat, TellsAllAgainWhenTheLinkIsBackOrTheGatewayWasStartedAnew)
{
    Begin("20000");
    const auto tellsAll = [&]
    {
        EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
        EXPECT_EQ(program->Receive(), Request("0c", "81"));
    };
    tellsAll();
    program->Send("b9 ff ff");
    program->Send("b9 00 01");
    EXPECT_EQ(program->Receive(), AskForSetPoint);
    tellsAll();
    program.reset();
    program.emplace(gateway.Greet());
    EXPECT_EQ(program->Receive(), AskForSetPoint);
    tellsAll();
}

TEST_F(Thermostat, AsksForTheSetPointWhenMessagesWereDropped)
{
    Begin("20000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
    EXPECT_EQ(program->Receive(), Request("0c", "81"));
    program->Send("bb 00 05");
    EXPECT_EQ(program->Receive(), AskForSetPoint);
}

TEST_F(Thermostat, SaysNothingOnTheBusUntilItKnowsTheTemperature)
{
    Start(); // without a sensor
    program.emplace(gateway.Greet());
    EXPECT_EQ(program->Receive(), AskForSetPoint);
    EXPECT_TRUE(example->AwaitLine("No such file or directory"));
    program->Send("29 00 bc e0 11 01 0a 0a 01 00 00"); // a read that it cannot answer
    Measure("20000");
    EXPECT_EQ(program->Receive(), Request("0a", "80", "07 d0"));
}

TEST_F(Thermostat, EndsWithOneLineWhereTheGatewayIsNotForIt)
{
    ASSERT_EQ(chmod(gateway.Path().c_str(), 0), 0);
    WithoutCapability(CAP_DAC_OVERRIDE,
                      [&]
                      {
                          Start();
                          EXPECT_EQ(example->Wait(), 1);
                          EXPECT_THAT(example->Lines(), ElementsAre(gateway.Path() + ": not for this user"));
                          example.reset();
                      });
}

// The shortest ones know the gateway at its usual place only.
class GatewayAtItsPlace : public testing::Test
{
protected:
    GatewayAtItsPlace()
    {
        Simulator::CoverDirectory("/run");
        std::filesystem::create_directories("/run/orvel");
        gateway = std::make_unique<ScriptedGateway>("/run/orvel/gateway");
    }

    ~GatewayAtItsPlace() override
    {
        gateway.reset();
        Simulator::Unmount("/run");
    }

    static std::vector<std::string> Command(const std::string& example)
    {
        return {"python3", Paths::InSourceTree("Examples/" + example)};
    }

    std::unique_ptr<ScriptedGateway> gateway;
};

TEST_F(GatewayAtItsPlace, WatchShowsEachMessage)
{
    Daemon example(Command("GatewayWatch.py"), {});
    {
        const auto program = gateway->Greet();
        program.Send("29 00 bc");
        EXPECT_TRUE(example.AwaitLine("03 29 00 bc"));
    }
    EXPECT_EQ(example.Wait(), 0);
    EXPECT_THAT(example.Lines(), ElementsAre("03 b9 00 01", "03 29 00 bc"));
}

TEST_F(GatewayAtItsPlace, SendSaysWhetherItsTelegramWasSent)
{
    const std::vector<std::pair<std::string, int>> answers{{"2e 00 bc e0 00 00 0a 03 01 00 81", 0},
                                                           {"2e 00 bd e0 00 00 0a 03 01 00 81", 1}};
    for (const auto& [answer, status] : answers)
    {
        Daemon example(Command("GatewaySend.py"), {});
        const auto program = gateway->Greet();
        EXPECT_EQ(program.Receive(), Request("03", "81"));
        program.Send("29 00 bd e0 11 01 0a 03 01 00 81");
        program.Send(answer);
        EXPECT_EQ(example.Wait(), status);
        EXPECT_EQ(example.Lines().size(), static_cast<std::size_t>(status)); // "not sent"
    }
}

} // namespace
