#pragma once

#include "System/Descriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <string>
#include <utility>

sockaddr_un UnixAddress(const std::string& path);

/// A socket of the type that the gateway and its programs use, unless it is given another one.
System::Descriptor MakeUnixSocket(int type = SOCK_SEQPACKET);

/// One end of the connection between the gateway and a program. Packets and frames are hexadecimal digits.
class PacketConnection
{
public:
    explicit PacketConnection(System::Descriptor connected)
        : connection(std::move(connected))
    {
    }

    /// Sends the packet as it is.
    void SendPacket(const std::string& packet) const;

    /// Sends a frame with its size byte.
    void Send(const std::string& frame) const;

    /// Waits for the next packet; "nothing" if none came for long, "end" if the other side has ended the connection.
    std::string Receive() const;

    /// The same, but does not wait.
    std::string ReceiveNow() const;

    void Close()
    {
        connection.Close();
    }

    int Descriptor() const
    {
        return connection.Number();
    }

private:
    std::string ReceiveWithin(std::chrono::milliseconds patience) const;

    System::Descriptor connection;
};
