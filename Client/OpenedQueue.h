#pragma once

#include <fcntl.h>
#include <mqueue.h>

#include <cerrno>
#include <string>

namespace OrvelClient
{

/// A queue that is looked at, not used: nothing is taken from it.
class OpenedQueue
{
public:
    /// `access` is O_RDONLY or O_WRONLY.
    OpenedQueue(const std::string& name, int access)
        : queue(mq_open(name.c_str(), access | O_NONBLOCK | O_CLOEXEC))
        , error(queue == -1 ? errno : 0)
    {
    }

    ~OpenedQueue()
    {
        if (queue != -1)
        {
            mq_close(queue);
        }
    }

    OpenedQueue(const OpenedQueue&) = delete;
    OpenedQueue& operator=(const OpenedQueue&) = delete;

    /// 0 if it could be opened.
    int Error() const
    {
        return error;
    }

    mq_attr Attributes() const
    {
        mq_attr attributes{};
        mq_getattr(queue, &attributes);
        return attributes;
    }

private:
    mqd_t queue;
    int error;
};

} // namespace OrvelClient
