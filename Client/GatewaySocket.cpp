#include "GatewaySocket.h"

#include "Failure.h"
#include "Message.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace OrvelClient
{

namespace
{

[[noreturn]] void Fail(const std::string& path, int error)
{
    switch (error)
    {
    case ENOENT:
    case ECONNREFUSED: // left over from a gateway that was killed
        throw Failure(Status::NotThere, "no gateway listens at " + path + ": does orvel-gateway run?");
    case EACCES:
        throw Failure(Status::NotAllowed,
                      path + " is not for this user: be root, or in the group orvel; --direct goes around the gateway");
    case EPROTOTYPE:
        throw Failure(Status::Failed, path + " is a socket, but not that of a gateway");
    default:
        throw Failure(Status::Failed, path + ": " + strerror(error));
    }
}

} // namespace

const std::size_t GatewaySocket::MaxPath = sizeof(sockaddr_un::sun_path) - 1;

GatewaySocket::GatewaySocket(const std::string& path)
    : socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    , name(path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), MaxPath);
    if (!socket.IsOpen() ||
        connect(socket.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == -1)
    {
        Fail(path, errno);
    }
}

std::optional<Bytes> GatewaySocket::Receive()
{
    Bytes message(ORVEL_CEMI_MESSAGE_SIZE);
    const ssize_t size = recv(socket.Number(), message.data(), message.size(), 0);
    if (size <= 0)
    {
        // The gateway sends no empty packet: it has ended. Without this, poll would report that again and again.
        ended = ended || size == 0 || Fails(errno);
        return std::nullopt;
    }
    message.resize(static_cast<std::size_t>(size));
    if (const auto state = OrvelClient::LinkState({message.begin() + 1, message.end()}))
    {
        linkIsLost = state == ORVEL_LINK_STATE_LOST;
    }
    return message;
}

bool GatewaySocket::Send(const Bytes& message)
{
    while (Receive())
    {
    }
    if (!ended && linkIsLost)
    {
        throw Failure(Status::NotThere, "the gateway has no link: does the daemon run?");
    }
    if (ended || send(socket.Number(), message.data(), message.size(), MSG_NOSIGNAL) == -1)
    {
        ended = ended || Fails(errno);
        return false;
    }
    return true;
}

bool GatewaySocket::HasMessage() const
{
    uint8_t byte = 0;
    return recv(socket.Number(), &byte, sizeof(byte), MSG_PEEK) > 0;
}

// Whether the error is the end of the connection. Throws if it is neither that nor a matter of waiting.
bool GatewaySocket::Fails(int error)
{
    if (error == EPIPE || error == ECONNRESET)
    {
        return true;
    }
    if (error != EAGAIN && error != EINTR)
    {
        Fail(name, error);
    }
    return false;
}

std::optional<Bytes> GatewayButton::Receive()
{
    while (auto message = GatewaySocket::Receive())
    {
        if (message->size() == ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE && (*message)[1] == ORVEL_GATEWAY_BUTTON_CODE)
        {
            return Bytes{message->back()};
        }
    }
    return std::nullopt;
}

} // namespace OrvelClient
