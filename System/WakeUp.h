#pragma once

#include "System/Descriptor.h"

namespace System
{

/// Wakes a thread that waits in poll.
class WakeUp
{
public:
    /// Throws std::system_error if the system has no descriptor to give.
    WakeUp();

    /// For poll: readable once signalled.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Any thread; does not block.
    void Signal() const;

    /// Takes back all signals given so far; true if there were any. The waiting thread.
    bool Clear() const;

private:
    System::Descriptor descriptor;
};

} // namespace System
