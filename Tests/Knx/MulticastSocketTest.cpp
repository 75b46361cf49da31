#include "Knx/MulticastSocket.h"

#include "BenchKit/Await.h"
#include "BenchKit/OwnNetwork.h"

#include "System/Descriptor.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>

using namespace Knx;
using testing::HasSubstr;

namespace
{

constexpr int Glimpse = 100; // ms, for what must not

const Bytes Hello{1, 2, 3};
const Bytes Answer{4, 5};

class MulticastSocketTest : public testing::Test
{
protected:
    void SetUp() override
    {
        EnterOwnNetwork();
    }

    static std::optional<Bytes> Receive(const MulticastSocket& socket, int patience = PatienceMilliseconds)
    {
        pollfd entry{socket.Descriptor(), POLLIN, 0};
        poll(&entry, 1, patience);
        return socket.Receive();
    }

    static std::string FailureOn(const std::string& interface, const std::string& group = MulticastSocket::Group)
    {
        try
        {
            const MulticastSocket socket(interface, group);
            return "";
        }
        catch (const std::runtime_error& failure)
        {
            return failure.what();
        }
    }
};

TEST_F(MulticastSocketTest, TwoOfOneMachineHearEachOtherAndNotThemselves)
{
    const MulticastSocket first("lo");
    const MulticastSocket second("lo");
    EXPECT_TRUE(first.Send(Hello));
    EXPECT_EQ(Receive(second), Hello);
    EXPECT_TRUE(second.Send(Answer));
    EXPECT_EQ(Receive(first), Answer); // and not its own, which came before
    EXPECT_EQ(Receive(second, Glimpse), std::nullopt);
}

TEST_F(MulticastSocketTest, SomebodyElseWithTheAddressOfThisMachineIsHeard)
{
    const MulticastSocket socket("lo");
    const System::Descriptor other(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    setsockopt(other.Number(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(3671);
    inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
    ASSERT_EQ(bind(other.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    setsockopt(other.Number(), IPPROTO_IP, IP_MULTICAST_IF, &address.sin_addr, sizeof(address.sin_addr));
    inet_pton(AF_INET, "224.0.23.12", &address.sin_addr);
    EXPECT_EQ(sendto(other.Number(), Hello.data(), Hello.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                     sizeof(address)),
              static_cast<ssize_t>(Hello.size()));
    EXPECT_EQ(Receive(socket), Hello);
}

TEST_F(MulticastSocketTest, ThereMayBeNothingToReceive)
{
    EXPECT_EQ(MulticastSocket("lo").Receive(), std::nullopt);
}

TEST_F(MulticastSocketTest, AnEmptyDatagramIsOne)
{
    const MulticastSocket first("lo");
    const MulticastSocket second("lo");
    EXPECT_TRUE(first.Send({}));
    EXPECT_EQ(Receive(second), Bytes());
}

TEST_F(MulticastSocketTest, ADatagramLongerThanAnyIsCutOff)
{
    const MulticastSocket first("lo");
    const MulticastSocket second("lo");
    EXPECT_TRUE(first.Send(Bytes(5000, 7)));
    EXPECT_EQ(Receive(second), Bytes(1024, 7));
}

TEST_F(MulticastSocketTest, SaysWhyAnInterfaceCannotBeUsed)
{
    EXPECT_THAT(FailureOn("none"), HasSubstr("cannot use the network interface none: "));
    EXPECT_THAT(FailureOn(""), HasSubstr("'' is no name of a network interface"));
    EXPECT_THAT(FailureOn(std::string(IFNAMSIZ, 'x')), HasSubstr("xx' is no name of a network interface"));
    SetAddress("lo", "0.0.0.0");
    EXPECT_THAT(FailureOn("lo"), HasSubstr("the network interface lo has no IPv4 address"));
    ::SetUp("lo", false);
    EXPECT_EQ(FailureOn("lo"), "the network interface lo is down: ip link set lo up");
}

TEST_F(MulticastSocketTest, GroupsDoNotHearEachOther)
{
    const MulticastSocket first("lo", "239.1.2.3");
    const MulticastSocket second("lo", "239.1.2.3");
    const MulticastSocket usual("lo");
    EXPECT_TRUE(usual.Send(Answer));
    EXPECT_TRUE(first.Send(Hello));
    EXPECT_EQ(Receive(second), Hello);
    EXPECT_EQ(Receive(usual, Glimpse), std::nullopt);
}

TEST_F(MulticastSocketTest, SaysWhichGroupIsNone)
{
    for (const char* const group : {"", "223.255.255.255", "240.0.0.0", "ff02::1", "224.0.23", "224.0.23.12 "})
    {
        EXPECT_EQ(FailureOn("lo", group),
                  std::string("'") + group + "' is no IPv4 multicast group, 224.0.0.0 to 239.255.255.255");
    }
    EXPECT_EQ(FailureOn("lo", "224.0.0.0"), "");
    EXPECT_EQ(FailureOn("lo", "239.255.255.255"), "");
}

TEST_F(MulticastSocketTest, KnowsWhetherItsInterfaceIsStillThere)
{
    const MulticastSocket socket("lo");
    EXPECT_TRUE(socket.IsJoined());
    ::SetUp("lo", false);
    EXPECT_FALSE(socket.IsJoined());
    ::SetUp("lo", true);
    EXPECT_TRUE(socket.IsJoined());
    SetAddress("lo", "127.0.0.2");
    EXPECT_FALSE(socket.IsJoined());
}

TEST_F(MulticastSocketTest, SendsNothingWhenTheInterfaceIsGoneMeanwhile)
{
    const MulticastSocket socket("lo");
    ::SetUp("lo", false);
    EXPECT_FALSE(socket.Send(Hello));
}

TEST(MulticastPlace, IsAnInterfaceWithTheUsualGroupOrOneOfItsOwn)
{
    EXPECT_EQ(ParseMulticastPlace("eth0").interface, "eth0");
    EXPECT_EQ(ParseMulticastPlace("eth0").group, "224.0.23.12");
    EXPECT_EQ(ParseMulticastPlace("eth0.7/239.1.2.3").interface, "eth0.7");
    EXPECT_EQ(ParseMulticastPlace("eth0.7/239.1.2.3").group, "239.1.2.3");
}

TEST(MulticastPlace, NeedsANameAndAMulticastGroup)
{
    for (const char* const text :
         {"", "/239.1.2.3", "0123456789abcdef", "eth0/", "eth0/10.1.2.3", "eth0/239.1.2.3/1", "eth0/ff02::1"})
    {
        EXPECT_THROW(ParseMulticastPlace(text), std::runtime_error) << text;
    }
}

// Another interface than lo, whose other end is the test.
class Tunnel
{
public:
    Tunnel()
        : descriptor(open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK))
    {
        ifreq request{};
        std::strcpy(request.ifr_name, "tunnel");
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        if (descriptor.IsOpen() && ioctl(descriptor.Number(), TUNSETIFF, &request) != -1)
        {
            SetAddress("tunnel", "10.1.2.3");
            SetUp("tunnel", true);
            works = true;
        }
    }

    bool Works() const
    {
        return works;
    }

    // The next packet of UDP that leaves the machine by this interface.
    Bytes Leaving() const
    {
        Bytes packet(2000);
        for (pollfd entry{descriptor.Number(), POLLIN, 0}; poll(&entry, 1, PatienceMilliseconds) == 1;)
        {
            const ssize_t size = read(descriptor.Number(), packet.data(), packet.size());
            if (size > static_cast<ssize_t>(sizeof(iphdr)) && packet[0] == 0x45 && packet[9] == IPPROTO_UDP)
            {
                packet.resize(static_cast<std::size_t>(size));
                return packet;
            }
        }
        return {};
    }

    // A packet of UDP comes in by this interface, as if from another machine.
    void Enter(const Bytes& payload) const
    {
        iphdr ip{};
        ip.version = 4;
        ip.ihl = 5;
        ip.ttl = 1;
        ip.protocol = IPPROTO_UDP;
        ip.tot_len = htons(static_cast<uint16_t>(sizeof(ip) + sizeof(udphdr) + payload.size()));
        inet_pton(AF_INET, "10.1.2.4", &ip.saddr);
        inet_pton(AF_INET, "224.0.23.12", &ip.daddr);
        udphdr udp{};
        udp.uh_sport = htons(3671);
        udp.uh_dport = htons(3671);
        udp.uh_ulen = htons(static_cast<uint16_t>(sizeof(udp) + payload.size()));
        std::array<uint16_t, sizeof(ip) / 2> words{};
        std::memcpy(words.data(), &ip, sizeof(ip));
        uint32_t sum = 0;
        for (const uint16_t word : words)
        {
            sum += word;
        }
        sum = (sum & 0xFFFFU) + (sum >> 16U);
        ip.check = static_cast<uint16_t>(~(sum + (sum >> 16U)));

        Bytes packet(sizeof(ip) + sizeof(udp));
        std::memcpy(packet.data(), &ip, sizeof(ip));
        std::memcpy(&packet[sizeof(ip)], &udp, sizeof(udp));
        packet.insert(packet.end(), payload.begin(), payload.end());
        EXPECT_EQ(write(descriptor.Number(), packet.data(), packet.size()), static_cast<ssize_t>(packet.size()));
    }

private:
    System::Descriptor descriptor;
    bool works = false;
};

TEST_F(MulticastSocketTest, AnInterfaceThatWasMadeAnewIsAnotherOne)
{
    std::optional<Tunnel> tunnel(std::in_place);
    if (!tunnel->Works())
    {
        GTEST_SKIP() << "a second network interface needs /dev/net/tun (modprobe tun)";
    }
    const MulticastSocket socket("tunnel");
    EXPECT_TRUE(socket.IsJoined());
    tunnel.reset();
    EXPECT_FALSE(socket.IsJoined());
    tunnel.emplace();
    EXPECT_FALSE(socket.IsJoined());
}

TEST_F(MulticastSocketTest, KeepsToTheInterfaceThatWasChosen)
{
    const Tunnel tunnel;
    if (!tunnel.Works())
    {
        GTEST_SKIP() << "a second network interface needs /dev/net/tun (modprobe tun)";
    }
    const MulticastSocket onTunnel("tunnel");
    const MulticastSocket onLoopback("lo");

    EXPECT_TRUE(onTunnel.Send(Hello));
    const Bytes packet = tunnel.Leaving();
    ASSERT_EQ(packet.size(), sizeof(iphdr) + sizeof(udphdr) + Hello.size());
    EXPECT_EQ(packet[8], 16); // time to live
    EXPECT_EQ(Bytes(packet.begin() + 12, packet.begin() + 20), (Bytes{10, 1, 2, 3, 224, 0, 23, 12}));
    EXPECT_EQ(Bytes(packet.begin() + 22, packet.begin() + 24), (Bytes{3671 >> 8, 3671 & 0xFF}));

    tunnel.Enter(Answer);
    EXPECT_EQ(Receive(onTunnel), Answer);
    EXPECT_EQ(Receive(onLoopback, Glimpse), std::nullopt);
}

} // namespace
