#include "System/Deadline.h"

#include <algorithm>
#include <limits>

namespace System
{

int PollTimeout(std::chrono::steady_clock::time_point deadline, std::chrono::steady_clock::time_point now)
{
    using namespace std::chrono;
    if (deadline == NoDeadline)
    {
        return -1;
    }
    const auto left = ceil<milliseconds>(std::max(deadline, now) - now);
    return static_cast<int>(std::min(left, milliseconds(std::numeric_limits<int>::max())).count());
}

} // namespace System
