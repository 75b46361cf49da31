#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Simulator
{

/// The registered listeners of one kind. They are called by one thread; any thread may add and remove them, also from
/// within a call.
template<typename Listener>
class ListenerList
{
public:
    /// From the next CallAll on, `listener` is called; once for each, even when it is added twice.
    void Add(Listener* listener)
    {
        const std::lock_guard lock(mutex);
        if (!Contains(listener))
        {
            listeners.push_back(listener);
        }
    }

    /// When this returns, `listener` is not called any more. Waits for a call that is running, unless it is that call
    /// which removes it: such a wait would never end.
    void Remove(const Listener* listener)
    {
        std::unique_lock lock(mutex);
        listeners.erase(std::remove(listeners.begin(), listeners.end(), listener), listeners.end());
        if (std::this_thread::get_id() != caller)
        {
            callEnded.wait(lock, [&] { return running != listener; });
        }
    }

    /// Calls `call(listener)` for each that is registered now and still when its turn comes. The calling thread only.
    template<typename Call>
    void CallAll(const Call& call)
    {
        std::unique_lock lock(mutex);
        caller = std::this_thread::get_id();
        const std::vector<Listener*> registered = listeners;
        for (Listener* const listener : registered)
        {
            if (!Contains(listener))
            {
                continue;
            }
            running = listener;
            lock.unlock(); // the call may add and remove, and the others need not wait for its end
            call(*listener);
            lock.lock();
            running = nullptr;
            callEnded.notify_all();
        }
        caller = {};
    }

private:
    bool Contains(const Listener* listener) const
    {
        return std::find(listeners.begin(), listeners.end(), listener) != listeners.end();
    }

    std::mutex mutex;
    std::condition_variable callEnded;
    std::vector<Listener*> listeners;
    const Listener* running = nullptr; // the one being called
    std::thread::id caller;            // while calling
};

} // namespace Simulator
