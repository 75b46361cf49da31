#include "Application.h"

#include "Orvel/Protocol.h"

#include <mqueue.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace
{

using System::OwnMessageQueue;
using Clock = std::chrono::steady_clock;

constexpr time_t Patience = 20; // s; long: the machine may be busy, and only a lost frame waits it out

timespec Deadline()
{
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += Patience;
    return deadline;
}

OwnMessageQueue MakeQueue(const std::string& name, OwnMessageQueue::For access)
{
    mq_unlink(name.c_str()); // one that a killed run has left
    return {name, access, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE};
}

// From now on the calls with a deadline wait until then.
void LetWait(const OwnMessageQueue& queue)
{
    const mq_attr waiting{};
    mq_setattr(queue.Descriptor(), &waiting, nullptr);
}

} // namespace

Application::Application(const std::string& fromLlQueue, const std::string& toLlQueue)
    : fromLl(MakeQueue(fromLlQueue, OwnMessageQueue::For::Reading))
    , toLl(MakeQueue(toLlQueue, OwnMessageQueue::For::Writing))
{
    LetWait(fromLl);
    LetWait(toLl);
}

void Application::AwaitLinkState() const
{
    std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message{};
    const timespec deadline = Deadline();
    const ssize_t size = mq_timedreceive(fromLl.Descriptor(), message.data(), message.size(), nullptr, &deadline);
    if (size != ORVEL_LINK_STATE_MESSAGE_SIZE || message[1] != static_cast<char>(ORVEL_LINK_STATE_CODE))
    {
        throw std::runtime_error("no link state came through " + fromLl.Name());
    }
}

// Each frame has its number, so that the next one reveals a lost one.
bool Application::Send(std::size_t size)
{
    std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message{};
    message[0] = static_cast<char>(size);
    std::memcpy(&message[1], &sent, std::min(size, sizeof(sent)));
    ++sent;
    const timespec deadline = Deadline();
    return mq_timedsend(toLl.Descriptor(), message.data(), size + 1, 0, &deadline) == 0;
}

bool Application::Receive(std::size_t size)
{
    std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message{};
    const timespec deadline = Deadline();
    const ssize_t length = mq_timedreceive(fromLl.Descriptor(), message.data(), message.size(), nullptr, &deadline);
    const bool same = length == static_cast<ssize_t>(size + 1) && message[0] == static_cast<char>(size) &&
                      std::memcmp(&message[1], &received, std::min(size, sizeof(received))) == 0;
    ++received;
    return same;
}

Exchange Application::Run(std::size_t count, std::size_t size, std::size_t underWay)
{
    Exchange result;
    if (underWay == 1)
    {
        result.roundTrips.reserve(count);
    }
    received = sent;
    const auto begin = Clock::now();
    auto last = begin;
    for (std::size_t number = 0; number < count + underWay; ++number)
    {
        if (number >= underWay)
        {
            result.lost += Receive(size) ? 0 : 1;
            if (underWay == 1)
            {
                const auto now = Clock::now();
                result.roundTrips.push_back(std::chrono::duration<double, std::micro>(now - last).count());
                last = now;
            }
            if (result.lost != 0)
            {
                break; // the numbers do not match any more
            }
        }
        if (number < count && !Send(size))
        {
            ++result.lost;
            break;
        }
    }
    result.duration = Clock::now() - begin;
    return result;
}
