#include "System/WakeUp.h"

#include "System/ThrowErrno.h"

#include <sys/eventfd.h>

namespace System
{

WakeUp::WakeUp()
    : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!descriptor.IsOpen())
    {
        ThrowErrno("cannot make an event descriptor");
    }
}

void WakeUp::Signal() const
{
    eventfd_write(Descriptor(), 1); // fails only when it is signalled already, more often than anyone can count
}

bool WakeUp::Clear() const
{
    eventfd_t count = 0;
    return eventfd_read(Descriptor(), &count) == 0;
}

} // namespace System
