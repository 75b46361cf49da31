#include "BenchKit/PacketConnection.h"

#include "BenchKit/Await.h"
#include "BenchKit/Messages.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

sockaddr_un UnixAddress(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LT(path.size(), sizeof(address.sun_path));
    path.copy(std::begin(address.sun_path), sizeof(address.sun_path) - 1);
    return address;
}

System::Descriptor MakeUnixSocket(int type)
{
    return System::Descriptor(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
}

void PacketConnection::SendPacket(const std::string& packet) const
{
    const auto bytes = Knx::FromHex(packet);
    EXPECT_EQ(send(connection.Number(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

void PacketConnection::Send(const std::string& frame) const
{
    SendPacket(AsMessage(frame));
}

std::string PacketConnection::Receive() const
{
    return ReceiveWithin(Patience);
}

std::string PacketConnection::ReceiveNow() const
{
    return ReceiveWithin({});
}

std::string PacketConnection::ReceiveWithin(std::chrono::milliseconds patience) const
{
    Knx::Bytes packet(1024); // longer than any
    ssize_t size = -1;
    do
    {
        pollfd entry{connection.Number(), POLLIN, 0};
        if (poll(&entry, 1, static_cast<int>(patience.count())) <= 0)
        {
            return "nothing";
        }
        size = recv(connection.Number(), packet.data(), packet.size(), 0);
    } while (size == -1 &&
             errno == ECONNRESET); // told first that the other side left something unread, then what it had sent
    if (size <= 0)
    {
        return "end";
    }
    packet.resize(static_cast<std::size_t>(size));
    return Knx::ToHex(packet);
}
