// orvel-gateway between KNXnet/IP routing and the board, whose bus is KNXnet/IP too: in another group, with another participant.

#include "BenchKit/GatewayProgram.h"
#include "BenchKit/GatewayUser.h"
#include "BenchKit/Messages.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/OwnNetwork.h"
#include "KnxIp.h"

#include "Knx/Datagram.h"
#include "Knx/MulticastSocket.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using Knx::Bytes;
using Knx::FromHex;
using Knx::MulticastSocket;
using Simulator::KnxIp;
using testing::Each;
using testing::HasSubstr;
namespace Routing = Knx::Routing;

namespace
{

constexpr const char* Group = "239.0.23.12"; // of the network; the bus has the usual one

const std::string Usable = "03 b9 00 01";

class GatewayNetwork : public OnBoard
{
protected:
    GatewayNetwork()
    {
        EXPECT_TRUE(running);
    }

    ~GatewayNetwork() override
    {
        if (gateway)
        {
            EXPECT_EQ((*gateway)->Stop(), 0);
        }
        EXPECT_EQ(daemon.Stop(), 0);
    }

    void Start(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {"--knxip", std::string("lo/") + Group});
        gateway.emplace(options);
        EXPECT_TRUE((*gateway)->AwaitLine("Joined KNXnet/IP routing, 239.0.23.12 on lo"));
        EXPECT_TRUE((*gateway)->AwaitLine("The link is usable"));
    }

    GatewayUser Connect() const
    {
        return GatewayUser(gateway->Socket());
    }

    static void Say(const MulticastSocket& participant, const Routing::Datagram& datagram)
    {
        EXPECT_TRUE(participant.Send(Routing::Encode(datagram)));
    }

    static void Say(const MulticastSocket& participant, const std::string& cemi)
    {
        Say(participant, Routing::Indication{FromHex(cemi)});
    }

    static std::optional<Routing::Datagram> NextDatagram(const MulticastSocket& participant)
    {
        std::optional<Bytes> received;
        EXPECT_TRUE(Await([&] { return (received = participant.Receive()).has_value(); }));
        return received ? Routing::Decode(*received) : std::nullopt;
    }

    // The telegram that a participant hears next.
    static std::string Heard(const MulticastSocket& participant)
    {
        for (;;)
        {
            const auto datagram = NextDatagram(participant);
            if (!datagram)
            {
                return "nothing";
            }
            if (const auto* const telegram = std::get_if<Routing::Indication>(&*datagram); telegram != nullptr)
            {
                return Knx::ToHex(telegram->cemi);
            }
        }
    }

    static std::string Numbered(const std::string& begin, int number)
    {
        return begin + " " + Knx::ToHex({static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number & 0xFF)});
    }

    struct Network
    {
        Network()
        {
            EnterOwnNetwork();
        }
    };

    const Network own;
    const MulticastSocket bus{"lo"};
    const MulticastSocket network{"lo", Group};
    std::optional<KnxIp> knxIp{std::in_place, KnxIp::Settings{}, TheCoProcessor(), events};
    Daemon daemon;
    testing::AssertionResult running = AwaitRunning(daemon);
    std::optional<GatewayProgram> gateway;
};

TEST_F(GatewayNetwork, HearsTheBusAndTheProgramsAndIsHeardByBoth)
{
    Start();
    const GatewayUser program = Connect();
    EXPECT_EQ(program.Receive(), Usable);

    Say(bus, "29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Heard(network), "29 00 bc d0 11 01 0a 03 01 00 81");
    EXPECT_EQ(program.Receive(), AsMessage("29 00 bc e0 11 01 0a 03 01 00 81"));

    Say(network, "29 00 bc e0 11 02 0a 04 01 00 80");
    EXPECT_EQ(Heard(bus), "29 00 bc d0 11 02 0a 04 01 00 80");
    EXPECT_EQ(program.Receive(), AsMessage("29 00 bc d0 11 02 0a 04 01 00 80"));

    program.Send("11 00 bc e0 11 03 0a 05 01 00 81");
    EXPECT_EQ(Heard(bus), "29 00 bc e0 11 03 0a 05 01 00 81");
    EXPECT_EQ(Heard(network), "29 00 bc d0 11 03 0a 05 01 00 81"); // and its own telegram has not come back before
}

TEST_F(GatewayNetwork, LosesNoTelegramEachWayAndKeepsTheirOrder)
{
    constexpr int Count = 100;
    constexpr int AtOnce = 5; // each way, and as many confirmations: they fit into the daemon's queue
    Start();
    for (int begin = 0; begin < Count; begin += AtOnce)
    {
        for (int number = begin; number < begin + AtOnce; ++number)
        {
            Say(network, Numbered("29 00 bc e0 11 02 0a 04 03 00 80", number));
            Say(bus, Numbered("29 00 bc e0 11 01 0a 03 03 00 80", number));
        }
        for (int number = begin; number < begin + AtOnce; ++number)
        {
            ASSERT_EQ(Heard(bus), Numbered("29 00 bc d0 11 02 0a 04 03 00 80", number));
            ASSERT_EQ(Heard(network), Numbered("29 00 bc d0 11 01 0a 03 03 00 80", number));
        }
    }
}

TEST_F(GatewayNetwork, AsksOthersToPauseWhenTheySendFasterThanTheBusCarries)
{
    Start();
    for (int number = 0; number < 30; ++number)
    {
        Say(network, Numbered("29 00 bc e0 11 02 0a 04 03 00 80", number));
    }
    const auto datagram = NextDatagram(network);
    ASSERT_TRUE(datagram && std::holds_alternative<Routing::Busy>(*datagram));
    EXPECT_EQ(std::get<Routing::Busy>(*datagram).waitTime, 100);
    for (int number = 0; number < 30; ++number)
    {
        ASSERT_EQ(Heard(bus), Numbered("29 00 bc d0 11 02 0a 04 03 00 80", number));
    }
    EXPECT_THAT(daemon.LogLines(), Each(testing::Not(HasSubstr("ERROR"))));
}

TEST_F(GatewayNetwork, SendsAfterAPauseThatAnotherRouterAskedFor)
{
    Start();
    Say(network, Routing::Busy{0, 500, 0});
    EXPECT_TRUE((*gateway)->AwaitLine("Another router asked for a pause of 500 ms, 1 times so far"));
    Say(bus, "29 00 bc e0 11 01 0a 03 01 00 81");
    Say(bus, "29 00 bc e0 11 01 0a 03 01 00 80");
    EXPECT_EQ(Heard(network), "29 00 bc d0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Heard(network), "29 00 bc d0 11 01 0a 03 01 00 80");
}

TEST_F(GatewayNetwork, LetsPassWhatItsOptionsSay)
{
    Start({"--from-ip", "1/2/0-3", "--to-ip", "1/2/4", "--programming"});
    Say(network, "29 00 bc e0 11 02 0a 04 01 00 81"); // stays there
    Say(network, "29 00 b0 60 11 02 11 07 00 80");
    EXPECT_EQ(Heard(bus), "29 00 b0 50 11 02 11 07 00 80");
    Say(network, "29 00 bc e0 11 02 0a 03 01 00 81");
    EXPECT_EQ(Heard(bus), "29 00 bc d0 11 02 0a 03 01 00 81");
    Say(bus, "29 00 bc e0 11 01 0a 03 01 00 81"); // stays there
    Say(bus, "29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_EQ(Heard(network), "29 00 bc d0 11 01 0a 04 01 00 81");
}

TEST_F(GatewayNetwork, LetsNoProgrammingPassUnlessAsked)
{
    Start();
    Say(network, "29 00 b0 60 11 02 11 07 00 80");
    Say(network, "29 00 b0 e0 11 02 00 00 01 01 00");
    Say(network, "29 00 bc e0 11 02 0a 03 01 00 81");
    EXPECT_EQ(Heard(bus), "29 00 bc d0 11 02 0a 03 01 00 81");
}

TEST_F(GatewayNetwork, TellsOthersWhatIsLostWhileTheLinkIs)
{
    Start();
    board->SetPlugged(false);
    EXPECT_TRUE((*gateway)->AwaitLine("The link is lost"));
    Say(network, "29 00 bc e0 11 02 0a 03 01 00 81");
    const auto datagram = NextDatagram(network);
    ASSERT_TRUE(datagram && std::holds_alternative<Routing::Lost>(*datagram));
    EXPECT_EQ(std::get<Routing::Lost>(*datagram).deviceState, 1);
    EXPECT_EQ(std::get<Routing::Lost>(*datagram).count, 1);
    EXPECT_EQ(daemon.Wait(), 255);
    board->SetPlugged(true);
    board->StartPinsAnew();
    daemon.Restart();
    // It needs no LEDs here, for which AwaitRunning would start it once more, and lose the link again.
    ASSERT_TRUE(Await([&] { return HasOpened(daemon); }));
    EXPECT_TRUE((*gateway)->AwaitLine("The link is usable"));
    Say(network, "29 00 bc e0 11 02 0a 03 01 00 81");
    EXPECT_EQ(Heard(bus), "29 00 bc d0 11 02 0a 03 01 00 81");
}

TEST_F(GatewayNetwork, WaitsForItsInterfaceAndJoinsAnewWhenItIsBack)
{
    knxIp.reset();
    ::SetUp("lo", false);
    gateway.emplace(std::vector<std::string>{"--knxip", std::string("lo/") + Group});
    EXPECT_TRUE((*gateway)->AwaitLine("Not in KNXnet/IP routing: the network interface lo is down: ip link set lo up"));
    EXPECT_TRUE((*gateway)->AwaitLine("The link is usable"));
    ::SetUp("lo", true);
    EXPECT_TRUE((*gateway)->AwaitLine("Joined KNXnet/IP routing, 239.0.23.12 on lo"));
    ::SetUp("lo", false);
    EXPECT_TRUE((*gateway)->AwaitLine("Lost the network interface lo, waiting for it"));
    ::SetUp("lo", true);
    EXPECT_TRUE((*gateway)->AwaitLine("Joined KNXnet/IP routing, 239.0.23.12 on lo"));
    TheCoProcessor().InjectTelegram(FromHex("29 00 bc e0 11 01 0a 03 01 00 81"));
    EXPECT_EQ(Heard(network), "29 00 bc d0 11 01 0a 03 01 00 81");
}

TEST_F(GatewayNetwork, WaitsForAnInterfaceThatDoesNotExist)
{
    const std::string missing = "Not in KNXnet/IP routing: cannot use the network interface knx0: No such device";
    knxIp.reset();
    gateway.emplace(std::vector<std::string>{"--knxip", std::string("knx0/") + Group});
    EXPECT_TRUE((*gateway)->AwaitLine(missing));
    EXPECT_TRUE((*gateway)->AwaitLine("The link is usable"));
    Rename("lo", "knx0");
    EXPECT_TRUE((*gateway)->AwaitLine("Joined KNXnet/IP routing, 239.0.23.12 on knx0"));
    Rename("knx0", "lo");
    EXPECT_TRUE((*gateway)->AwaitLine("Lost the network interface knx0, waiting for it"));
    EXPECT_TRUE((*gateway)->AwaitLine(missing));
    const GatewayUser program = Connect(); // which it serves meanwhile
    EXPECT_EQ(program.Receive(), Usable);
}

TEST_F(GatewayNetwork, NothingThatTheNetworkSendsEndsIt)
{
    Start();
    for (std::size_t size = 0; size < 600; size += 5)
    {
        EXPECT_TRUE(network.Send(Bytes(size, 0x06)));
    }
    Say(network, "29 00 bc e0 11 02 0a 03 01 00 81");
    EXPECT_EQ(Heard(bus), "29 00 bc d0 11 02 0a 03 01 00 81");
    EXPECT_TRUE((*gateway)->AwaitLine("Received a datagram that is not understood, 100 so far: 06 06"));
}

TEST_F(GatewayNetwork, ItsMetricsTellWhatPassed)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("metrics");
    Start({"--metrics", file});
    const GatewayUser program = Connect();
    Say(network, "29 00 bc e0 11 02 0a 03 01 00 81");
    EXPECT_EQ(Heard(bus), "29 00 bc d0 11 02 0a 03 01 00 81");
    const auto content = [&file]
    {
        std::ifstream stream(file);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    };
    const auto has = [&content](const std::string& line)
    { return content().find("\norvel_gateway_" + line + "\n") != std::string::npos; };
    EXPECT_TRUE(
        Await([&has] { return has("network_telegrams_total{direction=\"from_network\",outcome=\"confirmed\"} 1"); }));
    EXPECT_TRUE(has("requests_total{outcome=\"confirmed\"} 1"));
    EXPECT_TRUE(has("network_joined 1"));
    EXPECT_TRUE(has("link_up 1"));
    EXPECT_TRUE(has("programs 1"));
}

} // namespace
