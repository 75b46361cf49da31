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

/// The components' poll while it exists: the real one with a shorter timeout, so that workers end quickly, or what a
/// test answers in its place.
class ScriptedPoll
{
public:
    using Events = std::map<std::size_t, short>; ///< returned events by index in the set

    ScriptedPoll();
    ~ScriptedPoll();

    ScriptedPoll(const ScriptedPoll&) = delete;
    ScriptedPoll& operator=(const ScriptedPoll&) = delete;

    /// From now on poll reports nothing but the answers: also not what descriptors have.
    void OnlyAnswer();

    /// One call of poll returns these events. Waits until it has been made.
    bool Answer(const Events& events);

    /// One call of poll fails with `error` and leaves misleading events in the set. Waits until it has been made.
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
