#include "Queue.h"

#include "Await.h"

#include <utility>

using System::MessageQueue;

namespace
{

MessageQueue AwaitQueue(const std::string& name, Queue::For access)
{
    constexpr std::chrono::seconds Limit{300};
    std::optional<MessageQueue> queue;
    Await([&] { return (queue = MessageQueue::TryOpen(name, access)).has_value(); }, Limit);
    return queue ? std::move(*queue) : MessageQueue(name, access); // which says why not
}

} // namespace

Queue::Queue(std::string queueName, For queueAccess)
    : name(std::move(queueName))
    , access(queueAccess)
    , queue(AwaitQueue(name, access))
{
}

void Queue::OpenAgain()
{
    if (auto again = MessageQueue::TryOpen(name, access))
    {
        queue = std::move(*again);
    }
}
