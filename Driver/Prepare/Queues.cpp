#include "Queues.h"

#include "Failure.h"
#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <mqueue.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>

namespace OrvelPrepare
{

namespace
{

struct Queue
{
    std::string name;
    mode_t mode;
    long messages;
    long messageSize; // bytes
};

// What is there under a name.
struct Found
{
    bool right;
    std::string description; // empty when nothing is
};

// While it lives, what this thread makes in a file system belongs to the user and the group, with exactly the mode that is
// asked for. The other rights of root remain: going over the limits of queues is one of them.
class MakingForUser
{
public:
    explicit MakingForUser(const User& user)
        : mask(umask(0))
    {
        setfsgid(user.group);
        setfsuid(user.id);
    }

    ~MakingForUser()
    {
        setfsuid(geteuid());
        setfsgid(getegid());
        umask(mask);
    }

    MakingForUser(const MakingForUser&) = delete;
    MakingForUser& operator=(const MakingForUser&) = delete;

private:
    mode_t mask;
};

bool IsName(const std::string& name)
{
    return name.size() > 1 && name.size() <= NAME_MAX + 1 && name.front() == '/' && name.rfind('/') == 0 &&
           name != "/." && name != "/..";
}

std::vector<Queue> Wanted(const std::vector<std::string>& buttonQueues)
{
    // The group sends into the one and takes from the others.
    std::vector<Queue> queues{
        {ORVEL_CEMI_TO_LL_QUEUE, 0620, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE},
        {ORVEL_CEMI_FROM_LL_QUEUE, 0640, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE},
    };
    for (const std::string& name : buttonQueues)
    {
        if (!IsName(name) || name == ORVEL_CEMI_TO_LL_QUEUE || name == ORVEL_CEMI_FROM_LL_QUEUE)
        {
            throw Failure(EX_CONFIG, "cannot make the queue '" + name +
                                         "' of --prog_button_message_queue: it must be a slash and up to 255 other "
                                         "characters, and none of the queues for frames");
        }
        queues.push_back({name, 0640, ORVEL_PROG_BUTTON_QUEUE_CAPACITY, ORVEL_PROG_BUTTON_MESSAGE_SIZE});
    }
    return queues;
}

// False, and errno, when it cannot be made.
bool Make(const Queue& queue, const User& user)
{
    mq_attr attributes{};
    attributes.mq_maxmsg = queue.messages;
    attributes.mq_msgsize = queue.messageSize;
    const MakingForUser making(user);
    const mqd_t made = mq_open(queue.name.c_str(), O_CREAT | O_EXCL | O_RDONLY, queue.mode, &attributes);
    return made != -1 && mq_close(made) == 0;
}

Found LookAt(const Queue& queue, const User& user)
{
    const mqd_t found = mq_open(queue.name.c_str(), O_RDONLY | O_NONBLOCK);
    if (found == -1)
    {
        return {false, errno == ENOENT ? "" : strerror(errno)};
    }
    struct stat status = {};
    mq_attr attributes{};
    fstat(found, &status);
    mq_getattr(found, &attributes);
    mq_close(found);
    const mode_t mode = status.st_mode & 07777U;
    std::array<char, 160> description{};
    std::snprintf(description.data(), description.size(),
                  "of user %u and group %u, mode %04o, %ld messages of %ld bytes", status.st_uid, status.st_gid, mode,
                  attributes.mq_maxmsg, attributes.mq_msgsize);
    return {status.st_uid == user.id && status.st_gid == user.group && mode == queue.mode &&
                attributes.mq_maxmsg == queue.messages && attributes.mq_msgsize == queue.messageSize,
            description.data()};
}

void MakeOrKeep(const Queue& queue, const User& user)
{
    std::string removed;
    int times = 0;
    while (!Make(queue, user))
    {
        if (errno != EEXIST)
        {
            throw Failure(EX_CANTCREAT, Because("cannot make the queue " + queue.name));
        }
        const Found found = LookAt(queue, user);
        if (found.right)
        {
            break;
        }
        if (found.description.empty())
        {
            continue; // whoever made it has removed it again
        }
        if (mq_unlink(queue.name.c_str()) == 0)
        {
            removed = found.description;
            ++times;
        }
        else if (errno != ENOENT)
        {
            throw Failure(EX_CANTCREAT, Because("cannot remove the queue " + queue.name));
        }
    }
    // Once, however often: whoever makes the queue again and again does not fill the log.
    if (times > 0)
    {
        std::fprintf(stderr, "orvel-prepare: removed the queue %s %s%s\n", queue.name.c_str(), removed.c_str(),
                     times == 1 ? "" : (", and " + std::to_string(times - 1) + " before it").c_str());
    }
}

} // namespace

void MakeQueues(const std::vector<std::string>& buttonQueues, const User& user)
{
    {
        const MakingForUser making(user);
        constexpr auto NoUser = static_cast<uid_t>(-1);
        if (static_cast<uid_t>(setfsuid(NoUser)) != user.id || static_cast<gid_t>(setfsgid(NoUser)) != user.group)
        {
            throw Failure(EX_NOPERM, "cannot make anything for another user: needs root");
        }
    }
    // The queues are charged to root, whatever root's other programs have made.
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_MSGQUEUE, &unlimited);
    for (const Queue& queue : Wanted(buttonQueues))
    {
        MakeOrKeep(queue, user);
    }
}

} // namespace OrvelPrepare
