#include "GatewaySocket.h"

#include "Failure.h"
#include "Message.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace OrvelClient
{

namespace
{

constexpr std::size_t MostKept = ORVEL_GATEWAY_MESSAGES; // as many as the gateway keeps

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
    if (!kept.empty())
    {
        Bytes message = std::move(kept.front());
        kept.pop_front();
        return message;
    }
    if (lost > 0)
    {
        const auto shown = static_cast<uint16_t>(std::min<std::size_t>(std::exchange(lost, 0), UINT16_MAX));
        return Bytes{ORVEL_GATEWAY_LOST_MESSAGE_SIZE - 1, ORVEL_GATEWAY_LOST_CODE, static_cast<uint8_t>(shown >> 8U),
                     static_cast<uint8_t>(shown & 0xFFU)};
    }
    return Take();
}

// The next message that waits in the socket.
std::optional<Bytes> GatewaySocket::Take()
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
    // The gateway takes no more from a program that does not read.
    while (auto received = Take())
    {
        Keep(std::move(*received));
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

void GatewaySocket::Keep(Bytes message)
{
    if (lost > 0 || kept.size() == MostKept)
    {
        ++lost;
        return;
    }
    kept.push_back(std::move(message));
}

bool GatewaySocket::HasMessage() const
{
    uint8_t byte = 0;
    return !kept.empty() || lost > 0 || recv(socket.Number(), &byte, sizeof(byte), MSG_PEEK) > 0;
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
