// The application of Scripts/prove peers.
//
//     knxip-application receive COUNT    prints so many telegrams, one a line
//     knxip-application send COUNT       sends so many in a row, and awaits their confirmations
//
// Those that it sends write the numbers from 0 on to group address 1/2/4.

#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr int Patience = 60'000;   // ms, for the next message
constexpr int MaxUnconfirmed = 10; // requests; where many more wait, the link takes no other

constexpr uint8_t Indication = 0x29;
constexpr uint8_t Confirmation = 0x2E;

mqd_t Open(const char* name, int access)
{
    const mqd_t queue = mq_open(name, access | O_NONBLOCK | O_CLOEXEC);
    if (queue == -1)
    {
        std::perror(name);
        std::exit(EXIT_FAILURE);
    }
    return queue;
}

bool Await(mqd_t queue)
{
    pollfd entry{queue, POLLIN, 0};
    return poll(&entry, 1, Patience) == 1;
}

// True if a message with this code was read and, for a confirmation, the telegram was sent.
bool Read(mqd_t queue, uint8_t code, bool print)
{
    std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> message{};
    const ssize_t size = mq_receive(queue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
    if (size < 4 || message[1] != code || (code == Confirmation && (message[3] & 1U) != 0))
    {
        return false;
    }
    for (ssize_t index = 1; print && index < size; ++index)
    {
        std::printf("%02x%c", message.at(static_cast<std::size_t>(index)), index + 1 < size ? ' ' : '\n');
    }
    return true;
}

int Receive(int count)
{
    const mqd_t queue = Open(ORVEL_CEMI_FROM_LL_QUEUE, O_RDONLY);
    int received = 0;
    while (received < count && Await(queue))
    {
        received += Read(queue, Indication, true) ? 1 : 0;
        std::fflush(stdout);
    }
    return received == count ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Send(int count)
{
    const mqd_t toLink = Open(ORVEL_CEMI_TO_LL_QUEUE, O_WRONLY);
    const mqd_t fromLink = Open(ORVEL_CEMI_FROM_LL_QUEUE, O_RDONLY);
    int confirmed = 0;
    const auto awaitConfirmations = [&](int wanted)
    {
        while (confirmed < wanted && Await(fromLink))
        {
            confirmed += Read(fromLink, Confirmation, false) ? 1 : 0;
        }
        return confirmed >= wanted;
    };
    for (int number = 0; number < count && awaitConfirmations(number - MaxUnconfirmed); ++number)
    {
        const std::array<uint8_t, 14> message{13,
                                              0x11,
                                              0x00,
                                              0xbc,
                                              0xe0,
                                              0x00,
                                              0x00,
                                              0x0a,
                                              0x04,
                                              0x03,
                                              0x00,
                                              0x80,
                                              static_cast<uint8_t>(number >> 8),
                                              static_cast<uint8_t>(number & 0xFF)};
        if (mq_send(toLink, reinterpret_cast<const char*>(message.data()), message.size(), 0) == -1)
        {
            std::perror(ORVEL_CEMI_TO_LL_QUEUE);
            return EXIT_FAILURE;
        }
    }
    awaitConfirmations(count);
    std::printf("%d of %d confirmed\n", confirmed, count);
    return confirmed == count ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc == 3 ? argv[1] : "";
    if (command != "send" && command != "receive")
    {
        std::fprintf(stderr, "usage: knxip-application send|receive COUNT\n");
        return EXIT_FAILURE;
    }
    const int count = static_cast<int>(std::strtol(argv[2], nullptr, 10));
    return command == "send" ? Send(count) : Receive(count);
}
