#include "Queue.h"

#include "Await.h"
#include "Orvel/Protocol.h"

#include <fcntl.h>

using Knx::Bytes;

Queue::Queue(const char* queueName, int access)
    : name(queueName)
    , mode(access | O_NONBLOCK)
{
    constexpr std::chrono::seconds Limit{300};
    Await([this] { return (queue = mq_open(name, mode)) != -1; }, Limit);
}

Queue::~Queue()
{
    mq_close(queue);
}

void Queue::OpenAgain()
{
    if (const mqd_t again = mq_open(name, mode); again != -1)
    {
        mq_close(queue);
        queue = again;
    }
}

bool Queue::Send(const Bytes& message) const
{
    return mq_send(queue, reinterpret_cast<const char*>(message.data()), message.size(), 0) == 0;
}

std::optional<Bytes> Queue::Receive() const
{
    Bytes message(ORVEL_CEMI_MESSAGE_SIZE);
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
