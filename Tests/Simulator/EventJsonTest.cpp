// What programs read of events: kinds and members are those of orvel-board(1).

#include "EventJson.h"

#include "BenchKit/Paths.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

using namespace std::chrono_literals;
using namespace Simulator;

namespace
{

const Bytes Telegram{0x29, 0x00, 0xbc};

std::string ManualPage()
{
    return Paths::InSourceTree("Packaging/Manual/orvel-board.1");
}

// Without the time.
std::string Json(const Event& event)
{
    const std::string begin = R"({"time":0.0,)";
    const std::string json = JsonOf(0us, event);
    EXPECT_EQ(json.compare(0, begin.size(), begin), 0) << json;
    return "{" + json.substr(begin.size());
}

std::string KindOf(const Event& event)
{
    const std::string json = Json(event);
    const std::string begin = R"({"kind":")";
    return json.substr(begin.size(), json.find('"', begin.size()) - begin.size());
}

TEST(EventJson, BeginsWithTheTimeInSeconds)
{
    EXPECT_EQ(JsonOf(12'345'678us, Event::LinkUp), R"({"time":12.345678,"kind":"linkUp"})");
    EXPECT_EQ(JsonOf(1'209'600s, Event::LinkUp), R"({"time":1209600.0,"kind":"linkUp"})");
}

TEST(EventJson, TellsOfBoardAndCoProcessor)
{
    EXPECT_EQ(Json(Event::ResetLineLow), R"({"kind":"resetLineLow"})");
    EXPECT_EQ(Json({Event::ResetLineHigh, 1'450'000}), R"({"kind":"resetLineHigh","seconds":0.00145})");
    EXPECT_EQ(Json(Event::CoProcessorBooted), R"({"kind":"coProcessorBooted"})");
    EXPECT_EQ(Json(Event::CoProcessorHangs), R"({"kind":"coProcessorHangs"})");
    EXPECT_EQ(Json(Event::ButtonPressed), R"({"kind":"buttonPressed"})");
    EXPECT_EQ(Json(Event::ButtonReleased), R"({"kind":"buttonReleased"})");
    EXPECT_EQ(Json(Event::SerialLinePulled), R"({"kind":"serialLinePulled"})");
    EXPECT_EQ(Json(Event::SerialLinePluggedIn), R"({"kind":"serialLinePluggedIn"})");
}

TEST(EventJson, NamesAnLedByItsNumber)
{
    EXPECT_EQ(Json({Event::LedOn, RedKnxLed}), R"({"kind":"ledOn","led":3})");
    EXPECT_EQ(Json({Event::LedOff, OrangeDeviceLed}), R"({"kind":"ledOff","led":1})");
    EXPECT_EQ(Json(Event::TerminationOn), R"({"kind":"terminationOn"})");
    EXPECT_EQ(Json(Event::TerminationOff), R"({"kind":"terminationOff"})");
}

TEST(EventJson, HasTelegramsAsHexadecimalDigits)
{
    EXPECT_EQ(Json({Event::TelegramToKnx, Telegram}), R"({"kind":"telegramToKnx","hex":"2900bc"})");
    EXPECT_EQ(Json({Event::TelegramConfirmed, Telegram}), R"({"kind":"telegramConfirmed","hex":"2900bc"})");
    EXPECT_EQ(Json({Event::TelegramNotSent, Telegram}), R"({"kind":"telegramNotSent","hex":"2900bc"})");
    EXPECT_EQ(Json({Event::TelegramFromKnx, Telegram}), R"({"kind":"telegramFromKnx","hex":"2900bc"})");
    EXPECT_EQ(Json(Event::TelegramLost), R"({"kind":"telegramLost"})");
    EXPECT_EQ(Json({Event::MessageOfUnknownTopic, Telegram, 258}),
              R"({"kind":"messageOfUnknownTopic","topic":258,"hex":"2900bc"})");
    EXPECT_EQ(Json({Event::UnknownDeviceMessage, Bytes{}}), R"({"kind":"unknownDeviceMessage","hex":""})");
}

TEST(EventJson, TellsOfKnxIp)
{
    EXPECT_EQ(Json({Event::KnxIpJoined, "224.0.23.12 on lo"}), R"({"kind":"knxIpJoined","text":"224.0.23.12 on lo"})");
    EXPECT_EQ(Json({Event::KnxIpCounted, KnxIpCounters{1, 2, 3, 4, 5, 6, 7, 8}}),
              R"({"kind":"knxIpCounted","sent":1,"received":2,"refused":3,"dropped":4,"lostByOthers":5,"othersBusy":6,)"
              R"("malformed":7,"ignored":8})");
    EXPECT_EQ(Json({Event::KnxIpRouterLost, 5, 12}), R"({"kind":"knxIpRouterLost","telegrams":5,"total":12})");
    EXPECT_EQ(Json({Event::KnxIpRouterBusy, 100, 10}), R"({"kind":"knxIpRouterBusy","seconds":0.1,"total":10})");
    EXPECT_EQ(Json({Event::KnxIpNoRoom, 2}), R"({"kind":"knxIpNoRoom","telegrams":2})");
    EXPECT_EQ(Json({Event::MalformedDatagram, Telegram, 100}),
              R"({"kind":"malformedDatagram","hex":"2900bc","total":100})");
}

TEST(EventJson, TellsOfTheDaemon)
{
    EXPECT_EQ(Json(Event::DaemonStarted), R"({"kind":"daemonStarted"})");
    EXPECT_EQ(Json({Event::DaemonEnded, 137}), R"({"kind":"daemonEnded","status":137})");
    EXPECT_EQ(Json({Event::DaemonStartsLater, 3600}), R"({"kind":"daemonStartsLater","seconds":3600})");
    EXPECT_EQ(Json({Event::DaemonCannotStart, R"(no "such" file)"}),
              R"({"kind":"daemonCannotStart","text":"no \"such\" file"})");
    EXPECT_EQ(Json({Event::DaemonKilled, 15}), R"({"kind":"daemonKilled","seconds":15})");
    EXPECT_EQ(Json({Event::DaemonAtOrdinaryPriority, EPERM}), R"({"kind":"daemonAtOrdinaryPriority","errno":1})");
    EXPECT_EQ(Json(Event::LedsDidNotCome), R"({"kind":"ledsDidNotCome"})");
}

TEST(EventJson, TellsOfTheDemonstration)
{
    EXPECT_EQ(Json(Event::DemonstrationEnded), R"({"kind":"demonstrationEnded"})");
    EXPECT_EQ(Json({Event::DemonstrationFailed, "it rained"}), R"({"kind":"demonstrationFailed","text":"it rained"})");
    EXPECT_EQ(Json({Event::Note, "link up"}), R"({"kind":"note","text":"link up"})");
}

TEST(EventJson, TellsOfTheGateway)
{
    EXPECT_EQ(Json(Event::GatewayStarted), R"({"kind":"gatewayStarted"})");
    EXPECT_EQ(Json({Event::GatewayEnded, 9}), R"({"kind":"gatewayEnded","status":9})");
    EXPECT_EQ(Json({Event::ProgramConnected, "17 orvelctl"}), R"({"kind":"programConnected","text":"17 orvelctl"})");
    EXPECT_EQ(Json({Event::ProgramLeft, "17 orvelctl"}), R"({"kind":"programLeft","text":"17 orvelctl"})");
}

TEST(EventJson, StaysOneLineWhateverBytesATextHas)
{
    EXPECT_EQ(Json({Event::Note, "a\nb\xff"}), "{\"kind\":\"note\",\"text\":\"a\\nb\xef\xbf\xbd\"}");
}

TEST(EventJson, NamesEachKindInItsOwnWayAndAsTheManualPageDoes)
{
    std::ifstream page(ManualPage());
    std::set<std::string> documented; // all words of the tags, ".It Cm ledOn , ledOff"
    for (std::string line; std::getline(page, line);)
    {
        std::istringstream words(line);
        std::string macro;
        if (words >> macro && macro == ".It")
        {
            documented.insert(std::istream_iterator<std::string>(words), {});
        }
    }
    std::set<std::string> names;
    for (int kind = 0; kind < Event::Kinds; ++kind)
    {
        const std::string name = KindOf(static_cast<Event::Kind>(kind));
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(documented.count(name), 1U) << name << " is not in " << ManualPage();
    }
}

} // namespace
