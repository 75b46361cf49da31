#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace UnitTests
{

/// How long a test waits for what must happen. It is long because the machine may be busy, and a sanitizer may slow the
/// program down.
constexpr auto AwaitLimit = std::chrono::seconds(UNIT_TEST_PATIENCE);

/// Waits for a condition that nobody announces. False if it did not come true.
template<typename Condition>
bool Await(Condition condition)
{
    constexpr auto Pause = std::chrono::milliseconds(1);
    const auto end = std::chrono::steady_clock::now() + AwaitLimit;
    std::mutex mutex;
    std::condition_variable never;
    // cppcheck-suppress localMutex ; it guards nothing: to be woken by nobody takes one
    std::unique_lock<std::mutex> lock(mutex);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            return false;
        }
        never.wait_for(lock, Pause); // not a sleep: that would be a call of the intercepted nanosleep
    }
    return true;
}

} // namespace UnitTests
