#include "ScriptedPoll.h"

#include "Allocations.h"
#include "Await.h"
#include "Kernel.h"

namespace UnitTests
{

namespace
{

constexpr int ShortTimeout = 10; // ms; how long a test waits for the worker at its end

} // namespace

ScriptedPoll::ScriptedPoll()
{
    Kernel::Poll.Replace([this](pollfd* set, nfds_t count, int timeout) { return Poll(set, count, timeout); });
}

ScriptedPoll::~ScriptedPoll()
{
    Kernel::Poll.Restore();
}

void ScriptedPoll::OnlyAnswer()
{
    const std::lock_guard<std::mutex> lock(mutex);
    onlyAnswer = true;
}

bool ScriptedPoll::Answer(const Events& events)
{
    return Queue({events, 0});
}

bool ScriptedPoll::Fail(int error)
{
    return Queue({{}, error});
}

std::vector<PollCall> ScriptedPoll::Calls() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return calls;
}

bool ScriptedPoll::AwaitCalls(std::size_t count)
{
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, AwaitLimit, [&] { return calls.size() >= count; });
}

bool ScriptedPoll::Queue(const Reply& reply)
{
    std::unique_lock<std::mutex> lock(mutex);
    replies.push_back(reply);
    changed.notify_all();
    return changed.wait_for(lock, AwaitLimit, [&] { return replies.empty(); });
}

int ScriptedPoll::Poll(pollfd* set, nfds_t count, int timeout)
{
    const std::size_t before = allocations;
    const Uncounted own;
    {
        std::unique_lock<std::mutex> lock(mutex);
        calls.push_back({std::vector<pollfd>(set, set + count), timeout, before});
        changed.notify_all();
        if (onlyAnswer)
        {
            changed.wait_for(lock, std::chrono::milliseconds(ShortTimeout), [&] { return !replies.empty(); });
            if (replies.empty())
            {
                return 0;
            }
        }
        if (!replies.empty())
        {
            const Reply reply = replies.front();
            replies.pop_front();
            changed.notify_all();
            for (nfds_t index = 0; index < count; ++index)
            {
                const auto events = reply.events.find(index);
                set[index].revents = events == reply.events.end() ? short{0} : events->second;
                if (reply.error != 0)
                {
                    set[index].revents = POLLIN | POLLERR; // left over from before
                }
            }
            errno = reply.error;
            return reply.error != 0 ? -1 : static_cast<int>(reply.events.size());
        }
    }
    return Kernel::Poll.Real(set, count, ShortTimeout);
}

} // namespace UnitTests
