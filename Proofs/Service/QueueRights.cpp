// queue-rights: prints what the user may do with each queue of the daemon, such as "/cemiToLL: send, take". Takes no
// message away.
// queue-rights occupy: makes the queues for frames to the bus and for the programming button before the daemon does.
// queue-rights flood SECONDS FILE: sends messages that are no frames, as fast as the queue takes them, for so long and then
// until the file is there. Prints how many, and how long it took.
// queue-rights fill: makes as many queues as the kernel allows the user, and prints how many.
// queue-rights loop: makes the daemon's queues, open to everybody, again and again until it is killed.
// queue-rights other-sizes: makes the queues with few and long messages, as no daemon does.
// queue-rights sizes: prints how many messages of how many bytes each queue has, such as "/cemiToLL: 14 of 261".

#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <mqueue.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

namespace
{

bool MayOpen(const char* queue, int how)
{
    const mqd_t descriptor = mq_open(queue, how);
    if (descriptor != -1)
    {
        mq_close(descriptor);
        return true;
    }
    if (errno != EACCES)
    {
        std::printf("%s: %s\n", queue, strerror(errno)); // no such queue, as a rule
    }
    return false;
}

constexpr std::initializer_list<const char*> Queues{ORVEL_CEMI_TO_LL_QUEUE, ORVEL_CEMI_FROM_LL_QUEUE,
                                                    ORVEL_PROG_BUTTON_QUEUE};

bool Make(const char* queue, long capacity, long messageSize)
{
    mq_attr attributes{};
    attributes.mq_maxmsg = capacity;
    attributes.mq_msgsize = messageSize;
    const mqd_t made = mq_open(queue, O_RDONLY | O_CREAT, 0666, &attributes);
    return made != -1 && mq_close(made) == 0;
}

// They are as large as the daemon would make them, so that they fit.
bool Occupy()
{
    return Make(ORVEL_CEMI_TO_LL_QUEUE, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE) &&
           Make(ORVEL_PROG_BUTTON_QUEUE, ORVEL_PROG_BUTTON_QUEUE_CAPACITY, ORVEL_PROG_BUTTON_MESSAGE_SIZE);
}

bool MakeWithOtherSizes()
{
    return Make(ORVEL_CEMI_TO_LL_QUEUE, 2, 8192) && Make(ORVEL_CEMI_FROM_LL_QUEUE, 2, 8192) &&
           Make(ORVEL_PROG_BUTTON_QUEUE, 2, 8192);
}

[[noreturn]] void Loop()
{
    umask(0);
    for (;;)
    {
        Occupy();
        Make(ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE);
    }
}

int TellSizes()
{
    for (const char* const queue : Queues)
    {
        mq_attr attributes{};
        const mqd_t descriptor = mq_open(queue, O_RDONLY);
        if (descriptor == -1 || mq_getattr(descriptor, &attributes) == -1)
        {
            return 1;
        }
        std::printf("%s: %ld of %ld\n", queue, attributes.mq_maxmsg, attributes.mq_msgsize);
    }
    return 0;
}

// These queues have the smallest size, so a user can make the most of them.
int Fill()
{
    mq_attr attributes{};
    attributes.mq_maxmsg = 1;
    attributes.mq_msgsize = 1;
    for (int number = 0;; ++number)
    {
        const mqd_t queue = mq_open(("/fill" + std::to_string(getuid()) + "-" + std::to_string(number)).c_str(),
                                    O_RDONLY | O_CREAT | O_EXCL, 0600, &attributes);
        if (queue == -1)
        {
            std::printf("%d queues, then: %s\n", number, strerror(errno));
            return 0;
        }
        mq_close(queue);
    }
}

// The size byte says that four more bytes follow.
int Flood(std::chrono::seconds howLong, const char* file)
{
    using Clock = std::chrono::steady_clock;
    const mqd_t queue = mq_open(ORVEL_CEMI_TO_LL_QUEUE, O_WRONLY);
    const auto begin = Clock::now();
    unsigned long sent = 0;
    const char message = 4;
    while ((Clock::now() < begin + howLong || access(file, F_OK) != 0) && mq_send(queue, &message, 1, 0) == 0)
    {
        ++sent;
    }
    const auto took = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin);
    std::printf("%lu messages in %lld s\n", sent, static_cast<long long>(took.count()));
    return sent > 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    if (argc > 3 && command == "flood")
    {
        return Flood(std::chrono::seconds(strtol(argv[2], nullptr, 10)), argv[3]);
    }
    if (command == "fill")
    {
        return Fill();
    }
    if (command == "loop")
    {
        Loop();
    }
    if (command == "sizes")
    {
        return TellSizes();
    }
    if (!command.empty())
    {
        return (command == "occupy" && Occupy()) || (command == "other-sizes" && MakeWithOtherSizes()) ? 0 : 1;
    }
    for (const char* const queue : Queues)
    {
        const bool send = MayOpen(queue, O_WRONLY);
        const bool take = MayOpen(queue, O_RDONLY);
        std::printf("%s: %s%s%s\n", queue, send ? "send" : "", send && take ? ", " : "",
                    take ? "take" : (send ? "" : "nothing"));
    }
    return 0;
}
