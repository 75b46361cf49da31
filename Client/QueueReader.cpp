#include "QueueReader.h"

#include "Failure.h"

#include <poll.h>

#include <array>
#include <chrono>

namespace OrvelClient
{

namespace
{

// Between two looks at whether the queue is still the daemon's: nobody tells.
constexpr std::chrono::milliseconds Glance{250};

} // namespace

QueueReader::QueueReader(std::string queueName, const StopSignals& stopSignals, const Output& watchedOutput)
    : name(std::move(queueName))
    , stop(stopSignals)
    , output(watchedOutput)
{
    queue.emplace(name, Queue::For::Reading);
    Notice(output, "what is read here from " + name + " does not reach other readers; Ctrl-C ends");
}

std::optional<Bytes> QueueReader::Next()
{
    for (;;)
    {
        std::array<pollfd, 3> set{{{queue ? queue->Descriptor() : -1, POLLIN, 0},
                                   {stop.Descriptor(), POLLIN, 0},
                                   {output.Descriptor(), 0, 0}}};
        const int result = poll(set.data(), set.size(), static_cast<int>(Glance.count()));
        if (set[1].revents != 0 || set[2].revents != 0)
        {
            return std::nullopt;
        }
        if (result > 0)
        {
            if (auto message = queue->Receive())
            {
                return message;
            }
        }
        else
        {
            Look();
        }
    }
}

void QueueReader::Look()
{
    if (queue && queue->IsRemoved())
    {
        queue.reset();
        Notice(output, name + " was removed; waiting for the daemon");
    }
    if (queue)
    {
        return;
    }
    try
    {
        queue.emplace(name, Queue::For::Reading);
        Notice(output, name + " is there again");
    }
    catch (const Failure& failure)
    {
        if (failure.ExitStatus() != Status::NotThere)
        {
            throw;
        }
    }
}

} // namespace OrvelClient
