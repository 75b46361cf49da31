// A link library for measuring: the co-processor confirms each message at once by sending it back.
//
// It costs as little as a link can. Transmit writes the message into a pipe, and the library's own thread reads it from
// there and offers it to the listeners. That is one system call on each side for each message, whatever the load, so
// that the calls of a program that uses it can be counted.

#include "Nemt/CommHub.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

struct Message
{
    uint16_t topic;
    std::array<uint8_t, 512> data;
};

constexpr std::size_t HeaderSize = offsetof(Message, data);
constexpr uint16_t StopTopic = 0; // of the message that ends the library's thread

std::array<int, 2> line{-1, -1}; // each write is one read: messages are not joined
std::atomic<bool> isOpen{false};
std::thread receiver;

std::mutex mutex; // held while listeners are called: once one is unregistered, no call into it is running
std::vector<Nemt::ITopicListener*> listeners;

bool Send(uint16_t topic, const uint8_t* data, std::size_t length)
{
    Message message;
    message.topic = topic;
    std::copy_n(data, length, message.data.data());
    return write(line[1], &message, HeaderSize + length) != -1;
}

void Receive()
{
    Message message;
    while (true)
    {
        const ssize_t size = read(line[0], &message, sizeof(message));
        if (size < static_cast<ssize_t>(HeaderSize) || message.topic == StopTopic)
        {
            return;
        }
#ifdef CONFIRM
        constexpr uint8_t Request = 0x11;
        constexpr uint8_t Confirmation = 0x2E;
        message.data[0] = message.data[0] == Request ? Confirmation : message.data[0];
#endif
        const std::lock_guard lock(mutex);
        for (Nemt::ITopicListener* const listener : listeners)
        {
            listener->OnTopicData(message.topic, message.data.data(),
                                  static_cast<uint16_t>(static_cast<std::size_t>(size) - HeaderSize));
        }
    }
}

} // namespace

namespace Nemt
{

CommHub* CommHub::Instance()
{
    static CommHub hub;
    return &hub;
}

bool CommHub::Open(const char* /*port*/, unsigned int /*flags*/)
{
    if (pipe2(line.data(), O_CLOEXEC | O_DIRECT) == -1)
    {
        return false;
    }
    receiver = std::thread(Receive);
    isOpen = true;
    return true;
}

void CommHub::Close()
{
    isOpen = false;
    Send(StopTopic, nullptr, 0);
    receiver.join();
}

bool CommHub::IsConnected() const
{
    return isOpen;
}

bool CommHub::Reconnect()
{
    return isOpen;
}

bool CommHub::Transmit(uint16_t topic, const uint8_t* data, uint16_t length)
{
    return isOpen && length <= sizeof(Message::data) && Send(topic, data, length);
}

void CommHub::RegisterTopicListener(ITopicListener* listener)
{
    const std::lock_guard lock(mutex);
    listeners.push_back(listener);
}

void CommHub::UnregisterTopicListener(const ITopicListener* listener)
{
    const std::lock_guard lock(mutex);
    listeners.erase(std::remove(listeners.begin(), listeners.end(), listener), listeners.end());
}

// The link is never lost, so these listeners hear nothing.
void CommHub::RegisterConnectionListener(IConnectionListener* /*listener*/) {}

void CommHub::UnregisterConnectionListener(const IConnectionListener* /*listener*/) {}

} // namespace Nemt
