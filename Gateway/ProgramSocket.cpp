#include "ProgramSocket.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <utility>

namespace OrvelGateway
{

ProgramSocket::ProgramSocket(System::Descriptor accepted)
    : descriptor(std::move(accepted))
{
    const int on = 1;
    setsockopt(descriptor.Number(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on); // see Receive
}

std::string ProgramSocket::Who() const
{
    ucred peer{};
    socklen_t size = sizeof peer;
    getsockopt(descriptor.Number(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(peer.pid) + "/comm"), name);
    // A program gives itself any name. No byte of it is to end a line of the log, or to have a meaning for a terminal.
    std::replace_if(
        name.begin(), name.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '?');
    return std::to_string(peer.pid) + (name.empty() ? "" : " " + name);
}

// NOLINTNEXTLINE(readability-non-const-parameter): the kernel writes there
ProgramSocket::Result ProgramSocket::Receive(uint8_t* packet, std::size_t& size) const
{
    // The kernel gives nothing for an empty packet, and nothing at the end. But with each packet it tells who sent it, and
    // with the end it does not. There is no room for descriptors that a program sends along: the kernel drops them.
    alignas(cmsghdr) char sender[CMSG_SPACE(sizeof(ucred))];
    iovec part{packet, MaxPacket};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = sender;
    message.msg_controllen = sizeof sender;
    const ssize_t received = recvmsg(descriptor.Number(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (received == -1)
    {
        switch (errno)
        {
        case EAGAIN:
        case EINTR:
        case ECONNRESET: // told once: it has gone and left messages unread; what it sent before comes next
            return Result::NotNow;
        default:
            return Result::Failed;
        }
    }
    size = static_cast<std::size_t>(received);
    return received == 0 && message.msg_controllen == 0 ? Result::Ended : Result::Done;
}

ProgramSocket::Result ProgramSocket::Send(const uint8_t* packet, std::size_t size) const
{
    if (send(descriptor.Number(), packet, size, MSG_DONTWAIT | MSG_NOSIGNAL) != -1)
    {
        return Result::Done;
    }
    switch (errno)
    {
    case EAGAIN:
    case EINTR:
        return Result::NotNow;
    case EPIPE:
    case ECONNRESET:
        return Result::Ended;
    default:
        return Result::Failed;
    }
}

} // namespace OrvelGateway
