#include "BenchKit/ScriptedGateway.h"

#include "BenchKit/Await.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

ScriptedGateway::ScriptedGateway()
    : directory(std::in_place)
    , socketPath(directory->File("gateway"))
{
    Listen();
}

ScriptedGateway::ScriptedGateway(const std::string& path)
    : socketPath(path)
{
    Listen();
}

ScriptedGateway::~ScriptedGateway()
{
    unlink(socketPath.c_str());
}

void ScriptedGateway::Listen()
{
    const sockaddr_un address = UnixAddress(socketPath);
    EXPECT_EQ(bind(listener.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0) << socketPath;
    EXPECT_EQ(listen(listener.Number(), 16), 0);
}

PacketConnection ScriptedGateway::Accept() const
{
    pollfd entry{listener.Number(), POLLIN, 0};
    EXPECT_EQ(poll(&entry, 1, PatienceMilliseconds), 1) << "no program connected";
    return PacketConnection(
        System::Descriptor(accept4(listener.Number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
}

PacketConnection ScriptedGateway::Greet(const std::string& linkState) const
{
    PacketConnection program = Accept();
    program.Send(linkState);
    return program;
}
