#include "Knx/MulticastSocket.h"

#include "Knx/Datagram.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace Knx
{

namespace
{

constexpr int TimeToLive = 16;             // routers between networks, as all participants have it
constexpr int ReceiveBuffer = 1024 * 1024; // bytes; the kernel gives as much of it as it allows

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + strerror(errno));
}

template<typename Value>
void Set(int socket, int level, int option, const Value& value, const char* what)
{
    if (setsockopt(socket, level, option, &value, sizeof(value)) == -1)
    {
        Fail(std::string("cannot ") + what);
    }
}

int MakeSocket()
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket == -1)
    {
        Fail("cannot make a socket for KNXnet/IP");
    }
    return socket;
}

sockaddr_in Address(in_addr host, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr = host;
    address.sin_port = htons(port);
    return address;
}

in_addr ParseGroup(const std::string& group)
{
    in_addr address{};
    if (inet_pton(AF_INET, group.c_str(), &address) != 1 || !IN_MULTICAST(ntohl(address.s_addr)))
    {
        throw std::runtime_error("'" + group + "' is no IPv4 multicast group, 224.0.0.0 to 239.255.255.255");
    }
    return address;
}

void Bind(int socket, const sockaddr_in& address)
{
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == -1)
    {
        Fail("cannot use port " + std::to_string(ntohs(address.sin_port)) + " for KNXnet/IP");
    }
}

void CheckName(const std::string& interfaceName)
{
    if (interfaceName.empty() || interfaceName.size() >= IFNAMSIZ)
    {
        throw std::runtime_error("'" + interfaceName + "' is no name of a network interface");
    }
}

// The interface's own, by which what it sends is known.
in_addr AddressOf(int socket, const std::string& interfaceName)
{
    CheckName(interfaceName);
    ifreq request{};
    std::copy(interfaceName.begin(), interfaceName.end(), std::begin(request.ifr_name));
    if (ioctl(socket, SIOCGIFFLAGS, &request) == -1)
    {
        Fail("cannot use the network interface " + interfaceName);
    }
    if ((static_cast<unsigned>(request.ifr_flags) & IFF_UP) == 0)
    {
        throw std::runtime_error("the network interface " + interfaceName + " is down: ip link set " + interfaceName +
                                 " up");
    }
    if (ioctl(socket, SIOCGIFADDR, &request) == -1)
    {
        Fail("the network interface " + interfaceName + " has no IPv4 address");
    }
    sockaddr_in address{};
    std::memcpy(&address, &request.ifr_addr, sizeof(address));
    return address.sin_addr;
}

} // namespace

MulticastSocket::MulticastSocket(const std::string& interfaceName, const std::string& groupAddress)
    : interface(interfaceName)
    , group(Address(ParseGroup(groupAddress), Port))
{
    try
    {
        Open();
    }
    catch (...)
    {
        Close();
        throw;
    }
}

MulticastSocket::~MulticastSocket()
{
    Close();
}

void MulticastSocket::Open()
{
    sender = MakeSocket();
    receiver = MakeSocket();
    const in_addr address = AddressOf(sender, interface);
    interfaceIndex = static_cast<int>(if_nametoindex(interface.c_str()));
    if (interfaceIndex == 0)
    {
        Fail("cannot use the network interface " + interface);
    }
    ip_mreqn membership{};
    membership.imr_multiaddr = group.sin_addr;
    membership.imr_ifindex = interfaceIndex;

    Bind(sender, Address(address, 0));
    Set(sender, IPPROTO_IP, IP_MULTICAST_IF, membership, "send to the network interface");
    Set(sender, IPPROTO_IP, IP_MULTICAST_TTL, TimeToLive, "send to other networks");
    socklen_t size = sizeof(own);
    if (getsockname(sender, reinterpret_cast<sockaddr*>(&own), &size) == -1)
    {
        Fail("cannot tell its own datagrams on the network interface " + interface);
    }

    Set(receiver, SOL_SOCKET, SO_REUSEADDR, 1, "share the port of KNXnet/IP");
    Set(receiver, SOL_SOCKET, SO_RCVBUF, ReceiveBuffer, "have room for datagrams");
    Bind(receiver, group);
    // Without the second, what comes in by an interface that another program has joined would be received too.
    Set(receiver, IPPROTO_IP, IP_ADD_MEMBERSHIP, membership, "join the multicast group of KNXnet/IP");
    Set(receiver, IPPROTO_IP, IP_MULTICAST_ALL, 0, "keep to one network interface");
}

void MulticastSocket::Close() const
{
    for (const int socket : {receiver, sender})
    {
        if (socket != -1)
        {
            close(socket);
        }
    }
}

bool MulticastSocket::Send(const Bytes& datagram) const
{
    return sendto(sender, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&group),
                  sizeof(group)) != -1;
}

bool MulticastSocket::IsJoined() const
{
    try
    {
        return AddressOf(sender, interface).s_addr == own.sin_addr.s_addr &&
               static_cast<int>(if_nametoindex(interface.c_str())) == interfaceIndex;
    }
    catch (const std::runtime_error&)
    {
        return false;
    }
}

std::optional<Bytes> MulticastSocket::Receive() const
{
    for (;;)
    {
        Bytes datagram(Routing::MaxDatagram);
        sockaddr_in from{};
        socklen_t fromSize = sizeof(from);
        const ssize_t size =
            recvfrom(receiver, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
        if (size == -1)
        {
            return std::nullopt;
        }
        if (from.sin_port != own.sin_port || from.sin_addr.s_addr != own.sin_addr.s_addr)
        {
            datagram.resize(static_cast<std::size_t>(size));
            return datagram;
        }
    }
}

MulticastPlace ParseMulticastPlace(const std::string& text)
{
    const std::size_t slash = text.find('/');
    MulticastPlace place;
    place.interface = text.substr(0, slash);
    CheckName(place.interface);
    if (slash != std::string::npos)
    {
        place.group = text.substr(slash + 1);
        ParseGroup(place.group);
    }
    return place;
}

} // namespace Knx
