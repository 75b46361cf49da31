#include "Network.h"

#include "BenchKit/Await.h"
#include "BenchKit/OwnNetwork.h"
#include "CapturedLog.h"

#include <gmock/gmock.h>

#include <poll.h>

#include <optional>
#include <string>
#include <vector>

using namespace OrvelGateway;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using UnitTests::CapturedLog;
namespace Routing = Knx::Routing;

namespace
{

constexpr int Glimpse = 100; // ms, for what must not

const Bytes OnBus = Knx::FromHex("29 00 bc e0 11 01 0a 03 01 00 81");
const Bytes OnNetwork = Knx::FromHex("29 00 bc d0 11 01 0a 03 01 00 81");
const Bytes Asked = Knx::FromHex("11 00 bc c0 11 01 0a 03 01 00 81");

// A network on a loopback interface, with a clock that the test moves and another participant.
class NetworkTest : public testing::Test
{
protected:
    static Network::Settings SettingsOf(const std::string& place)
    {
        return {Knx::ParseMulticastPlace(place), {}};
    }

    void SetUp() override
    {
        EnterOwnNetwork();
        other.emplace("lo");
    }

    void Start(const std::string& place = "lo")
    {
        network.emplace(SettingsOf(place), [this](const Bytes& cemi) { requested.push_back(cemi); });
        network->Look();
    }

    bool AwaitReadable() const
    {
        pollfd entry{network->Descriptor(), POLLIN, 0};
        return poll(&entry, 1, PatienceMilliseconds) == 1;
    }

    // The other participant sends a datagram, and the network takes it.
    void Hear(const Routing::Datagram& datagram)
    {
        const uint64_t before = Heard();
        EXPECT_TRUE(other->Send(Routing::Encode(datagram)));
        // cppcheck-suppress knownConditionTrueFalse ; the network counts meanwhile
        while (Heard() == before && AwaitReadable()) // also by what the network sent itself
        {
            network->Receive(now);
            network->Advance(now);
        }
        EXPECT_NE(Heard(), before);
    }

    // Grows with each datagram of the other participant.
    uint64_t Heard() const
    {
        const auto port = network->Count().port;
        return requested.size() + port.lost + port.othersLost + port.othersBusy + port.malformed + port.ignored;
    }

    // What the other participant receives next.
    static std::optional<Routing::Datagram> ReceivedBy(const Knx::MulticastSocket& participant,
                                                       int patience = PatienceMilliseconds)
    {
        pollfd entry{participant.Descriptor(), POLLIN, 0};
        poll(&entry, 1, patience);
        const auto datagram = participant.Receive();
        return datagram ? Routing::Decode(*datagram) : std::nullopt;
    }

    static Bytes TelegramOf(const std::optional<Routing::Datagram>& datagram)
    {
        return datagram ? std::get<Routing::Indication>(*datagram).cemi : Bytes();
    }

    log4cplus::helpers::SharedObjectPtr<CapturedLog> log = CapturedLog::Attach();
    Network::Clock::time_point now{1h};
    std::optional<Knx::MulticastSocket> other;
    std::vector<Bytes> requested;
    std::optional<Network> network;
};

TEST_F(NetworkTest, ATelegramGoesEachWay)
{
    Start();
    EXPECT_TRUE(network->IsJoined());
    EXPECT_THAT(log->Lines(), ElementsAre("INFO Network Joined KNXnet/IP routing, 224.0.23.12 on lo"));
    network->FromBus(OnBus);
    network->Advance(now);
    EXPECT_EQ(TelegramOf(ReceivedBy(*other)), OnNetwork);
    network->Receive(now);
    EXPECT_THAT(requested, IsEmpty()) << "its own datagram";
    Hear(Routing::Indication{OnNetwork});
    EXPECT_THAT(requested, ElementsAre(Asked));
    network->OnConfirmation(true);
    EXPECT_EQ(network->Count().fromNetwork, 1U);
    EXPECT_EQ(network->Count().toNetwork, 1U);
}

TEST_F(NetworkTest, AGroupOfItsOwnKeepsItFromOthers)
{
    Start("lo/239.1.2.3");
    const Knx::MulticastSocket same("lo", "239.1.2.3");
    network->FromBus(OnBus);
    network->Advance(now);
    EXPECT_EQ(TelegramOf(ReceivedBy(same)), OnNetwork);
    EXPECT_EQ(ReceivedBy(*other, Glimpse), std::nullopt);
}

TEST_F(NetworkTest, SaysOnceThatTheInterfaceIsNotThereAndJoinsWhenItCame)
{
    ::SetUp("lo", false);
    Start();
    network->Look();
    network->Look();
    EXPECT_FALSE(network->IsJoined());
    EXPECT_THAT(log->Lines(), ElementsAre("WARN Network Not in KNXnet/IP routing: the network interface lo is down: "
                                          "ip link set lo up"));
    ::SetUp("lo", true);
    network->Look();
    EXPECT_TRUE(network->IsJoined());
    Hear(Routing::Indication{OnNetwork});
    EXPECT_THAT(requested, ElementsAre(Asked));
}

TEST_F(NetworkTest, JoinsAnewWhenTheInterfaceWasGone)
{
    Start();
    const int descriptor = network->Descriptor();
    log->Clear();
    ::SetUp("lo", false);
    network->Look();
    EXPECT_FALSE(network->IsJoined());
    EXPECT_THAT(log->Lines(), ElementsAre("WARN Network Lost the network interface lo, waiting for it",
                                          StartsWith("WARN Network Not in KNXnet/IP routing: ")));
    SetAddress("lo", "127.0.0.2"); // it comes back as another
    ::SetUp("lo", true);
    log->Clear();
    network->Look();
    EXPECT_TRUE(network->IsJoined());
    EXPECT_THAT(log->Lines(), ElementsAre("INFO Network Joined KNXnet/IP routing, 224.0.23.12 on lo"));
    EXPECT_EQ(network->Descriptor(), descriptor);
    other.emplace("lo");
    Hear(Routing::Indication{OnNetwork});
    EXPECT_THAT(requested, ElementsAre(Asked));
    network->FromBus(OnBus);
    network->Advance(now);
    EXPECT_EQ(TelegramOf(ReceivedBy(*other)), OnNetwork);
}

TEST_F(NetworkTest, SaysEachTimeThatTheInterfaceIsGone)
{
    Start();
    for (int times = 0; times < 2; ++times)
    {
        ::SetUp("lo", false);
        network->Look();
        ::SetUp("lo", true);
        network->Look();
    }
    const std::string joined = "INFO Network Joined KNXnet/IP routing, 224.0.23.12 on lo";
    const std::string lost = "WARN Network Lost the network interface lo, waiting for it";
    const std::string why =
        "WARN Network Not in KNXnet/IP routing: the network interface lo is down: ip link set lo up";
    EXPECT_THAT(log->Lines(), ElementsAre(joined, lost, why, joined, lost, why, joined));
}

TEST_F(NetworkTest, AnInterfaceThatOnlyChangedItsAddressIsJoinedAnew)
{
    Start();
    SetAddress("lo", "127.0.0.2");
    network->Look();
    EXPECT_TRUE(network->IsJoined());
    EXPECT_EQ(log->Lines().size(), 3U); // joined, lost, joined
}

TEST_F(NetworkTest, TellsWhatHasToWait)
{
    Start();
    EXPECT_FALSE(network->NextDue());
    network->FromBus(OnBus);
    network->FromBus(OnBus);
    network->Advance(now);
    EXPECT_EQ(network->NextDue(), now + NetworkRouter::Gap);
}

TEST_F(NetworkTest, WithoutTheInterfaceTelegramsAreCountedAsNotSent)
{
    ::SetUp("lo", false);
    Start();
    network->FromBus(OnBus);
    network->Advance(now);
    EXPECT_EQ(network->Count().notSent, 1U);
}

TEST_F(NetworkTest, TellsTheOthersThatTheBusIsNotReached)
{
    Start();
    network->OnLink(false);
    log->Clear();
    Hear(Routing::Indication{OnNetwork});
    const auto datagram = ReceivedBy(*other);
    ASSERT_TRUE(datagram && std::holds_alternative<Routing::Lost>(*datagram));
    EXPECT_EQ(std::get<Routing::Lost>(*datagram).deviceState, 1);
    EXPECT_EQ(std::get<Routing::Lost>(*datagram).count, 1);
    EXPECT_THAT(requested, IsEmpty());
    EXPECT_THAT(log->Lines(), ElementsAre("WARN Network Lost 1 telegrams from the network, 1 so far"));
}

TEST_F(NetworkTest, LogsItsLossesSeldomWhileTheBusIsNotReached)
{
    Start();
    network->OnLink(false);
    log->Clear();
    for (int count = 0; count < 12; ++count)
    {
        now += 1s;
        Hear(Routing::Indication{OnNetwork});
    }
    EXPECT_THAT(log->Lines(), ElementsAre("WARN Network Lost 1 telegrams from the network, 1 so far",
                                          "WARN Network Lost 1 telegrams from the network, 10 so far"));
}

TEST_F(NetworkTest, LogsWhatOthersDoAndSeldomInAFlood)
{
    Start();
    log->Clear();
    for (int count = 0; count < 10; ++count)
    {
        Hear(Routing::Lost{0, 5});
        Hear(Routing::Busy{0, 100, 0});
        Hear(Routing::Indication{{0x29, 0x00}});
    }
    EXPECT_THAT(
        log->Lines(),
        ElementsAre("WARN Network Another router lost 5 telegrams, all of them 5 so far",
                    "INFO Network Another router asked for a pause of 100 ms, 1 times so far",
                    "WARN Network Received a datagram that is not understood, 1 so far: 06 10 05 30 00 08 29 00",
                    "WARN Network Another router lost 5 telegrams, all of them 50 so far",
                    "INFO Network Another router asked for a pause of 100 ms, 10 times so far",
                    "WARN Network Received a datagram that is not understood, 10 so far: 06 10 05 30 00 08 29 "
                    "00"));
}

TEST_F(NetworkTest, TakesAFewDatagramsAtATime)
{
    Start();
    for (int count = 0; count < 100; ++count)
    {
        EXPECT_TRUE(other->Send(Routing::Encode(Routing::Other{0x0201, {}})));
    }
    ASSERT_TRUE(AwaitReadable());
    network->Receive(now);
    EXPECT_LE(network->Count().port.ignored, 64U);
    while (network->Count().port.ignored < 100 && AwaitReadable())
    {
        network->Receive(now);
    }
    EXPECT_EQ(network->Count().port.ignored, 100U);
}

} // namespace
