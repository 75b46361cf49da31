#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace System
{

/// A POSIX message queue of somebody else, such as the daemon's. Nothing but ReceiveWithin waits.
class MessageQueue
{
public:
    using Message = std::vector<uint8_t>;

    enum class For
    {
        Reading,
        Writing,
        Both
    };

    /// Opens the queue. Throws std::system_error.
    MessageQueue(const std::string& queueName, For access);

    /// Opens the queue; nothing if that is not possible. errno then says why, as a rule that there is none.
    static std::optional<MessageQueue> TryOpen(const std::string& queueName, For access);

    const std::string& Name() const
    {
        return name;
    }

    /// For poll.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Messages that it holds.
    long Capacity() const
    {
        return capacity;
    }

    /// Bytes of the longest message.
    long MessageSize() const
    {
        return messageSize;
    }

    /// Messages that nobody has read yet.
    long Pending() const;

    /// True once nobody can open it any more. Whoever has it open can still use it.
    bool IsRemoved() const;

    /// False if there is no room. Throws std::system_error, for example if the message is too long.
    bool Send(const Message& message) const;

    /// The next message; nothing if there is none. Throws std::system_error.
    std::optional<Message> Receive() const;

    /// The same, but waits for a message; nothing if none came.
    std::optional<Message> ReceiveWithin(std::chrono::milliseconds patience) const;

protected:
    // Takes over a queue that is open.
    MessageQueue(std::string queueName, System::Descriptor opened);

private:
    std::string name;
    System::Descriptor descriptor;
    long capacity = 0;
    long messageSize = 0;
};

/// A queue of one's own: made now, removed at the end.
class OwnMessageQueue : public MessageQueue
{
public:
    /// Of so many messages of so many bytes. Throws std::system_error, also if the queue exists.
    OwnMessageQueue(const std::string& queueName, For access, long messages, long bytes, mode_t mode = 0644);
    ~OwnMessageQueue();
};

} // namespace System
