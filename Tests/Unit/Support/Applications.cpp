#include "Applications.h"

#include "Await.h"
#include "Kernel.h"

#include <fcntl.h>

#include <system_error>

namespace UnitTests::Applications
{

namespace
{

class Queue
{
public:
    Queue(const std::string& name, int flags, mq_attr* attributes)
        : descriptor(Kernel::MqOpen.Real(name.c_str(), flags | O_NONBLOCK, 0600, attributes))
    {
        Check(descriptor >= 0);
        Check(Kernel::MqGetattr.Real(descriptor, &current) == 0);
    }

    explicit Queue(const std::string& name)
        : Queue(name, O_RDWR, nullptr)
    {
    }

    ~Queue()
    {
        Kernel::MqClose.Real(descriptor);
    }

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    std::optional<Bytes> Receive()
    {
        Bytes message(static_cast<std::size_t>(current.mq_msgsize));
        const ssize_t length =
            Kernel::MqReceive.Real(descriptor, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
        if (length == -1 && errno == EAGAIN)
        {
            return std::nullopt;
        }
        Check(length >= 0);
        message.resize(static_cast<std::size_t>(length));
        return message;
    }

    static void Check(bool succeeded)
    {
        if (!succeeded)
        {
            throw std::system_error(errno, std::generic_category(), "message queue");
        }
    }

    mqd_t descriptor;
    mq_attr current{};
};

} // namespace

void CreateQueue(const std::string& name, long messageSize, long maxMessages)
{
    mq_attr attributes{};
    attributes.mq_msgsize = messageSize;
    attributes.mq_maxmsg = maxMessages;
    const Queue created(name, O_RDWR | O_CREAT | O_EXCL, &attributes);
}

bool Exists(const std::string& name)
{
    const mqd_t descriptor = Kernel::MqOpen.Real(name.c_str(), O_RDONLY, 0, nullptr);
    if (descriptor >= 0)
    {
        Kernel::MqClose.Real(descriptor);
    }
    return descriptor >= 0;
}

void RemoveQueue(const std::string& name)
{
    Kernel::MqUnlink.Real(name.c_str());
}

void Send(const std::string& name, const Bytes& message)
{
    const Queue queue(name);
    Queue::Check(
        Kernel::MqSend.Real(queue.descriptor, reinterpret_cast<const char*>(message.data()), message.size(), 0) == 0);
}

std::vector<Bytes> ReceiveAll(const std::string& name)
{
    Queue queue(name);
    std::vector<Bytes> messages;
    while (const auto message = queue.Receive())
    {
        messages.push_back(*message);
    }
    return messages;
}

std::optional<Bytes> AwaitMessage(const std::string& name)
{
    Queue queue(name);
    constexpr auto Limit = std::chrono::duration_cast<std::chrono::milliseconds>(AwaitLimit);
    pollfd entry{queue.descriptor, POLLIN, 0};
    Kernel::Poll.Real(&entry, 1, static_cast<int>(Limit.count()));
    return queue.Receive();
}

long Pending(const std::string& name)
{
    return Queue(name).current.mq_curmsgs;
}

} // namespace UnitTests::Applications
