#include "System/MessageQueue.h"

#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace System
{

namespace
{

int FlagsOf(MessageQueue::For access)
{
    switch (access)
    {
    case MessageQueue::For::Reading:
        return O_RDONLY | O_NONBLOCK | O_CLOEXEC;
    case MessageQueue::For::Writing:
        return O_WRONLY | O_NONBLOCK | O_CLOEXEC;
    default:
        return O_RDWR | O_NONBLOCK | O_CLOEXEC;
    }
}

// On Linux the descriptor of a queue is one of a file, and is closed as such.
Descriptor Opened(const std::string& name, MessageQueue::For access)
{
    return Descriptor(mq_open(name.c_str(), FlagsOf(access)));
}

Descriptor Open(const std::string& name, MessageQueue::For access)
{
    Descriptor opened = Opened(name, access);
    if (!opened.IsOpen())
    {
        ThrowErrno("cannot open " + name);
    }
    return opened;
}

Descriptor Make(const std::string& name, MessageQueue::For access, long messages, long bytes, mode_t mode)
{
    mq_attr attributes{};
    attributes.mq_maxmsg = messages;
    attributes.mq_msgsize = bytes;
    Descriptor made(mq_open(name.c_str(), FlagsOf(access) | O_CREAT | O_EXCL, mode, &attributes));
    if (!made.IsOpen())
    {
        ThrowErrno("cannot make the queue " + name);
    }
    return made;
}

mq_attr AttributesOf(int descriptor)
{
    mq_attr attributes{};
    mq_getattr(descriptor, &attributes); // fails only without a queue
    return attributes;
}

} // namespace

MessageQueue::MessageQueue(std::string queueName, System::Descriptor opened)
    : name(std::move(queueName))
    , descriptor(std::move(opened))
{
    const mq_attr attributes = AttributesOf(Descriptor());
    capacity = attributes.mq_maxmsg;
    messageSize = attributes.mq_msgsize;
}

MessageQueue::MessageQueue(const std::string& queueName, For access)
    : MessageQueue(queueName, Open(queueName, access))
{
}

std::optional<MessageQueue> MessageQueue::TryOpen(const std::string& queueName, For access)
{
    System::Descriptor opened = Opened(queueName, access);
    return opened.IsOpen() ? std::optional(MessageQueue(queueName, std::move(opened))) : std::nullopt;
}

long MessageQueue::Pending() const
{
    return AttributesOf(Descriptor()).mq_curmsgs;
}

bool MessageQueue::IsRemoved() const
{
    struct stat state
    {
    };
    return fstat(Descriptor(), &state) == 0 && state.st_nlink == 0;
}

bool MessageQueue::Send(const Message& message) const
{
    const char* const bytes = message.empty() ? "" : reinterpret_cast<const char*>(message.data());
    if (mq_send(Descriptor(), bytes, message.size(), 0) == 0)
    {
        return true;
    }
    if (errno != EAGAIN && errno != EINTR)
    {
        ThrowErrno("cannot write to " + name);
    }
    return false;
}

std::optional<MessageQueue::Message> MessageQueue::Receive() const
{
    Message message(static_cast<std::size_t>(messageSize));
    const ssize_t size = mq_receive(Descriptor(), reinterpret_cast<char*>(message.data()), message.size(), nullptr);
    if (size >= 0)
    {
        message.resize(static_cast<std::size_t>(size));
        return message;
    }
    if (errno != EAGAIN && errno != EINTR)
    {
        ThrowErrno("cannot read from " + name);
    }
    return std::nullopt;
}

std::optional<MessageQueue::Message> MessageQueue::ReceiveWithin(std::chrono::milliseconds patience) const
{
    pollfd entry{Descriptor(), POLLIN, 0};
    poll(&entry, 1, static_cast<int>(patience.count()));
    return Receive();
}

OwnMessageQueue::OwnMessageQueue(const std::string& queueName, For access, long messages, long bytes, mode_t mode)
    : MessageQueue(queueName, Make(queueName, access, messages, bytes, mode))
{
}

OwnMessageQueue::~OwnMessageQueue()
{
    mq_unlink(Name().c_str());
}

} // namespace System
