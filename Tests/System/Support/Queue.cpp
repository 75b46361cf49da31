#include "Queue.h"

#include "Await.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>

using Knx::Bytes;

Queue::Queue(const std::string& name, For access)
{
    const int mode = access == For::Reading ? O_RDONLY : O_WRONLY;
    EXPECT_TRUE(Await([&] { return (queue = mq_open(name.c_str(), mode | O_NONBLOCK)) != -1; })) << name;
}

Queue::~Queue()
{
    mq_close(queue);
}

bool Queue::Send(const Bytes& message) const
{
    return mq_send(queue, reinterpret_cast<const char*>(message.data()), message.size(), 0) == 0;
}

std::optional<Bytes> Queue::Receive() const
{
    pollfd entry{queue, POLLIN, 0};
    poll(&entry, 1, static_cast<int>(std::chrono::milliseconds(Patience).count()));
    return ReceiveNow();
}

std::optional<Bytes> Queue::ReceiveNow() const
{
    Bytes message(8192);
    const ssize_t size = mq_receive(queue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
    if (size == -1)
    {
        return std::nullopt;
    }
    message.resize(static_cast<std::size_t>(size));
    return message;
}

long Queue::Pending() const
{
    mq_attr attributes{};
    mq_getattr(queue, &attributes);
    return attributes.mq_curmsgs;
}

bool Queue::Exists(const std::string& name)
{
    const mqd_t queue = mq_open(name.c_str(), O_RDONLY | O_NONBLOCK);
    mq_close(queue);
    return queue != -1;
}
