#include "EventLog.h"

#include <algorithm>
#include <utility>

namespace Simulator
{

namespace
{

constexpr std::size_t KeptEvents = 100'000; // a board may run for weeks

} // namespace

EventLog::EventLog(Sink sinkFunction)
    : sink(std::move(sinkFunction))
{
}

void EventLog::Add(const Event& event)
{
    const std::lock_guard lock(mutex);
    if (sink)
    {
        sink(std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - began), event);
    }
    kept.push_back(event);
    if (kept.size() > KeptEvents)
    {
        kept.pop_front();
        ++dropped;
    }
    added.notify_all();
}

std::size_t EventLog::Count() const
{
    const std::lock_guard lock(mutex);
    return dropped + kept.size();
}

std::size_t EventLog::Await(Event::Kind kind, std::size_t from, std::chrono::milliseconds limit) const
{
    return AwaitThat([kind](const Event& event) { return event.kind == kind; }, from, limit);
}

std::size_t EventLog::Await(const Event& event, std::size_t from, std::chrono::milliseconds limit) const
{
    return AwaitThat([&event](const Event& happened) { return happened == event; }, from, limit);
}

template<typename Condition>
std::size_t EventLog::AwaitThat(const Condition& isWanted, std::size_t from, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex);
    std::size_t number = from;
    const auto found = [&]
    {
        for (number = std::max(number, dropped); number < dropped + kept.size(); ++number)
        {
            if (isWanted(kept[number - dropped]))
            {
                return true;
            }
        }
        return false;
    };
    return added.wait_for(lock, limit, found) ? number + 1 : 0;
}

std::vector<Event> EventLog::Events() const
{
    const std::lock_guard lock(mutex);
    return {kept.begin(), kept.end()};
}

std::string EventLog::Text() const
{
    std::string text;
    for (const Event& event : Events())
    {
        text += TextOf(event) + '\n';
    }
    return text;
}

} // namespace Simulator
