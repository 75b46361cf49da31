#pragma once

#include "System/Descriptor.h"

namespace OrvelGateway
{

/// Notices that a process which had a queue open for writing has closed it, or has ended in any way. The queue itself does not
/// tell: it stays, and is silent.
class WriterEnd
{
public:
    /// From now on, of the queue with this descriptor, instead of any other. 0, or why the system cannot.
    int Watch(int queue);

    void Close();

    /// For poll: readable when it has happened.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Whether it has happened since the last time.
    bool Take() const;

private:
    System::Descriptor descriptor;
};

} // namespace OrvelGateway
