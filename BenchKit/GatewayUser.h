#pragma once

#include "BenchKit/PacketConnection.h"

/// A program that uses the gateway.
class GatewayUser : public PacketConnection
{
public:
    /// Waits until somebody serves the socket.
    explicit GatewayUser(const std::string& path);
};
