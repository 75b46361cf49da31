#include "Conversation.h"

#include "Failure.h"

#include "Knx/CemiMessage.h"
#include "Orvel/Protocol.h"

#include <poll.h>

#include <algorithm>
#include <array>

namespace OrvelClient
{

namespace
{

using namespace std::chrono;

constexpr milliseconds ConfirmationTime{3000}; // many times what three repetitions on a busy line take

// The gateway answers each request in its own time, which somebody may have made longer; only one that hangs does not.
constexpr milliseconds GatewayTime{60000};

// Between two looks at whether the other side is still there, or there again: a queue does not tell.
constexpr milliseconds Glance{250};

bool IsLinkLost(const Message& message)
{
    const auto state = LinkState(message.frame);
    return state && *state == ORVEL_LINK_STATE_LOST;
}

} // namespace

bool Confirms(const Bytes& message, const Bytes& request)
{
    const Knx::CemiMessage answer = Knx::Decode(message);
    const Knx::CemiMessage asked = Knx::Decode(request);
    return answer.Is(Knx::MessageCode::LDataCon) && answer.control2 && asked.control2 &&
           answer.IsGroupAddressed() == asked.IsGroupAddressed() && answer.destination == asked.destination &&
           answer.tpci == asked.tpci && answer.apci == asked.apci && answer.payload == asked.payload;
}

Conversation::Conversation(const BusOptions& bus, const StopSignals& stopSignals, milliseconds wait)
    : stop(stopSignals)
    , sender(bus, stopSignals, wait)
{
    if (!sender.OpenedBus().HasBothWays())
    {
        BusOptions direct = bus;
        direct.direct = true;
        listener.emplace(direct, Bus::For::Messages, stop);
    }
}

void Conversation::GoOn(const std::function<bool()>& talk)
{
    for (bool isThere = true;;)
    {
        try
        {
            if (!isThere)
            {
                OpenAgain();
                isThere = true;
            }
            if (!talk())
            {
                return;
            }
        }
        catch (const NotServed&)
        {
            // The service manager's socket is there before the next gateway. As long as it takes.
            isThere = false;
        }
        catch (const Failure& failure)
        {
            // A signal is still there for the next wait.
            if (failure.ExitStatus() != Status::NotThere && failure.ExitStatus() != Status::Interrupted)
            {
                throw;
            }
            isThere = false;
        }
        if (!isThere && stop.AwaitUntil(steady_clock::now() + Glance))
        {
            return;
        }
    }
}

void Conversation::OpenAgain()
{
    sender.OpenedBus();
    if (listener && listener->IsRemoved())
    {
        listener->Open();
    }
}

Bus& Conversation::Listened()
{
    return listener ? *listener : sender.OpenedBus();
}

void Conversation::Send(const Bytes& request)
{
    sender.Send(request);
}

void Conversation::SendConfirmed(const Bytes& request, const std::function<bool(const Message&)>& proves)
{
    // The confirmation of an earlier request looks the same.
    while (Listened().Receive())
    {
    }
    heard.clear();
    sender.Send(request);
    const bool isThroughGateway = !listener;
    const milliseconds patience = isThroughGateway ? GatewayTime : ConfirmationTime;
    const auto limit = steady_clock::now() + patience;
    while (const auto message = Receive(limit))
    {
        if (Confirms(message->frame, request))
        {
            if (Knx::Decode(message->frame).ErrorBit())
            {
                throw Failure(Status::NotConfirmed,
                              std::string("not sent: the bus has not taken it") +
                                  (isThroughGateway ? ", or nobody has confirmed it in time" : ""));
            }
            return;
        }
        if (IsLinkLost(*message))
        {
            throw Failure(Status::NotConfirmed, "not sent: the link is lost");
        }
        heard.push_back(*message);
        if (proves && proves(*message))
        {
            return;
        }
    }
    throw Failure(Status::NotConfirmed,
                  "not confirmed for " + std::to_string(patience.count()) +
                      " ms: " + (isThroughGateway ? "the gateway does not answer" : "the link may be down"));
}

std::optional<Message> Conversation::Next(steady_clock::time_point time)
{
    if (heard.empty())
    {
        return Receive(time);
    }
    Message message = heard.front();
    heard.pop_front();
    return message;
}

std::optional<Message> Conversation::Receive(steady_clock::time_point time)
{
    for (;;)
    {
        Bus& bus = Listened();
        if (const auto received = bus.Receive())
        {
            return FromQueue(*received, Now());
        }
        if (bus.IsRemoved())
        {
            throw Failure(Status::NotThere, bus.Loss());
        }
        const auto left = ceil<milliseconds>(time - steady_clock::now());
        if (left <= milliseconds::zero())
        {
            return std::nullopt;
        }
        std::array<pollfd, 2> set{{{bus.Descriptor(), POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}}};
        poll(set.data(), set.size(), static_cast<int>(std::min(left, Glance).count()));
        if (set[1].revents != 0)
        {
            throw Failure(Status::Interrupted, "stopped while waiting for " + bus.Name());
        }
    }
}

} // namespace OrvelClient
