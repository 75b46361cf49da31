#pragma once

#include <chrono>
#include <thread>

/// How long a test waits for what must happen. It is long because the machine may be busy; only a failing test
/// waits so long.
constexpr std::chrono::seconds Patience{SYSTEM_TEST_PATIENCE};
constexpr int PatienceMilliseconds = SYSTEM_TEST_PATIENCE * 1000; // for poll

/// Waits until `condition` holds, for things that announce no change; false if it did not hold for long.
template<typename Condition>
bool Await(const Condition& condition, std::chrono::milliseconds patience = Patience)
{
    const auto limit = std::chrono::steady_clock::now() + patience;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > limit)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
