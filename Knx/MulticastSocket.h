#pragma once

#include "Knx/HexDigits.h"

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Knx
{

/// A multicast group of KNXnet/IP routing on one network interface, in the network namespace of the thread that makes it.
/// Others on the same machine may be in the group too.
class MulticastSocket
{
public:
    static constexpr const char* Group = "224.0.23.12"; ///< unless an installation has one of its own
    static constexpr uint16_t Port = 3671;

    /// Throws std::runtime_error with one line when the interface or the group cannot be used.
    explicit MulticastSocket(const std::string& interfaceName, const std::string& groupAddress = Group);
    ~MulticastSocket();

    MulticastSocket(const MulticastSocket&) = delete;
    MulticastSocket& operator=(const MulticastSocket&) = delete;

    /// For poll. Both operations below are non-blocking.
    int Descriptor() const
    {
        return receiver;
    }

    /// False when the network does not take it.
    bool Send(const Bytes& datagram) const;

    /// The next datagram of somebody else; nothing when there is none. What this socket sent comes back to it and is left
    /// out. One that is longer than any datagram of routing is cut off.
    std::optional<Bytes> Receive() const;

    /// Whether the interface is still the one that was joined: it is up, and has the address that it had. If it is not, this
    /// socket neither hears anything nor is heard, and another may have to be made.
    bool IsJoined() const;

private:
    void Open();
    void Close() const;

    const std::string interface;
    const sockaddr_in group;
    int receiver = -1;
    int sender = -1; // with a port of its own, by which its datagrams are told from those of others on this machine
    int interfaceIndex = 0;
    sockaddr_in own{};
};

/// A multicast group on a network interface.
struct MulticastPlace
{
    std::string interface;
    std::string group = MulticastSocket::Group;
};

/// "eth0", or "eth0/239.1.2.3". Throws std::runtime_error with one line when it cannot be one; whether there is such an
/// interface is another question.
MulticastPlace ParseMulticastPlace(const std::string& text);

} // namespace Knx
