#include "KnxIp.h"

#include "Knx/Telegram.h"
#include "System/Deadline.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <random>

namespace Simulator
{

KnxIp::KnxIp(const Settings& settings, CoProcessor& theCoProcessor, EventLog& eventLog)
    : coProcessor(theCoProcessor)
    , events(eventLog)
    , socket(settings.interface)
    , router(settings.speed, Outside(), std::random_device()())
{
    events.Add({Event::KnxIpJoined, std::string(Knx::MulticastSocket::Group) + " on " + settings.interface});
    thread = std::thread(&KnxIp::ThreadFunction, this);
    // Called with the co-processor locked: the request is only put aside here.
    coProcessor.ConnectBus([this](const Bytes& request, const CoProcessor::Confirm& confirm)
                           { Put(request, confirm); });
}

KnxIp::~KnxIp()
{
    if (thread.joinable())
    {
        End();
    }
}

Event KnxIp::End()
{
    coProcessor.ConnectBus({});
    {
        const std::lock_guard lock(mutex);
        running = false;
    }
    wakeUp.Signal();
    thread.join();
    Event counted{Event::KnxIpCounted, router.Count()};
    events.Add(counted);
    return counted;
}

void KnxIp::SendTelegram(const Bytes& indication)
{
    Put(Knx::Telegram::ToRequest(indication),
        [this, indication](bool sent)
        {
            if (sent)
            {
                coProcessor.InjectTelegram(indication);
            }
        });
}

void KnxIp::Put(const Bytes& request, const Router::Confirm& confirm)
{
    {
        const std::lock_guard lock(mutex);
        requests.emplace_back(request, confirm);
    }
    wakeUp.Signal();
}

Router::Outside KnxIp::Outside()
{
    return {[this](const Bytes& datagram) { return socket.Send(datagram); },
            [this](const Bytes& cemi) { coProcessor.InjectTelegram(cemi); },
            [this](const Event& event) { events.Add(event); }};
}

void KnxIp::ThreadFunction()
{
    for (;;)
    {
        std::array<pollfd, 2> set{{{socket.Descriptor(), POLLIN, 0}, {wakeUp.Descriptor(), POLLIN, 0}}};
        poll(set.data(), set.size(), PollTimeout());
        wakeUp.Clear();
        {
            const std::lock_guard lock(mutex);
            if (!running)
            {
                return;
            }
        }
        TakeRequests();
        // A few at a time: a flood is not to hold up the line.
        for (int taken = 0; taken < 64; ++taken)
        {
            const auto datagram = socket.Receive();
            if (!datagram)
            {
                break;
            }
            router.FromNetwork(*datagram, Router::Clock::now());
        }
        router.Advance(Router::Clock::now());
    }
}

// ms until the next thing that has its time; -1 when nothing has.
int KnxIp::PollTimeout() const
{
    return System::PollTimeout(router.NextDue().value_or(System::NoDeadline));
}

void KnxIp::TakeRequests()
{
    std::vector<Request> taken;
    {
        const std::lock_guard lock(mutex);
        taken.swap(requests);
    }
    for (const auto& [request, confirm] : taken)
    {
        router.FromApplication(request, confirm, Router::Clock::now());
    }
}

} // namespace Simulator
