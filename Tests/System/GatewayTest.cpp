// orvel-gateway with the daemon on the board.

#include "BenchKit/GatewayProgram.h"
#include "BenchKit/GatewayUser.h"
#include "BenchKit/Messages.h"
#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <list>
#include <optional>
#include <sstream>

using namespace std::chrono_literals;

namespace
{

const std::string Usable = "03 b9 00 01";
const std::string Lost = "03 b9 ff ff";
const std::string Request = "11 00 bc e0 00 00 0a 03 01 00 81";
const std::string Confirmed = "0b 2e 00 bc e0 00 00 0a 03 01 00 81";
const std::string Heard = "0b 29 00 bc e0 ff ff 0a 03 01 00 81";
const std::string SwitchOn = "29 00 bc e0 11 01 0a 03 01 00 81";

using Gateway = OnBoard;

std::string Numbered(const std::string& start, int number)
{
    return start + " " + Knx::ToHex({static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number & 0xFF)});
}

// The next message but those of the link, which can be lost and come back on a busy machine.
std::string NextButton(const GatewayUser& user)
{
    std::string message = user.Receive();
    while (message == Lost || message == Usable)
    {
        message = user.Receive();
    }
    return message;
}

TEST_F(Gateway, CarriesTelegramsEachWayAndLetsProgramsHearEachOther)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    const GatewayUser one(gateway.Socket());
    const GatewayUser two(gateway.Socket());
    EXPECT_EQ(one.Receive(), Usable);
    EXPECT_EQ(two.Receive(), Usable);

    one.Send(Request);
    EXPECT_EQ(one.Receive(), Confirmed);
    EXPECT_EQ(two.Receive(), Heard);
    EXPECT_THAT(ToKnx(), testing::ElementsAre(Knx::FromHex(Request)));

    TheCoProcessor().InjectTelegram(Knx::FromHex(SwitchOn));
    EXPECT_EQ(one.Receive(), AsMessage(SwitchOn));
    EXPECT_EQ(two.Receive(), AsMessage(SwitchOn));

    EXPECT_EQ(gateway->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Gateway, TellsEverybodyOfTheButton)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    const GatewayUser one(gateway.Socket());
    const GatewayUser two(gateway.Socket());
    EXPECT_EQ(one.Receive(), Usable);
    EXPECT_EQ(two.Receive(), Usable);
    TheCoProcessor().SetButton(true);
    EXPECT_EQ(NextButton(one), "02 ba 00");
    EXPECT_EQ(NextButton(two), "02 ba 00");
    TheCoProcessor().SetButton(false);
    EXPECT_EQ(NextButton(one), "02 ba 01");
    EXPECT_EQ(NextButton(two), "02 ba 01");
    EXPECT_EQ(gateway->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Gateway, KeepsAPressSinceBootForTheFirstProgram)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    EXPECT_TRUE(gateway->AwaitLine("The link is usable"));
    TheCoProcessor().Flood(0x101, {0x09, 0x01, 0x01}, 1);
    EXPECT_TRUE(daemon.AwaitLine("Programming button since boot was: pressed"));
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    for (int time = 0; time < 3; ++time)
    {
        EXPECT_EQ(NextButton(user), "02 ba 00");
    }
    EXPECT_EQ(gateway->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Gateway, WaitsForTheDaemonAndGoesOverToTheNextOne)
{
    GatewayProgram gateway;
    std::list<GatewayUser> users;
    for (int i = 0; i < 32; ++i)
    {
        users.emplace_back(gateway.Socket());
    }
    // On a busy machine a daemon may lose its link at the start, and tells it. Otherwise nothing comes in between.
    const auto all = [&users](const std::string& message)
    {
        for (const GatewayUser& user : users)
        {
            std::string received = user.Receive();
            while (received != message && (received == Usable || received == Lost))
            {
                received = user.Receive();
            }
            EXPECT_EQ(received, message);
        }
    };
    all(Lost);
    users.front().Send(Request);
    EXPECT_EQ(users.front().Receive(), "0b 2e 00 bd e0 00 00 0a 03 01 00 81");

    for (int starts = 0; starts < 2; ++starts)
    {
        Daemon daemon;
        ASSERT_TRUE(AwaitRunning(daemon));
        all(Usable);
        TheCoProcessor().InjectTelegram(Knx::FromHex(SwitchOn));
        all(AsMessage(SwitchOn));
        EXPECT_EQ(daemon.Stop(), 0);
        board->StartPinsAnew();
        all(Lost);
    }
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST_F(Gateway, TellsThatTheLinkHasRecovered)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    TheCoProcessor().Hang(); // until the daemon resets it
    EXPECT_EQ(user.Receive(), Usable);
    EXPECT_EQ(gateway->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Gateway, TellsThatTheDaemonHasGivenTheLinkUp)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    board->SetPlugged(false);
    EXPECT_EQ(user.Receive(), Lost);
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_TRUE(gateway->AwaitLine("The daemon has stopped"));
    EXPECT_EQ(user.ReceiveNow(), "nothing"); // it has been told
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST_F(Gateway, GivesAMonitorAllThatAnApplicationGets)
{
    constexpr int count = 500;
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    const GatewayUser application(gateway.Socket());
    const GatewayUser monitor(gateway.Socket());
    EXPECT_EQ(application.Receive(), Usable);
    EXPECT_EQ(monitor.Receive(), Usable);
    for (int i = 0; i < count; ++i)
    {
        application.Send(Numbered("11 00 bc e0 00 00 0a 03 03 00 80", i));
        ASSERT_EQ(application.Receive(), Numbered("0d 2e 00 bc e0 00 00 0a 03 03 00 80", i));
        ASSERT_EQ(monitor.Receive(), Numbered("0d 29 00 bc e0 ff ff 0a 03 03 00 80", i));
    }
    EXPECT_EQ(gateway->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

// Without a program that comes or goes, the file is written every ten seconds.
TEST_F(Gateway, WritesItsMetricsSoonAfterAProgramHasComeOrGone)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("metrics");
    GatewayProgram gateway({"--metrics", file});
    std::optional<GatewayUser> program;
    std::filesystem::file_time_type before;
    for (const char* const programs : {"0", "1", "0"})
    {
        const std::string line = std::string("\norvel_gateway_programs ") + programs + "\n";
        ASSERT_TRUE(Await(
            [&]
            {
                std::ifstream stream(file);
                std::ostringstream text;
                text << stream.rdbuf();
                return text.str().find(line) != std::string::npos;
            }));
        const auto written = std::filesystem::last_write_time(file);
        if (before != std::filesystem::file_time_type())
        {
            EXPECT_LT(written - before, std::chrono::seconds(9));
        }
        before = written;
        if (program)
        {
            program.reset();
        }
        else
        {
            program.emplace(gateway.Socket());
        }
    }
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST_F(Gateway, CarriesWhatAProgramSentThatLeftAtOnce)
{
    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    GatewayProgram gateway;
    const GatewayUser other(gateway.Socket());
    EXPECT_EQ(other.Receive(), Usable);
    GatewayUser user(gateway.Socket());
    for (int i = 0; i < 20; ++i)
    {
        user.Send(Request);
    }
    user.Close(); // and leaves what it was sent unread
    for (int i = 0; i < 20; ++i)
    {
        EXPECT_EQ(other.Receive(), Heard);
    }
    EXPECT_EQ(gateway->Stop(), 0);
    EXPECT_EQ(daemon.Stop(), 0);
}

} // namespace
