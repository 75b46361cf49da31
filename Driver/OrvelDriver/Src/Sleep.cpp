#include "Sleep.h"

#include <cerrno>
#include <ctime>

namespace OrvelDriver
{

void Sleep(std::chrono::nanoseconds duration)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    timespec remaining{static_cast<time_t>(seconds.count()), static_cast<long>((duration - seconds).count())};
    while (nanosleep(&remaining, &remaining) == -1 && errno == EINTR)
    {
    }
}

} // namespace OrvelDriver
