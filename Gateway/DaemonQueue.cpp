#include "DaemonQueue.h"

#include <fcntl.h>
#include <mqueue.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace OrvelGateway
{

DaemonQueue::DaemonQueue(std::string queueName, For queueAccess, std::size_t bytes)
    : name(std::move(queueName))
    , access(queueAccess)
    , messageSize(bytes)
{
}

int DaemonQueue::Open()
{
    const int flags = (access == For::Reading ? O_RDONLY : O_WRONLY) | O_NONBLOCK | O_CLOEXEC;
    descriptor = System::Descriptor(mq_open(name.c_str(), flags)); // on Linux a queue's descriptor is that of a file
    mq_attr attributes{};
    int error = 0;
    if (!descriptor.IsOpen() || mq_getattr(descriptor.Number(), &attributes) == -1)
    {
        error = errno;
    }
    else if (attributes.mq_msgsize != static_cast<long>(messageSize))
    {
        error = EMSGSIZE;
    }
    if (error != 0)
    {
        descriptor.Close();
    }
    return error;
}

std::string DaemonQueue::Problem(int error) const
{
    switch (error)
    {
    case EMSGSIZE:
        return name + " is not the daemon's: its messages are not of " + std::to_string(messageSize) + " bytes";
    case EACCES:
        return name + " is not for this user: be root, or in the group orvel";
    default:
        return "cannot open " + name + ": " + strerror(error);
    }
}

void DaemonQueue::Close()
{
    descriptor.Close();
}

bool DaemonQueue::IsRemoved() const
{
    struct stat state
    {
    };
    return fstat(descriptor.Number(), &state) == 0 && state.st_nlink == 0;
}

bool DaemonQueue::Claim() const
{
    // Where the kernel cannot mark it, nobody is kept out.
    return flock(descriptor.Number(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

DaemonQueue::Result DaemonQueue::Receive(uint8_t* message, std::size_t& size) const
{
    const ssize_t received = mq_receive(descriptor.Number(), reinterpret_cast<char*>(message), messageSize, nullptr);
    if (received == -1)
    {
        return errno == EAGAIN || errno == EINTR ? Result::NotNow : Result::Failed;
    }
    size = static_cast<std::size_t>(received);
    return Result::Done;
}

DaemonQueue::Result DaemonQueue::Send(const uint8_t* message, std::size_t size) const
{
    if (mq_send(descriptor.Number(), reinterpret_cast<const char*>(message), size, 0) == -1)
    {
        return errno == EAGAIN || errno == EINTR ? Result::NotNow : Result::Failed;
    }
    return Result::Done;
}

} // namespace OrvelGateway
