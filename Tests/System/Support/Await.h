#pragma once

#include <chrono>
#include <thread>

/// How long a test waits for what must happen. Long: the machine may be busy, and only a failing test waits it out.
constexpr std::chrono::seconds Patience{SYSTEM_TEST_PATIENCE};

/// Waits until `condition` holds, for things that tell nobody when they change; false when it did not for long.
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
