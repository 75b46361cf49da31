#include "WakeUp.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace Simulator
{

WakeUp::WakeUp()
    : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

WakeUp::~WakeUp()
{
    if (descriptor != -1)
    {
        close(descriptor);
    }
}

void WakeUp::Signal()
{
    eventfd_write(descriptor, 1); // fails only when it is signalled already, more often than anyone can count
}

void WakeUp::Clear()
{
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
}

} // namespace Simulator
