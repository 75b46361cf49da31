#include "CheckQueues.h"

#include "Queue.h"

#include "Orvel/Protocol.h"
#include "System/MessageQueue.h"

#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <list>
#include <optional>
#include <system_error>

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;
using For = System::MessageQueue::For;

// A queue as the daemon makes it.
struct Wanted
{
    std::string name;
    long messages;
    long size; // bytes of a message
    For access;
};

std::optional<long> Limit(const char* name)
{
    std::ifstream file(std::string("/proc/sys/fs/mqueue/") + name);
    long limit = 0;
    return (file >> limit) ? std::optional(limit) : std::nullopt;
}

std::string Sizes(long messages, long size)
{
    return std::to_string(messages) + " messages of " + std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

std::string OwnerOf(const std::string& queue)
{
    struct stat status
    {
    };
    if (stat(("/dev/mqueue" + queue).c_str(), &status) == -1) // where the file usually is
    {
        return "another user";
    }
    // cppcheck-suppress getpwuidCalled ; `check` has one thread
    const passwd* const owner = getpwuid(status.st_uid);
    return owner != nullptr ? owner->pw_name : "user " + std::to_string(status.st_uid);
}

Finding CheckName(const Wanted& wanted)
{
    if (!Queue::IsName(wanted.name))
    {
        return {Level::Failure, wanted.name, "is no name of a queue, which begins with / and has no other"};
    }
    try
    {
        const System::MessageQueue found(wanted.name, wanted.access);
        if (found.Capacity() == wanted.messages && found.MessageSize() == wanted.size)
        {
            return {Level::Ok, wanted.name, "is there as the daemon makes it: a daemon runs, or was killed"};
        }
        return {Level::Warning, wanted.name,
                "is left over with " + Sizes(found.Capacity(), found.MessageSize()) + " instead of " +
                    Sizes(wanted.messages, wanted.size) +
                    "; the service replaces it, a daemon started by hand takes it as it is: rm /dev/mqueue" +
                    wanted.name};
    }
    catch (const std::system_error& error)
    {
        switch (error.code().value())
        {
        case ENOENT:
            return {Level::Ok, wanted.name, "is not there yet"};
        case EACCES:
            return {Level::Failure, wanted.name,
                    "belongs to " + OwnerOf(wanted.name) + ", whose daemon may be running; run this as root"};
        default:
            return {Level::Failure, wanted.name, "cannot be opened: " + error.code().message()};
        }
    }
}

bool IsThere(const Wanted& wanted)
{
    return System::MessageQueue::TryOpen(wanted.name, wanted.access) || errno != ENOENT;
}

// Makes all the queues that do not exist yet, under other names. Returns 0, or the error.
int TryOut(const std::vector<Wanted>& queues)
{
    std::list<System::OwnMessageQueue> made;
    for (const Wanted& wanted : queues)
    {
        if (IsThere(wanted))
        {
            continue;
        }
        const std::string name = "/orvelctl-check-" + std::to_string(getpid()) + "-" + std::to_string(made.size());
        try
        {
            made.emplace_back(name, For::Reading, wanted.messages, wanted.size, 0600);
        }
        catch (const std::system_error& error)
        {
            return error.code().value();
        }
    }
    return 0;
}

Finding CheckLimit(const char* limitName, long needed, bool goesOver)
{
    const std::string subject = std::string("fs.mqueue.") + limitName;
    const long limit = Limit(limitName).value_or(0);
    const std::string text = "is " + std::to_string(limit);
    if (limit >= needed)
    {
        return {Level::Ok, subject, text + ", and " + std::to_string(needed) + " are needed"};
    }
    const std::string remedy = "sysctl " + subject + "=" + std::to_string(needed);
    if (goesOver)
    {
        return {Level::Warning, subject,
                text + ", and " + std::to_string(needed) + " are needed: only CAP_SYS_RESOURCE goes over it; better " +
                    remedy};
    }
    return {Level::Failure, subject,
            text + ", and " + std::to_string(needed) + " are needed without CAP_SYS_RESOURCE: " + remedy};
}

std::string Budget()
{
    rlimit limit{};
    getrlimit(RLIMIT_MSGQUEUE, &limit);
    return limit.rlim_cur == RLIM_INFINITY ? "any number of" : "the " + std::to_string(limit.rlim_cur);
}

// `error` is the error of making the queues.
Findings CheckRoom(int error)
{
    if (error == EINVAL)
    {
        return {}; // one of the limits for a queue, which has been told
    }
    if (error == ENOSPC)
    {
        return {{Level::Failure, "fs.mqueue.queues_max",
                 "there are too many queues on this machine: remove some from /dev/mqueue, or raise it with sysctl"}};
    }
    if (error == EMFILE || error == ENOMEM)
    {
        return {{Level::Failure, "RLIMIT_MSGQUEUE",
                 "of " + Budget() +
                     " bytes for this user's queues, too few are left: remove some from /dev/mqueue, or "
                     "raise it (ulimit -q, LimitMSGQUEUE=)"}};
    }
    if (error != 0)
    {
        return {{Level::Failure, "message queues", std::string("cannot be made: ") + strerror(error)}};
    }
    return {{Level::Ok, "RLIMIT_MSGQUEUE", "the queues fit into " + Budget() + " bytes for this user"}};
}

} // namespace

Findings CheckQueues(const std::vector<std::string>& buttonQueues)
{
    if (!Limit("msg_max"))
    {
        return {{Level::Failure, "message queues", "the kernel has none: it needs CONFIG_POSIX_MQUEUE"}};
    }
    std::vector<Wanted> queues{
        {ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE, For::Writing},
        {ORVEL_CEMI_TO_LL_QUEUE, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE, For::Reading}};
    for (const std::string& name : buttonQueues)
    {
        queues.push_back({name, ORVEL_PROG_BUTTON_QUEUE_CAPACITY, ORVEL_PROG_BUTTON_MESSAGE_SIZE, For::Writing});
    }

    const int error = TryOut(queues);
    Findings findings{CheckLimit("msg_max", ORVEL_CEMI_QUEUE_CAPACITY, error != EINVAL),
                      CheckLimit("msgsize_max", ORVEL_CEMI_MESSAGE_SIZE, error != EINVAL)};
    for (const Finding& finding : CheckRoom(error))
    {
        findings.push_back(finding);
    }
    for (const Wanted& wanted : queues)
    {
        findings.push_back(CheckName(wanted));
    }
    return findings;
}

} // namespace OrvelClient
