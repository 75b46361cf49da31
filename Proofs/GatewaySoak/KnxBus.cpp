#include "KnxBus.h"

#include <algorithm>
#include <iterator>
#include <utility>

using Messages::Item;

namespace
{

using namespace std::chrono_literals;

constexpr auto Lateness = 3'500ms; // the gateway waits for 3 s

} // namespace

KnxBus::Answer KnxBus::AnswerTo(uint32_t request)
{
    const uint32_t random = (request * 2'246'822'519U >> 8U) % 4096; // bits of a multiplicative hash
    return random == 0 ? Answer::Late : random == 1 ? Answer::Silent : random < 40 ? Answer::Refuses : Answer::Confirms;
}

void KnxBus::Connect(Simulator::CoProcessor& coProcessor)
{
    coProcessor.ConnectBus([this](const Bytes& frame, const auto& confirm) { OnRequest(frame, confirm); });
}

void KnxBus::OnEvent(const Simulator::Event& event)
{
    if (event.kind == Simulator::Event::TelegramToKnx)
    {
        const std::lock_guard lock(mutex);
        arrived.push_back(Messages::OnLine(event.bytes));
    }
}

std::vector<Item> KnxBus::TakeArrived()
{
    const std::lock_guard lock(mutex);
    return std::exchange(arrived, {});
}

void KnxBus::OnRequest(const Bytes& frame, const Simulator::CoProcessor::Confirm& confirm)
{
    const Answer answer = AnswerTo(Messages::OnLine(frame).number);
    if (answer == Answer::Silent)
    {
        return;
    }
    const auto now = Clock::now();
    const std::lock_guard lock(mutex);
    requests.push_back({answer == Answer::Late ? now + Lateness : now, confirm, answer != Answer::Refuses});
    wakeUp.Signal();
}

void KnxBus::Confirm(Clock::time_point now)
{
    std::vector<Request> due;
    {
        const std::lock_guard lock(mutex);
        wakeUp.Clear();
        const auto end = std::stable_partition(requests.begin(), requests.end(),
                                               [now](const Request& request) { return request.due <= now; });
        due.assign(std::make_move_iterator(requests.begin()), std::make_move_iterator(end));
        requests.erase(requests.begin(), end);
    }
    for (const Request& request :
         due) // not from inside the co-processor's call, and without the mutex that it waits for
    {
        request.confirm(request.sent);
    }
}

std::size_t KnxBus::Waiting() const
{
    const std::lock_guard lock(mutex);
    return requests.size();
}
