#include "StopSignals.h"

#include "Failure.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>

namespace OrvelClient
{

void StopSignals::Ask() const
{
    kill(getpid(), SIGTERM); // of the process: every thread that waits for the descriptor sees it
}

bool StopSignals::AwaitUntil(std::chrono::steady_clock::time_point time) const
{
    using namespace std::chrono;
    for (;;)
    {
        const auto left = std::max(time - steady_clock::now(), steady_clock::duration::zero());
        const auto wholeSeconds = floor<seconds>(left);
        const timespec timeout{static_cast<time_t>(wholeSeconds.count()),
                               static_cast<long>(nanoseconds(left - wholeSeconds).count())};
        pollfd entry{Descriptor(), POLLIN, 0};
        const int result = ppoll(&entry, 1, &timeout, nullptr);
        if (result >= 0)
        {
            return result > 0;
        }
    }
}

void StopSignals::RequireAll(uint64_t count, uint64_t number) const
{
    if (count < number && AwaitUntil(std::chrono::steady_clock::now()))
    {
        throw Failure(Status::Interrupted,
                      "stopped after " + std::to_string(count) + " of " + std::to_string(number) + " messages");
    }
}

} // namespace OrvelClient
