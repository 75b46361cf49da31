// Applications and other participants of KNXnet/IP routing.

#include "KnxIp.h"

#include "BenchKit/OnBoard.h"
#include "BenchKit/OwnNetwork.h"
#include "Knx/Telegram.h"

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <string>

using namespace std::chrono_literals;
using Knx::Bytes;
using Knx::FromHex;
using Knx::MulticastSocket;
using Simulator::Event;
using Simulator::KnxIp;
using Simulator::KnxIpCounters;
namespace Routing = Knx::Routing;

namespace
{

// "11 00 bc" as a message in a queue.
Bytes Message(const std::string& cemi)
{
    Bytes message = FromHex(cemi);
    message.insert(message.begin(), static_cast<uint8_t>(message.size()));
    return message;
}

class OnKnxIp : public OnBoard
{
protected:
    OnKnxIp()
    {
        EXPECT_TRUE(running);
        EXPECT_EQ(fromLink.Receive(), (Bytes{0x03, 0xB9, 0x00, 0x01}));
    }

    ~OnKnxIp() override
    {
        EXPECT_EQ(daemon.Stop(), 0);
    }

    void Tell(const Routing::Datagram& datagram) const
    {
        EXPECT_TRUE(other.Send(Routing::Encode(datagram)));
    }

    // The telegram that the other participant hears next.
    std::string Heard() const
    {
        std::optional<Bytes> received;
        EXPECT_TRUE(Await([&] { return (received = other.Receive()).has_value(); }));
        const auto datagram = Routing::Decode(received.value_or(Bytes()));
        return datagram ? Knx::ToHex(std::get<Routing::Indication>(*datagram).cemi) : "";
    }

    struct Network
    {
        Network()
        {
            EnterOwnNetwork();
        }
    };

    const Network network;
    const MulticastSocket other{"lo"};
    std::optional<KnxIp> knxIp{std::in_place, KnxIp::Settings{}, TheCoProcessor(), events};
    Daemon daemon;
    testing::AssertionResult running = AwaitRunning(daemon); // before the queues, which a restart would make anew
    Queue fromLink{"/cemiFromLL", Queue::For::Reading};
    Queue toLink{"/cemiToLL", Queue::For::Writing};
};

TEST_F(OnKnxIp, ATelegramOfAnApplicationIsHeardByOthersAndConfirmed)
{
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 00 00 0a 03 01 00 81")));
    EXPECT_EQ(Heard(), "29 00 bc e0 ff ff 0a 03 01 00 81");
    EXPECT_EQ(fromLink.Receive(), Message("2e 00 bc e0 00 00 0a 03 01 00 81"));
    EXPECT_TRUE(AwaitEvent({Event::TelegramConfirmed, Knx::FromHex("2e 00 bc e0 00 00 0a 03 01 00 81")}));
}

TEST_F(OnKnxIp, ATelegramOfOthersReachesTheApplicationAndDoesNotComeBack)
{
    Tell(Routing::Indication{FromHex("29 00 bc e0 11 01 0a 03 01 00 81")});
    EXPECT_EQ(fromLink.Receive(), Message("29 00 bc e0 11 01 0a 03 01 00 81"));
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 80")));
    EXPECT_EQ(Heard(), "29 00 bc e0 11 02 0a 03 01 00 80");
}

TEST_F(OnKnxIp, AnApplicationDoesNotHearItsOwnTelegram)
{
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 81")));
    EXPECT_EQ(fromLink.Receive(), Message("2e 00 bc e0 11 02 0a 03 01 00 81"));
    Tell(Routing::Indication{FromHex("29 00 bc e0 11 01 0a 03 01 00 81")});
    EXPECT_EQ(fromLink.Receive(), Message("29 00 bc e0 11 01 0a 03 01 00 81"));
}

TEST_F(OnKnxIp, ATelegramTakesItsTimeOnTheLine)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 10; ++count)
    {
        EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 81")));
    }
    for (int count = 0; count < 10; ++count)
    {
        EXPECT_EQ(fromLink.Receive(), Message("2e 00 bc e0 11 02 0a 03 01 00 81"));
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms); // 20.2 ms each
}

TEST_F(OnKnxIp, ATelegramThatTheNetworkDoesNotTakeIsConfirmedAsFailed)
{
    ::SetUp("lo", false);
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 81")));
    EXPECT_EQ(fromLink.Receive(), Message("2e 00 bd e0 11 02 0a 03 01 00 81"));
    EXPECT_TRUE(AwaitEvent({Event::TelegramNotSent, Knx::FromHex("2e 00 bd e0 11 02 0a 03 01 00 81")}));
}

TEST_F(OnKnxIp, AnIncompleteRequestIsConfirmedAsFailedAndHeardByNobody)
{
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 02 00 81")));
    EXPECT_EQ(fromLink.Receive(), Message("2e 00 bd e0 11 02 0a 03 02 00 81"));
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 80")));
    EXPECT_EQ(Heard(), "29 00 bc e0 11 02 0a 03 01 00 80");
}

TEST_F(OnKnxIp, WhatWasAskedForBeforeAResetIsNotConfirmedAfterIt)
{
    // Held back long enough for the daemon to notice the hang and to reset the co-processor.
    Tell(Routing::Busy{0, 4000, 0});
    EXPECT_TRUE(AwaitEvent(Event::KnxIpRouterBusy));
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 81")));
    EXPECT_TRUE(AwaitEvent(Event::TelegramToKnx));
    TheCoProcessor().Hang();
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_EQ(fromLink.Receive(), (Bytes{0x03, 0xB9, 0x00, 0x01}));

    EXPECT_EQ(Heard(), "29 00 bc e0 11 02 0a 03 01 00 81");
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 80")));
    EXPECT_EQ(fromLink.Receive(), Message("2e 00 bc e0 11 02 0a 03 01 00 80"));
}

TEST_F(OnKnxIp, MalformedDatagramsChangeNothing)
{
    for (std::size_t size = 0; size < 600; size += 5)
    {
        EXPECT_TRUE(other.Send(Bytes(size, 0x06)));
    }
    Tell(Routing::Indication{FromHex("29 00 bc e0 11 01 0a 03 01 00 81")});
    EXPECT_EQ(fromLink.Receive(), Message("29 00 bc e0 11 01 0a 03 01 00 81"));
    EXPECT_TRUE(AwaitEvent({Event::MalformedDatagram, Bytes(495, 0x06), 100}));
}

TEST_F(OnKnxIp, WithoutItRequestsAreConfirmedByTheCoProcessorAgain)
{
    knxIp.reset();
    EXPECT_TRUE(AwaitEvent({Event::KnxIpCounted, KnxIpCounters{}}));
    EXPECT_TRUE(toLink.Send(Message("11 00 bc e0 11 02 0a 03 01 00 81")));
    EXPECT_EQ(fromLink.Receive(), Message("2e 00 bc e0 11 02 0a 03 01 00 81"));
    EXPECT_EQ(other.Receive(), std::nullopt);
}

} // namespace
