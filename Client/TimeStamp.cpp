#include "TimeStamp.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace OrvelClient
{

std::string TimeStamper::Stamp(std::chrono::microseconds time)
{
    if (kind == TimeStamp::Absolute)
    {
        return "(" + SecondsText(time) + ")";
    }
    // The clock on the wall can be set back; a time stamp never runs backwards.
    const auto passed = std::max(time - origin.value_or(time), std::chrono::microseconds::zero());
    if (kind == TimeStamp::Delta || !origin)
    {
        origin = time;
    }
    return (kind == TimeStamp::Delta ? "(+" : "(") + SecondsText(passed) + ")";
}

std::string SecondsText(std::chrono::microseconds time)
{
    constexpr std::chrono::microseconds::rep second = 1000000;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%lld.%06lld", static_cast<long long>(time.count() / second),
                  static_cast<long long>(time.count() % second));
    return text.data();
}

} // namespace OrvelClient
