#include "Rendezvous.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Simulator
{

namespace
{

// An abstract name, which begins with a zero byte: the kernel forgets it with the process.
std::pair<sockaddr_un, socklen_t> Address(const std::string& boardName)
{
    const std::string name = "orvel-board/" + std::to_string(getuid()) + "/" + boardName;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() + 1 > sizeof(address.sun_path))
    {
        throw std::runtime_error("the board's name is too long: " + boardName);
    }
    std::copy(name.begin(), name.end(), &address.sun_path[1]);
    return {address, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())};
}

int MakeSocket()
{
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor == -1)
    {
        throw std::runtime_error(std::string("cannot make a socket: ") + strerror(errno));
    }
    return descriptor;
}

} // namespace

Rendezvous::Rendezvous(const std::string& boardName)
{
    const auto [address, size] = Address(boardName);
    socket = MakeSocket();
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), size) == -1)
    {
        const int error = errno;
        close(socket);
        if (error != EADDRINUSE)
        {
            throw std::runtime_error(std::string("cannot be found by others: ") + strerror(error));
        }
        throw std::runtime_error("a board named '" + boardName + "' is running already; give this one another --name");
    }
}

Rendezvous::~Rendezvous()
{
    close(socket);
}

void Rendezvous::Announce() const
{
    listen(socket, 1);
}

void Rendezvous::Greet() const
{
    close(accept4(socket, nullptr, nullptr, SOCK_CLOEXEC));
}

pid_t Rendezvous::Find(const std::string& boardName)
{
    const auto [address, size] = Address(boardName);
    const int descriptor = MakeSocket();
    ucred board{};
    socklen_t boardSize = sizeof(board);
    const bool found = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                       getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &board, &boardSize) == 0 &&
                       board.uid == getuid();
    close(descriptor);
    if (!found)
    {
        throw std::runtime_error("no board named '" + boardName + "' is running");
    }
    return board.pid;
}

} // namespace Simulator
