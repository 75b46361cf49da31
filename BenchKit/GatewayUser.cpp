#include "BenchKit/GatewayUser.h"

#include "BenchKit/Await.h"

#include <gtest/gtest.h>

namespace
{

System::Descriptor ConnectedTo(const std::string& path)
{
    const sockaddr_un address = UnixAddress(path);
    System::Descriptor connection;
    const auto connects = [&]
    {
        connection = MakeUnixSocket();
        return connect(connection.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    };
    EXPECT_TRUE(Await(connects)) << path;
    return connection;
}

} // namespace

GatewayUser::GatewayUser(const std::string& path)
    : PacketConnection(ConnectedTo(path))
{
}
