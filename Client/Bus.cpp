#include "Bus.h"

#include "GatewaySocket.h"
#include "Queue.h"

#include "Orvel/Protocol.h"

#include <poll.h>

#include <array>
#include <chrono>

namespace OrvelClient
{

namespace
{

// The gateway tells the link's state at once, unless it is just being started.
constexpr std::chrono::milliseconds Greeting{10000};

void AwaitGreeting(const GatewaySocket& gateway, const StopSignals& stop)
{
    std::array<pollfd, 2> set{{{gateway.Descriptor(), POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}}};
    if (poll(set.data(), set.size(), static_cast<int>(Greeting.count())) <= 0)
    {
        throw NotServed(Status::Failed, "the gateway does not answer");
    }
    if (set[1].revents != 0)
    {
        throw Failure(Status::Interrupted, "stopped before the gateway answered");
    }
    if (!gateway.HasMessage())
    {
        throw NotServed(Status::NoRoom, "the gateway has no room for one more program, or has just ended");
    }
}

} // namespace

Bus::Bus(BusOptions wanted, For use, const StopSignals& stopSignals)
    : options(std::move(wanted))
    , purpose(use)
    , stop(stopSignals)
    , throughGateway(!options.direct)
    , name("the gateway")
{
    try
    {
        Open();
    }
    catch (const Failure& failure)
    {
        if (!throughGateway || options.named || failure.ExitStatus() != Status::NotThere)
        {
            throw;
        }
        throughGateway = false;
        Open();
    }
}

void Bus::Open()
{
    if (throughGateway)
    {
        OpenGateway();
    }
    else
    {
        OpenQueue();
    }
}

void Bus::OpenQueue()
{
    name = QueueName();
    channel = std::make_unique<Queue>(name, purpose == For::Requests ? Queue::For::Writing : Queue::For::Reading);
}

void Bus::OpenGateway()
{
    auto gateway = purpose == For::Button ? std::make_unique<GatewayButton>(options.socket)
                                          : std::make_unique<GatewaySocket>(options.socket);
    AwaitGreeting(*gateway, stop);
    channel = std::move(gateway);
}

std::string Bus::QueueName() const
{
    switch (purpose)
    {
    case For::Messages:
        return ORVEL_CEMI_FROM_LL_QUEUE;
    case For::Requests:
        return ORVEL_CEMI_TO_LL_QUEUE;
    default:
        return options.buttonQueue;
    }
}

std::string Bus::Remark() const
{
    return throughGateway ? "through the gateway; Ctrl-C ends"
                          : "what is read here from " + name + " does not reach other readers; Ctrl-C ends";
}

std::string Bus::Loss() const
{
    return throughGateway ? "the gateway has ended" : name + " was removed";
}

std::string Bus::Wait() const
{
    return throughGateway ? "waiting for it" : "waiting for the daemon";
}

} // namespace OrvelClient
