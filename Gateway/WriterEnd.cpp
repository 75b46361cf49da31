#include "WriterEnd.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

namespace OrvelGateway
{

int WriterEnd::Watch(int queue)
{
    descriptor = System::Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    // Leads to the open queue itself, wherever queues are mounted, or not.
    const std::string path = "/proc/self/fd/" + std::to_string(queue);
    if (descriptor.IsOpen() && inotify_add_watch(descriptor.Number(), path.c_str(), IN_CLOSE_WRITE) != -1)
    {
        return 0;
    }
    const int error = errno;
    descriptor.Close();
    return error;
}

void WriterEnd::Close()
{
    descriptor.Close();
}

bool WriterEnd::Take() const
{
    bool isTaken = false;
    std::array<char, 4096> events; // one kind is asked for: what is in them does not matter
    while (read(descriptor.Number(), events.data(), events.size()) > 0)
    {
        isTaken = true;
    }
    return isTaken;
}

} // namespace OrvelGateway
