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

void EventLog::Add(const std::string& event)
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

std::size_t EventLog::Await(const std::string& start, std::size_t from, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex);
    std::size_t number = from;
    const auto found = [&]
    {
        for (number = std::max(number, dropped); number < dropped + kept.size(); ++number)
        {
            if (kept[number - dropped].compare(0, start.size(), start) == 0)
            {
                return true;
            }
        }
        return false;
    };
    return added.wait_for(lock, limit, found) ? number + 1 : 0;
}

std::string EventLog::Text(std::size_t from) const
{
    const std::lock_guard lock(mutex);
    std::string text;
    for (std::size_t number = std::max(from, dropped); number < dropped + kept.size(); ++number)
    {
        text += kept[number - dropped] + '\n';
    }
    return text;
}

} // namespace Simulator
