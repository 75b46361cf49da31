#pragma once

#include "Knx/HexDigits.h"

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Knx
{

/// The multicast group of KNXnet/IP routing on one network interface, in the network namespace of the thread that makes it.
/// Others on the same machine may be in the group too.
class MulticastSocket
{
public:
    static constexpr const char* Group = "224.0.23.12";
    static constexpr uint16_t Port = 3671;

    /// Throws std::runtime_error with one line when the interface cannot be used.
    explicit MulticastSocket(const std::string& interfaceName);
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

private:
    void Open(const std::string& interfaceName);
    void Close() const;

    int receiver = -1;
    int sender = -1; // with a port of its own, by which its datagrams are told from those of others on this machine
    sockaddr_in own{};
};

} // namespace Knx
