#include "Queue.h"

#include "Failure.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace OrvelClient
{

namespace
{

[[noreturn]] void Fail(const std::string& name, int error)
{
    switch (error)
    {
    case ENOENT:
        throw Failure(Status::NotThere, "there is no queue " + name + ": does the daemon run?");
    case EACCES:
        throw Failure(Status::NotAllowed, name + " is not for this user: be root, or in the group orvel");
    default:
        throw Failure(Status::Failed, name + ": " + strerror(error));
    }
}

} // namespace

bool Queue::IsName(const std::string& text)
{
    return text.size() > 1 && text.size() - 1 <= NAME_MAX && text.rfind('/') == 0;
}

Queue::Queue(std::string queueName, For access)
    : name(std::move(queueName))
    , queue(mq_open(name.c_str(), (access == For::Reading ? O_RDONLY : O_WRONLY) | O_NONBLOCK | O_CLOEXEC))
{
    if (queue == -1)
    {
        Fail(name, errno);
    }
}

Queue::~Queue()
{
    mq_close(queue);
}

bool Queue::IsRemoved() const
{
    struct stat state
    {
    };
    return fstat(queue, &state) == 0 && state.st_nlink == 0;
}

std::optional<Bytes> Queue::Receive()
{
    mq_attr attributes{};
    if (mq_getattr(queue, &attributes) == -1)
    {
        Fail(name, errno);
    }
    Bytes message(static_cast<std::size_t>(attributes.mq_msgsize)); // a queue left over can have another size
    const ssize_t size = mq_receive(queue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
    if (size >= 0)
    {
        message.resize(static_cast<std::size_t>(size));
        return message;
    }
    if (errno != EAGAIN && errno != EINTR)
    {
        Fail(name, errno);
    }
    return std::nullopt;
}

bool Queue::Send(const Bytes& message)
{
    if (mq_send(queue, reinterpret_cast<const char*>(message.data()), message.size(), 0) == 0)
    {
        return true;
    }
    if (errno != EAGAIN && errno != EINTR)
    {
        Fail(name, errno);
    }
    return false;
}

} // namespace OrvelClient
