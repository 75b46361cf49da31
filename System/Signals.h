#pragma once

#include "System/Descriptor.h"

#include <initializer_list>

namespace System
{

/// Keeps signals from interrupting the calling thread and those that it makes: they wait for Signals.
void BlockSignals(std::initializer_list<int> signals);

/// Signals as a descriptor; it blocks them. To be made before any thread, because a thread that does not block them dies of
/// them, and all others with it.
class Signals
{
public:
    /// Throws std::system_error if the system has no descriptor to give.
    explicit Signals(std::initializer_list<int> signals);

    /// For poll: readable when there is one, which Take takes.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// The next one; 0 if there is none.
    int Take() const;

private:
    System::Descriptor descriptor;
};

/// Those that ask the program to stop: SIGINT, SIGTERM and SIGHUP.
class StopSignals : public Signals
{
public:
    StopSignals();
};

} // namespace System
