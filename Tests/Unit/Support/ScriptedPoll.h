#pragma once

#include <poll.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

namespace UnitTests
{

struct PollCall
{
    std::vector<pollfd> set;
    int timeout;             ///< ms
    std::size_t allocations; ///< of the calling thread until then
};

/// Replaces the components' poll while it exists: with the real one and a shorter timeout, so that workers end quickly,
/// or with answers of the test.
class ScriptedPoll
{
public:
    using Events = std::map<std::size_t, short>; ///< returned events by index in the set

    ScriptedPoll();
    ~ScriptedPoll();

    ScriptedPoll(const ScriptedPoll&) = delete;
    ScriptedPoll& operator=(const ScriptedPoll&) = delete;

    /// From now on poll reports only these answers, and nothing of what descriptors really have.
    void OnlyAnswer();

    /// Makes one call of poll return these events, and waits until it has been made.
    bool Answer(const Events& events);

    /// Makes one call of poll fail with `error` and leave misleading events in the set, and waits until it has been
    /// made.
    bool Fail(int error);

    std::vector<PollCall> Calls() const;

    /// Waits until poll has been called `count` times.
    bool AwaitCalls(std::size_t count);

private:
    struct Reply
    {
        Events events;
        int error;
    };

    bool Queue(const Reply& reply);
    int Poll(pollfd* set, nfds_t count, int timeout);

    mutable std::mutex mutex;
    std::condition_variable changed;
    bool onlyAnswer = false;
    std::deque<Reply> replies;
    std::vector<PollCall> calls;
};

} // namespace UnitTests
