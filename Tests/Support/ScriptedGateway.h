#pragma once

#include "Knx/HexDigits.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

/// A gateway whose part the test plays, towards one program after the other.
class ScriptedGateway
{
public:
    /// The connection to one program.
    class Program
    {
    public:
        explicit Program(System::Descriptor accepted)
            : connection(std::move(accepted))
        {
        }

        /// Sends a frame with its size byte.
        void Put(const std::string& hex) const
        {
            auto message = Knx::FromHex(hex);
            message.insert(message.begin(), static_cast<uint8_t>(message.size()));
            EXPECT_EQ(send(connection.Number(), message.data(), message.size(), MSG_NOSIGNAL),
                      static_cast<ssize_t>(message.size()));
        }

        /// Waits for a packet, and gives it as hexadecimal digits; "end" when the program has ended the connection, "nothing" if
        /// nothing happened for long.
        std::string Take() const
        {
            for (int attempt = 0; attempt < 2; ++attempt)
            {
                pollfd entry{connection.Number(), POLLIN, 0};
                if (poll(&entry, 1, SYSTEM_TEST_PATIENCE * 1000) <= 0)
                {
                    return "nothing";
                }
                Knx::Bytes packet(1024);
                const ssize_t size = recv(connection.Number(), packet.data(), packet.size(), 0);
                if (size > 0)
                {
                    packet.resize(static_cast<std::size_t>(size));
                    return Knx::ToHex(packet);
                }
                // A program that ends without having read everything is told first, and only then what it had sent.
            }
            return "end";
        }

        void End()
        {
            connection.Close();
        }

    private:
        System::Descriptor connection;
    };

    /// Listens in a directory of its own.
    ScriptedGateway()
        : ScriptedGateway((MakeDirectory() / "gateway").string())
    {
        directory = std::filesystem::path(socketPath).parent_path();
    }

    /// Listens at this path.
    explicit ScriptedGateway(const std::string& path)
        : socketPath(path)
        , listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0) << path;
        EXPECT_EQ(listen(listener.Number(), 16), 0);
    }

    ~ScriptedGateway()
    {
        unlink(socketPath.c_str());
        if (!directory.empty())
        {
            std::filesystem::remove(directory);
        }
    }

    ScriptedGateway(const ScriptedGateway&) = delete;
    ScriptedGateway& operator=(const ScriptedGateway&) = delete;

    std::string Path() const
    {
        return socketPath;
    }

    /// Ends, and leaves the socket behind as one that was killed does.
    void Die()
    {
        listener.Close();
    }

    /// Waits for the next program, which is not greeted yet.
    Program Accept() const
    {
        pollfd entry{listener.Number(), POLLIN, 0};
        EXPECT_EQ(poll(&entry, 1, SYSTEM_TEST_PATIENCE * 1000), 1) << "no program connected";
        return Program(System::Descriptor(accept4(listener.Number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
    }

    /// Waits for the next program, and tells it the state of the link.
    Program Greet(const std::string& linkState = "b9 00 01") const
    {
        Program program = Accept();
        program.Put(linkState);
        return program;
    }

private:
    static std::filesystem::path MakeDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvel-gateway-XXXXXX").string();
        return mkdtemp(pattern.data());
    }

    std::string socketPath;
    std::filesystem::path directory; // its own, if it has one
    System::Descriptor listener;
};
