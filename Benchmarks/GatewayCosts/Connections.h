#pragma once

#include "System/Descriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// A telegram that a program sends, or gets: a value between two group addresses.
struct Telegram
{
    uint16_t group;
    uint8_t value;
};

/// A program's connection, as the gateway and as knxd have it: each gives a program what others say.
class Connection
{
public:
    virtual ~Connection() = default;

    /// Waits for what there is room for.
    virtual void Send(const Telegram& telegram) const = 0;

    /// Waits for the next telegram, whatever it is. Throws std::runtime_error if none came for long, or the connection ended.
    virtual void Receive() const = 0;

    /// How many telegrams have come since the last time. Does not wait.
    virtual std::size_t TakeAll() = 0;

    /// For poll.
    virtual int Descriptor() const = 0;
};

/// The daemon's queues, which must be there.
class QueueConnection : public Connection
{
public:
    QueueConnection();

    void Send(const Telegram& telegram) const override;
    void Receive() const override;
    std::size_t TakeAll() override;
    int Descriptor() const override;

private:
    System::Descriptor fromLink;
    System::Descriptor toLink;
};

/// The gateway's socket.
class GatewayConnection : public Connection
{
public:
    /// Waits until the gateway serves the socket and has a link.
    explicit GatewayConnection(const std::string& path);

    void Send(const Telegram& telegram) const override;
    void Receive() const override;
    std::size_t TakeAll() override;
    int Descriptor() const override;

private:
    System::Descriptor socket;
};

/// The socket of knxd for programs on the machine, open for group telegrams.
class KnxdConnection : public Connection
{
public:
    /// Waits until knxd serves the socket.
    explicit KnxdConnection(const std::string& path);

    void Send(const Telegram& telegram) const override;
    void Receive() const override;
    std::size_t TakeAll() override;
    int Descriptor() const override;

private:
    System::Descriptor socket;
    std::size_t rest = 0; // bytes of a telegram that has come in part
};
