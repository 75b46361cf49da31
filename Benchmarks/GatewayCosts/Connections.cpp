#include "Connections.h"

#include "System/ThrowErrno.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <mqueue.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <stdexcept>
#include <thread>

namespace
{

constexpr time_t Patience = 20;              // s; long: the machine may be busy
constexpr std::size_t KnxdTelegramSize = 10; // bytes: size, type, source, group, two bytes of application data

void Check(bool succeeded, const std::string& what)
{
    if (!succeeded)
    {
        System::ThrowErrno("cannot " + what);
    }
}

System::Descriptor OpenQueue(const char* name, int access)
{
    System::Descriptor queue(mq_open(name, access | O_CLOEXEC));
    Check(queue.IsOpen(), std::string("open ") + name);
    return queue;
}

timespec Deadline()
{
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += Patience;
    return deadline;
}

// L_Data.req, with its size byte.
std::array<uint8_t, 12> Request(const Telegram& telegram)
{
    return {11,
            0x11,
            0,
            0xBC,
            0xE0,
            0,
            0,
            static_cast<uint8_t>(telegram.group >> 8U),
            static_cast<uint8_t>(telegram.group),
            1,
            0,
            static_cast<uint8_t>(0x80U | (telegram.value & 0x3FU))};
}

// Waits until somebody serves it.
System::Descriptor Connect(const std::string& path, int type)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(std::begin(address.sun_path), sizeof(address.sun_path) - 1);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(Patience);
    for (;;)
    {
        System::Descriptor made(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
        if (connect(made.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0)
        {
            const timeval patience{Patience, 0};
            setsockopt(made.Number(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
            return made;
        }
        Check(std::chrono::steady_clock::now() < limit, "connect to " + path);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// All that is there, up to so many bytes; 0 if nothing is.
std::size_t ReceiveNow(const System::Descriptor& socket, uint8_t* bytes, std::size_t most)
{
    const ssize_t size = recv(socket.Number(), bytes, most, MSG_DONTWAIT);
    Check(size > 0 || (size == -1 && errno == EAGAIN), "receive");
    return static_cast<std::size_t>(std::max<ssize_t>(size, 0));
}

} // namespace

QueueConnection::QueueConnection()
    : fromLink(OpenQueue(ORVEL_CEMI_FROM_LL_QUEUE, O_RDONLY))
    , toLink(OpenQueue(ORVEL_CEMI_TO_LL_QUEUE, O_WRONLY))
{
}

void QueueConnection::Send(const Telegram& telegram) const
{
    const auto message = Request(telegram);
    Check(mq_send(toLink.Number(), reinterpret_cast<const char*>(message.data()), message.size(), 0) == 0, "send");
}

void QueueConnection::Receive() const
{
    std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message;
    const timespec deadline = Deadline();
    Check(mq_timedreceive(fromLink.Number(), message.data(), message.size(), nullptr, &deadline) > 0, "receive");
}

std::size_t QueueConnection::TakeAll()
{
    std::size_t count = 0;
    std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message;
    const timespec past{};
    while (mq_timedreceive(fromLink.Number(), message.data(), message.size(), nullptr, &past) > 0)
    {
        ++count;
    }
    return count;
}

int QueueConnection::Descriptor() const
{
    return fromLink.Number();
}

GatewayConnection::GatewayConnection(const std::string& path)
    : socket(Connect(path, SOCK_SEQPACKET))
{
    std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> state{};
    do // a gateway that has just started says first that the link is lost
    {
        Check(recv(socket.Number(), state.data(), state.size(), 0) == ORVEL_LINK_STATE_MESSAGE_SIZE,
              "be told the state of the link");
    } while (state[3] != ORVEL_LINK_STATE_USABLE);
}

void GatewayConnection::Send(const Telegram& telegram) const
{
    const auto message = Request(telegram);
    Check(send(socket.Number(), message.data(), message.size(), MSG_NOSIGNAL) != -1, "send");
}

void GatewayConnection::Receive() const
{
    std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> message;
    Check(recv(socket.Number(), message.data(), message.size(), 0) > 0, "receive");
}

std::size_t GatewayConnection::TakeAll()
{
    std::size_t count = 0;
    std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> message;
    while (ReceiveNow(socket, message.data(), message.size()) > 0)
    {
        count += message[1] == ORVEL_GATEWAY_LOST_CODE ? 0 : 1;
    }
    return count;
}

int GatewayConnection::Descriptor() const
{
    return socket.Number();
}

KnxdConnection::KnxdConnection(const std::string& path)
    : socket(Connect(path, SOCK_STREAM))
{
    const std::array<uint8_t, 7> open{0, 5, 0, 0x26, 0, 0, 0}; // for all groups
    std::array<uint8_t, 4> answer{};
    Check(send(socket.Number(), open.data(), open.size(), MSG_NOSIGNAL) != -1 &&
              recv(socket.Number(), answer.data(), answer.size(), MSG_WAITALL) == static_cast<ssize_t>(answer.size()),
          "begin with knxd");
    if (answer != std::array<uint8_t, 4>{0, 2, 0, 0x26})
    {
        throw std::runtime_error("knxd does not open its groups");
    }
}

void KnxdConnection::Send(const Telegram& telegram) const
{
    const std::array<uint8_t, 8> packet{0,
                                        6,
                                        0,
                                        0x27,
                                        static_cast<uint8_t>(telegram.group >> 8U),
                                        static_cast<uint8_t>(telegram.group),
                                        0,
                                        static_cast<uint8_t>(0x80U | (telegram.value & 0x3FU))};
    Check(send(socket.Number(), packet.data(), packet.size(), MSG_NOSIGNAL) != -1, "send");
}

void KnxdConnection::Receive() const
{
    std::array<uint8_t, KnxdTelegramSize> packet;
    Check(recv(socket.Number(), packet.data(), packet.size(), MSG_WAITALL) == static_cast<ssize_t>(packet.size()),
          "receive");
}

std::size_t KnxdConnection::TakeAll()
{
    std::array<uint8_t, 100 * KnxdTelegramSize> packets;
    while (const std::size_t size = ReceiveNow(socket, packets.data(), packets.size()))
    {
        rest += size;
    }
    const std::size_t count = rest / KnxdTelegramSize;
    rest %= KnxdTelegramSize;
    return count;
}

int KnxdConnection::Descriptor() const
{
    return socket.Number();
}
