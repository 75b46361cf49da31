#include "CheckQueues.h"

#include "OpenedQueue.h"
#include "Queue.h"

#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <mqueue.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;

// A queue as the daemon makes it.
struct Wanted
{
    std::string name;
    long messages;
    long size; // bytes of a message
    int access;
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
    // cppcheck-suppress getpwuidCalled ; the client has one thread
    const passwd* const owner = getpwuid(status.st_uid);
    return owner != nullptr ? owner->pw_name : "user " + std::to_string(status.st_uid);
}

Finding CheckName(const Wanted& wanted)
{
    if (!Queue::IsName(wanted.name))
    {
        return {Level::Failure, wanted.name, "is no name of a queue, which begins with / and has no other"};
    }
    const OpenedQueue queue(wanted.name, wanted.access);
    switch (queue.Error())
    {
    case 0:
        break;
    case ENOENT:
        return {Level::Ok, wanted.name, "is not there yet"};
    case EACCES:
        return {Level::Failure, wanted.name,
                "belongs to " + OwnerOf(wanted.name) + ", whose daemon may be running; run this as root"};
    default:
        return {Level::Failure, wanted.name, std::string("cannot be opened: ") + strerror(queue.Error())};
    }
    const mq_attr found = queue.Attributes();
    if (found.mq_maxmsg == wanted.messages && found.mq_msgsize == wanted.size)
    {
        return {Level::Ok, wanted.name, "is there as the daemon makes it: a daemon runs, or was killed"};
    }
    return {Level::Warning, wanted.name,
            "is left over with " + Sizes(found.mq_maxmsg, found.mq_msgsize) + " instead of " +
                Sizes(wanted.messages, wanted.size) +
                "; the service replaces it, a daemon started by hand takes it as it is: rm /dev/mqueue" + wanted.name};
}

bool IsThere(const Wanted& wanted)
{
    return OpenedQueue(wanted.name, wanted.access).Error() != ENOENT;
}

// Makes all the queues that do not exist yet, under other names. Returns 0, or the error.
int TryOut(const std::vector<Wanted>& queues)
{
    std::vector<std::pair<std::string, mqd_t>> made;
    int error = 0;
    for (const Wanted& wanted : queues)
    {
        if (IsThere(wanted))
        {
            continue;
        }
        mq_attr attributes{};
        attributes.mq_maxmsg = wanted.messages;
        attributes.mq_msgsize = wanted.size;
        const std::string name = "/orvelctl-check-" + std::to_string(getpid()) + "-" + std::to_string(made.size());
        const mqd_t queue =
            mq_open(name.c_str(), O_CREAT | O_EXCL | O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0600, &attributes);
        if (queue == -1)
        {
            error = errno;
            break;
        }
        made.emplace_back(name, queue);
    }
    for (const auto& [name, queue] : made)
    {
        mq_close(queue);
        mq_unlink(name.c_str());
    }
    return error;
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
    std::vector<Wanted> queues{{ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE, O_WRONLY},
                               {ORVEL_CEMI_TO_LL_QUEUE, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE, O_RDONLY}};
    for (const std::string& name : buttonQueues)
    {
        queues.push_back({name, ORVEL_PROG_BUTTON_QUEUE_CAPACITY, ORVEL_PROG_BUTTON_MESSAGE_SIZE, O_WRONLY});
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
