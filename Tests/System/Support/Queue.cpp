#include "Queue.h"

#include "Await.h"

using System::MessageQueue;

namespace
{

MessageQueue AwaitQueue(const std::string& name, Queue::For access)
{
    std::optional<MessageQueue> queue;
    Await([&] { return (queue = MessageQueue::TryOpen(name, access)).has_value(); });
    return queue ? std::move(*queue) : MessageQueue(name, access); // which says why not
}

} // namespace

Queue::Queue(const std::string& name, For access)
    : queue(AwaitQueue(name, access))
{
}

std::optional<Knx::Bytes> Queue::Receive() const
{
    return queue.ReceiveWithin(Patience);
}

bool Queue::Exists(const std::string& name)
{
    return MessageQueue::TryOpen(name, For::Reading).has_value();
}
