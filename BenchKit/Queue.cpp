#include "BenchKit/Queue.h"

#include <utility>

using System::MessageQueue;

namespace
{

MessageQueue AwaitQueue(const std::string& name, Queue::For access, std::chrono::milliseconds patience)
{
    std::optional<MessageQueue> queue;
    Await([&] { return (queue = MessageQueue::TryOpen(name, access)).has_value(); }, patience);
    return queue ? std::move(*queue) : MessageQueue(name, access); // which says why not
}

} // namespace

Queue::Queue(const std::string& name, For queueAccess, std::chrono::milliseconds patience)
    : access(queueAccess)
    , queue(AwaitQueue(name, access, patience))
{
}

void Queue::OpenAgain()
{
    if (auto again = MessageQueue::TryOpen(queue.Name(), access))
    {
        queue = std::move(*again);
    }
}

bool Queue::Exists(const std::string& name)
{
    return MessageQueue::TryOpen(name, For::Reading).has_value();
}
