#include "MessageQueue.h"

#include <log4cplus/loggingmacros.h>

#include <alloca.h>
#include <fcntl.h>

namespace OrvelDriver
{

mqd_t MessageQueue::Create(const std::string& name, int messageSize, int maxMessages, bool readOnly,
                           log4cplus::Logger* logger)
{
    mq_attr attributes{};
    attributes.mq_maxmsg = maxMessages;
    attributes.mq_msgsize = messageSize;

    constexpr mode_t Mode = 0644; // the owner writes and reads, everybody else reads
    const int access = readOnly ? O_RDONLY : O_WRONLY;
    const mqd_t queue = mq_open(name.c_str(), O_CREAT | O_NONBLOCK | access, Mode, &attributes);
    if (logger != nullptr)
    {
        if (queue < 0)
        {
            LOG4CPLUS_ERROR_FMT(*logger, "Failed to open message queue %s", name.c_str());
        }
        else
        {
            LOG4CPLUS_DEBUG_FMT(*logger, "Opened message queue %s successfully", name.c_str());
        }
    }
    return queue;
}

void MessageQueue::DeletePending(mqd_t queue, int messageSize, log4cplus::Logger* logger)
{
    const auto bufferSize = static_cast<std::size_t>(messageSize);
    // cppcheck-suppress allocaCalled ; the few hundred bytes of a message, and nothing that can fail
    auto* const buffer = static_cast<char*>(alloca(bufferSize));

    mq_attr attributes{};
    if (mq_getattr(queue, &attributes) == -1)
    {
        if (logger != nullptr)
        {
            LOG4CPLUS_ERROR(*logger, "Failed to get message queue attributes");
        }
        return;
    }
    // Exactly as many as were there: an application that keeps sending cannot keep the daemon here.
    for (long pending = attributes.mq_curmsgs; pending > 0; --pending)
    {
        static_cast<void>(mq_receive(queue, buffer, bufferSize, nullptr));
    }
}

} // namespace OrvelDriver
