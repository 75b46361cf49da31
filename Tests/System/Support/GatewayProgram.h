#pragma once

#include "Await.h"
#include "ClientProgram.h"
#include "Daemon.h"

#include "Knx/HexDigits.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

/// A running gateway with a socket of its own.
class GatewayProgram
{
public:
    explicit GatewayProgram(std::vector<std::string> options = {})
        : path(directory.File("gateway"))
        , program(Command(path, std::move(options)), {})
    {
    }

    static std::vector<std::string> Command(const std::string& socket, std::vector<std::string> options)
    {
        options.insert(options.begin(), {GATEWAY, "--socket", socket});
        return options;
    }

    const std::string& Socket() const
    {
        return path;
    }

    Daemon* operator->()
    {
        return &program;
    }

private:
    TemporaryDirectory directory;
    std::string path;
    Daemon program;
};

inline System::Descriptor MakeUnixSocket()
{
    return System::Descriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
}

inline sockaddr_un UnixAddress(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    return address;
}

/// A program that uses the gateway. Messages are hexadecimal digits, with the size byte.
class GatewayUser
{
public:
    /// Waits until somebody serves the socket.
    explicit GatewayUser(const std::string& path)
    {
        const sockaddr_un address = UnixAddress(path);
        EXPECT_TRUE(Await(
            [&]
            {
                connection = MakeUnixSocket();
                return connect(connection.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
            }));
    }

    void SendPacket(const std::string& packet) const
    {
        const auto bytes = Knx::FromHex(packet);
        EXPECT_EQ(send(connection.Number(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    void Send(const std::string& frame) const
    {
        SendPacket(AsMessage(frame));
    }

    /// Waits for the next message; "nothing" if none came for long, "end" if the gateway has ended the connection.
    std::string Receive() const
    {
        return ReceiveWithin(Patience);
    }

    std::string ReceiveNow() const
    {
        return ReceiveWithin({});
    }

    void Close()
    {
        connection.Close();
    }

    int Descriptor() const
    {
        return connection.Number();
    }

    static std::string AsMessage(const std::string& frame)
    {
        auto bytes = Knx::FromHex(frame);
        bytes.insert(bytes.begin(), static_cast<uint8_t>(bytes.size()));
        return Knx::ToHex(bytes);
    }

private:
    std::string ReceiveWithin(std::chrono::milliseconds patience) const
    {
        pollfd entry{connection.Number(), POLLIN, 0};
        if (poll(&entry, 1, static_cast<int>(patience.count())) <= 0)
        {
            return "nothing";
        }
        Knx::Bytes bytes(300);
        const ssize_t size = recv(connection.Number(), bytes.data(), bytes.size(), 0);
        if (size <= 0)
        {
            return "end";
        }
        bytes.resize(static_cast<std::size_t>(size));
        return Knx::ToHex(bytes);
    }

    System::Descriptor connection;
};
