#include "Queue.h"

#include "Failure.h"

#include <cerrno>
#include <climits>
#include <system_error>
#include <utility>

namespace OrvelClient
{

namespace
{

// Calls the system, and says in the client's words what it refuses.
template<typename Call>
auto Try(const std::string& name, const Call& call)
{
    try
    {
        return call();
    }
    catch (const std::system_error& error)
    {
        switch (error.code().value())
        {
        case ENOENT:
            throw Failure(Status::NotThere, "there is no queue " + name + ": does the daemon run?");
        case EACCES:
            throw Failure(Status::NotAllowed, name + " is not for this user: be root, or in the group orvel");
        default:
            throw Failure(Status::Failed, name + ": " + error.code().message());
        }
    }
}

} // namespace

bool Queue::IsName(const std::string& text)
{
    return text.size() > 1 && text.size() - 1 <= NAME_MAX && text.rfind('/') == 0;
}

Queue::Queue(std::string queueName, For access)
    : name(std::move(queueName))
    , queue(Try(name, [&] { return System::MessageQueue(name, access); }))
{
}

std::optional<Bytes> Queue::Receive()
{
    return Try(name, [this] { return queue.Receive(); });
}

bool Queue::Send(const Bytes& message)
{
    return Try(name, [&] { return queue.Send(message); });
}

} // namespace OrvelClient
